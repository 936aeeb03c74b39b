"""Simulated rigs kept in a directory: cameras that outlive the program and are shared by programs."""

import subprocess
import sys
import textwrap

import pytest

import tovanel_uvc_stereo as uvc
from tovanel_uvc_stereo._rig_directory import SimulatedRigInDirectory
from helpers import supported_camera

E = uvc.ErrorCode


def open_only_camera():
    (info,) = uvc.scan_devices()
    return uvc.open_device(info)


def test_a_new_directory_starts_without_cameras(tmp_path):
    directory = tmp_path / "rig"
    with SimulatedRigInDirectory(str(directory)) as rig:
        assert rig.camera_count() == 0
        assert rig.directory == str(directory)
    assert (directory / "locks").is_dir()


def test_what_one_rig_writes_the_next_one_reads(tmp_path):
    with SimulatedRigInDirectory(str(tmp_path)) as rig:
        rig.add_camera(**supported_camera(firmware_version="V3.1.4"))
        with open_only_camera() as device:
            device.write_json('{"kept": [1, 2]}')
    with SimulatedRigInDirectory(str(tmp_path)) as rig:
        assert rig.camera_count() == 1
        with open_only_camera() as device:
            assert device.read_json().json == '{"kept":[1,2]}'
        assert rig.violations() == []


def test_another_program_sees_what_this_one_wrote(tmp_path):
    with SimulatedRigInDirectory(str(tmp_path)) as rig:
        rig.add_camera(**supported_camera())
        with open_only_camera() as device:
            device.write_json('{"from":"parent"}')
        child = textwrap.dedent(
            f"""
            import tovanel_uvc_stereo as uvc
            from tovanel_uvc_stereo._rig_directory import SimulatedRigInDirectory
            with SimulatedRigInDirectory({str(tmp_path)!r}):
                (info,) = uvc.scan_devices()
                with uvc.open_device(info) as device:
                    print(device.read_json().json)
                    device.write_json('{{"from":"child"}}')
            """
        )
        done = subprocess.run([sys.executable, "-c", child], capture_output=True, text=True, check=False)
        assert done.returncode == 0, done.stderr
        assert done.stdout == '{"from":"parent"}\n'
        with open_only_camera() as device:
            assert device.read_json().json == '{"from":"child"}'


def test_a_malformed_camera_file_is_refused(tmp_path):
    (tmp_path / "camera-0.txt").write_text("not a camera\n")
    with pytest.raises(uvc.UvcStereoError) as raised:
        SimulatedRigInDirectory(str(tmp_path))
    assert raised.value.code == E.InvalidArgument
    assert "camera-0.txt: not a simulated camera file" in str(raised.value)
