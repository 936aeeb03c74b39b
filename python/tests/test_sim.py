"""The simulated rig from Python: cameras, flash, faults, the call log, and its lifetime."""

import gc

import pytest

import tovanel_uvc_stereo as uvc
from tovanel_uvc_stereo import sim
from helpers import camera_path, reporting_capability, sdk_error, supported_camera

E = uvc.ErrorCode


def test_cameras_get_consecutive_indices(rig):
    assert rig.add_camera(**supported_camera()) == 0
    assert rig.add_camera(**supported_camera(serial_number="B", device_path=camera_path(instance="2"))) == 1
    assert rig.camera_count() == 2


def test_unknown_camera_fields_and_wrong_types_are_refused(rig):
    with pytest.raises(TypeError, match="unknown camera fields: colour"):
        rig.add_camera(colour="red")
    with pytest.raises(ValueError, match="capability_report must be 64 bytes"):
        rig.add_camera(capability_report=b"\x00" * 63)
    with pytest.raises(ValueError, match="product_id must fit uint16"):
        rig.add_camera(product_id=-1)
    with pytest.raises(TypeError, match="serial_number must be a str or None"):
        rig.add_camera(serial_number=5)
    assert rig.camera_count() == 0


def test_an_index_the_rig_does_not_have_is_the_sdks_invalid_argument(rig):
    with pytest.raises(uvc.UvcStereoError) as caught:
        rig.unplug(3)
    assert caught.value.code is E.InvalidArgument


def test_the_flash_starts_erased_and_is_programmable(camera_rig):
    assert camera_rig.flash(0, 0x51000, 8) == b"\xff" * 8
    camera_rig.set_flash(0, 0x51000, b"\x12\x34")
    assert camera_rig.flash(0, 0x51000, 3) == b"\x12\x34\xff"
    # A read running off the 1 MiB chip is cut at its end.
    assert camera_rig.flash(0, 0x100000 - 2, 8) == b"\xff\xff"
    assert camera_rig.flash(0, 0, 0) == b""
    assert camera_rig.write_protected(0)


def test_unplug_and_plug(camera_rig):
    camera_rig.unplug(0)
    assert uvc.scan_devices() == []
    camera_rig.plug(0)
    assert [info.serial_number for info in uvc.scan_devices()] == ["SN-0001"]


def test_library_absent_and_init_without_cameras(rig):
    rig.set_init_fails_without_cameras(False)
    assert uvc.scan_devices() == []
    rig.set_library_present(False)
    with sdk_error(E.PlatformError, "SonixCam_Init failed: vendor_code=ecLibInitFail(2)"):
        uvc.scan_devices()


def test_faults_fail_the_nth_use_for_times_uses(device, camera_rig):
    device.open_imu()
    camera_rig.add_fault("SonixCam_XuRead", nth=2, times=2, vendor_code=7)
    device.read_imu()
    for _ in range(2):
        with sdk_error(E.PlatformError, "SonixCam_XuRead failed: vendor_code=ecDeviceDisconnect(7)"):
            device.read_imu()
    device.read_imu()
    camera_rig.add_fault("SonixCam_XuRead", times=0, vendor_code=7)
    for _ in range(3):
        with pytest.raises(uvc.UvcStereoError):
            device.read_imu()
    camera_rig.clear_faults()
    device.read_imu()
    device.close_imu()


def test_an_unreadable_error_code(device, camera_rig):
    device.open_imu()
    camera_rig.add_fault("SonixCam_XuRead", vendor_code=7, error_code_query_fails=True)
    with pytest.raises(uvc.UvcStereoError) as caught:
        device.read_imu()
    assert caught.value.code is E.PlatformError
    assert caught.value.message.startswith("SonixCam_XuRead failed: vendor_code=")
    device.close_imu()


def test_power_cut_during_a_write_is_a_clear_failure_and_a_rewrite_restores(device, camera_rig):
    device.write_json('{"generation": 1}')
    camera_rig.cut_power_during_write(0, 10)
    with pytest.raises(uvc.UvcStereoError) as caught:
        device.write_json('{"generation": 2}')
    assert caught.value.code is E.WriteFailed
    with pytest.raises(uvc.UvcStereoError):
        device.read_json()
    device.write_json('{"generation": 3}')
    assert device.read_json().json == '{"generation":3}'


