"""The interpreter exits cleanly while a daemon thread streams IMU samples through a rig with a
hook installed: the thread is ended inside the SDK, in the middle of a hook, and that must
unwind through the SDK rather than abort the process."""

import os
import subprocess
import sys
from pathlib import Path

import pytest

import tovanel_uvc_stereo as uvc

SCRIPT = r"""
import sys
import threading
import time

sys.path.insert(0, sys.argv[1])
import tovanel_uvc_stereo as uvc
from tovanel_uvc_stereo import sim
from helpers import supported_camera

rig = sim.SimulatedRig()
rig.add_camera(**supported_camera(imu=sim.SimulatedImu(motion=sim.ImuMotion.Moving)))
(info,) = uvc.scan_devices()
device = uvc.open_device(info)
device.open_imu()
# The hook lets go of the interpreter while it waits, as hooks that wait on something do: a thread
# stopped by the interpreter's end is then almost always stopped inside it, deep in the SDK.
rig.on_call("SonixCam_XuRead", lambda call: time.sleep(0.0005))
streaming = threading.Event()


def stream():
    while True:
        device.read_imu_samples(100)
        streaming.set()


threading.Thread(target=stream, daemon=True).start()
if not streaming.wait(30):
    sys.exit("the IMU did not stream")
print("exiting while streaming", flush=True)
"""


@pytest.mark.parametrize("round_", range(3))
def test_exit_with_a_hook_installed_and_a_daemon_thread_streaming_imu(round_):
    tests = Path(__file__).resolve().parent
    # The child imports the very package this suite tests, installed or from the source tree.
    package_parent = Path(uvc.__file__).resolve().parent.parent
    environment = dict(os.environ)
    environment["PYTHONPATH"] = os.pathsep.join(filter(None, [str(package_parent), environment.get("PYTHONPATH", "")]))
    finished = subprocess.run(
        [sys.executable, "-c", SCRIPT, str(tests)], env=environment, capture_output=True, text=True, timeout=120
    )
    assert finished.returncode == 0, f"exit status {finished.returncode}\nstderr:\n{finished.stderr}"
    assert finished.stdout == "exiting while streaming\n"
    assert "FATAL" not in finished.stderr
