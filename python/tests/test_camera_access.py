"""The cameras this account cannot open, as the Python package hands them out."""

import dataclasses
import errno

import pytest

import tovanel_uvc_stereo as uvc
from tovanel_uvc_stereo import sim
from helpers import supported_camera


PERMISSION_FIX = (
    "add this account to the group video: sudo usermod -aG video $USER, then log in again; if that is not enough, "
    "install the SDK's udev rule 70-tovanel-uvc-stereo.rules (its package puts it in /usr/lib/udev/rules.d), then "
    "unplug and replug the camera"
)


def test_a_camera_whose_node_opens_is_no_problem(rig):
    rig.add_camera(**supported_camera())
    assert len(uvc.scan_devices()) == 1
    assert uvc.find_camera_access_problems() == []


def test_a_camera_without_permission_is_named_with_the_fix(rig):
    camera = supported_camera(node_access=sim.SimulatedNodeAccess.PermissionDenied)
    rig.add_camera(**camera)
    problems = uvc.find_camera_access_problems()
    assert problems == [
        uvc.CameraAccessProblem(
            device_path=camera["device_path"],
            node=f"/dev/video{number}",
            system_error=errno.EACCES,
            reason="Permission denied",
            fix=PERMISSION_FIX,
        )
        for number in (0, 1)
    ]
    # The device the problem names is the one the scan lists.
    assert problems[0].device_path == uvc.scan_devices()[0].device_path
    with pytest.raises(dataclasses.FrozenInstanceError):
        problems[0].fix = ""


def test_a_busy_camera_asks_to_close_the_other_program(rig):
    rig.add_camera(**supported_camera(node_access=sim.SimulatedNodeAccess.Busy))
    problem = uvc.find_camera_access_problems()[0]
    assert (problem.system_error, problem.reason) == (errno.EBUSY, "Device or resource busy")
    assert problem.fix == "another program holds the node: close it and retry"


def test_the_node_access_takes_the_enums_numbers_and_refuses_others(rig):
    rig.add_camera(**supported_camera(node_access=1))
    assert len(uvc.find_camera_access_problems()) == 2
    with pytest.raises(ValueError):
        rig.add_camera(**supported_camera(serial_number="SN-0002", node_access=3))
    assert rig.camera_count() == 1


def test_given_access_the_camera_is_no_problem_any_more(rig):
    camera = rig.add_camera(**supported_camera(node_access=sim.SimulatedNodeAccess.PermissionDenied))
    assert len(uvc.find_camera_access_problems()) == 2
    rig.set_node_access(camera, sim.SimulatedNodeAccess.Allowed)
    assert uvc.find_camera_access_problems() == []
    with pytest.raises(ValueError):
        rig.set_node_access(camera, 9)


def test_a_refused_camera_opens_but_its_flash_and_imu_fail_as_on_linux(rig):
    rig.add_camera(**supported_camera(node_access=sim.SimulatedNodeAccess.PermissionDenied))
    with uvc.open_device(uvc.scan_devices()[0]) as device:
        assert device.capability_info.source == uvc.CapabilitySource.Fallback
        with pytest.raises(uvc.UvcStereoError) as read:
            device.read_json()
        assert read.value.code == uvc.ErrorCode.DeviceUnavailable
        assert read.value.message == "SonixCam_GetSerialFlashType failed: vendor_code=ecGetKsControlFail(5)"
        with pytest.raises(uvc.UvcStereoError) as imu:
            device.open_imu()
        assert imu.value.code == uvc.ErrorCode.PlatformError
        assert imu.value.message == "SonixCam_SetNodeID failed: vendor_code=ecGetKsControlFail(5)"


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
