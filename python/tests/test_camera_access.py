"""The cameras this account cannot open, as the Python package hands them out."""

import dataclasses

import pytest

import tovanel_uvc_stereo as uvc
from helpers import supported_camera


def test_a_simulated_rig_has_no_camera_this_account_cannot_open(rig):
    rig.add_camera(**supported_camera())
    assert len(uvc.scan_devices()) == 1
    assert uvc.find_camera_access_problems() == []


def test_a_problem_is_a_frozen_record_with_the_fix():
    problem = uvc.CameraAccessProblem(
        device_path="/sys/bus/usb/devices/1-2",
        node="/dev/video0",
        system_error=13,
        reason="Permission denied",
        fix="add this account to the group video: sudo usermod -aG video $USER, then log in again",
    )
    assert [f.name for f in dataclasses.fields(problem)] == ["device_path", "node", "system_error", "reason", "fix"]
    with pytest.raises(dataclasses.FrozenInstanceError):
        problem.node = "/dev/video1"


def test_the_c_record_becomes_the_python_record():
    from tovanel_uvc_stereo import _c, _convert

    kept = [b"/sys/bus/usb/devices/1-2", b"/dev/video0", b"No such file or directory", b"plug the camera in again"]
    record = _c.camera_access_problem_t()
    record.system_error = 2
    record.device_path, record.node, record.reason, record.fix = kept
    assert record.struct_size == _c.ctypes.sizeof(_c.camera_access_problem_t)
    assert _convert.camera_access_problem_from_c(record) == uvc.CameraAccessProblem(
        device_path="/sys/bus/usb/devices/1-2",
        node="/dev/video0",
        system_error=2,
        reason="No such file or directory",
        fix="plug the camera in again",
    )