def test_power_cut_during_an_erase(device, camera_rig):
    camera_rig.cut_power_during_erase(0, 100)
    with pytest.raises(uvc.UvcStereoError) as caught:
        device.write_json("{}")
    assert caught.value.code is E.EraseFailed
    assert camera_rig.flash(0, 0x51000, 100) == b"\xff" * 100


def test_the_capability_answer_can_change_while_plugged(camera_rig):
    (info,) = uvc.scan_devices()
    report = reporting_capability()
    report.flash_user_space = uvc.FlashUserSpace(start=0x51000, size=0x2000)
    camera_rig.set_capability_report(0, report)
    with uvc.open_device(info) as device:
        assert device.capability_info.report == report
    camera_rig.set_capability_report(0, bytes(64))
    with uvc.open_device(info) as device:
        assert device.capability_info.source is uvc.CapabilitySource.Fallback
    malformed = bytearray(64)
    malformed[:4] = b"TOVB"
    camera_rig.set_capability_report(0, malformed)
    with uvc.open_device(info) as device:
        assert device.capability_info.source is uvc.CapabilitySource.Fallback


def test_firmware_version_and_next_imu_counter(camera_rig):
    camera_rig.set_firmware_version(0, "V2.3.4")
    assert camera_rig.next_imu_counter(0) == 0
    (info,) = uvc.scan_devices()
    with uvc.open_device(info) as device:
        device.open_imu()
        device.read_imu_samples(4)
        assert camera_rig.next_imu_counter(0) == 4
        device.close_imu()


def test_the_call_log_records_names_arguments_and_context(device, camera_rig):
    camera_rig.clear_calls()
    device.write_json('{"a": 1}')
    calls = camera_rig.calls()
    assert calls[0].name == "SonixCam_Init"
    assert calls[-1].name == "SonixCam_UnInit"
    assert all(isinstance(call, sim.VendorCall) for call in calls)
    assert all(call.lock_held for call in calls)
    writes = [call for call in calls if call.name == "SonixCam_WriteToSF"]
    assert len(writes) == 1 and writes[0].succeeded and writes[0].camera == 0
    assert 0x51000 in writes[0].args
    assert camera_rig.call_names() == [call.name for call in calls]
    camera_rig.clear_calls()
    assert camera_rig.calls() == []


def test_violations_report_a_write_outside_the_user_space():
    with sim.SimulatedRig() as rig:
        # The camera's own user space is smaller than what the SDK assumes for a camera without a report.
        rig.add_camera(**supported_camera(user_space_size=0x800))
        (info,) = uvc.scan_devices()
        assert rig.violations() == []
        with uvc.open_device(info) as device:
            device.write_json("[" + "1," * 1200 + "1]")
        assert rig.violations(), "a write past the camera's user space must be reported"


def test_closing_the_rig_closes_the_devices_opened_on_it():
    rig = sim.SimulatedRig()
    rig.add_camera(**supported_camera())
    (info,) = uvc.scan_devices()
    device = uvc.open_device(info)
    device.open_imu()
    assert rig.open_sessions() == 1
    rig.close()
    assert device.closed
    assert rig.closed
    rig.close()
    with pytest.raises(ValueError, match="the simulated rig is closed"):
        rig.add_camera()


def assert_platform_backend_in_force():
    # On a machine without cameras the platform's backend finds none, or cannot start at all.
    try:
        devices = uvc.scan_devices()
    except uvc.UvcStereoError as error:
        assert error.code is E.PlatformError
    else:
        assert all(info.serial_number != "SN-0001" for info in devices)


def test_the_with_block_installs_the_rig_and_removes_it():
    with sim.SimulatedRig() as rig:
        rig.add_camera(**supported_camera())
        assert len(uvc.scan_devices()) == 1
    assert_platform_backend_in_force()


def test_a_dropped_rig_is_removed():
    rig = sim.SimulatedRig()
    rig.add_camera(**supported_camera())
    assert len(uvc.scan_devices()) == 1
    del rig
    gc.collect()
    assert_platform_backend_in_force()


def test_simulated_imu_settings_reach_the_camera(rig):
    rig.add_camera(**supported_camera(imu=sim.SimulatedImu(first_counter=100, counter_step=3, temperature_c=40.0)))
    (info,) = uvc.scan_devices()
    with uvc.open_device(info) as device:
        device.open_imu()
        counters = [device.read_imu().sample_counter for _ in range(3)]
        assert counters == [100, 103, 106]
        assert device.convert_imu(device.read_imu()).temperature_c == pytest.approx(40.0, abs=0.1)
        device.close_imu()
