"""The simulated rig from Python: cameras, flash, faults, hooks as calls begin, the call log, and its lifetime."""

import gc
import sys

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


# --- hooks that run as a vendor call begins -----------------------------------------------

USER_SPACE = 0x51000
CHIP_SIZE = 0x100000


def test_a_camera_unplugged_as_its_flash_is_erased_fails_the_write_and_touches_nothing(device, camera_rig):
    device.write_json('{"kept": true}')
    before = camera_rig.flash(0, 0, CHIP_SIZE)
    camera_rig.on_call("SonixCam_SectorEraseSF", lambda call: camera_rig.unplug(call.camera))
    with sdk_error(
        E.EraseFailed, "SonixCam_SectorEraseSF failed: vendor_code=ecDeviceDisconnect(7) (address=0x00051000, length=4096)"
    ):
        device.write_json('{"kept": false}')
    camera_rig.clear_call_hooks()
    # The erase never began: every byte of the chip, in the user space and outside it, is as it was.
    assert camera_rig.flash(0, 0, CHIP_SIZE) == before
    camera_rig.plug(0)
    assert device.read_json().json == '{"kept":true}'


def test_a_hook_on_every_call_sees_each_call_the_log_records(device, camera_rig):
    seen = []
    camera_rig.clear_calls()
    camera_rig.on_call("*", seen.append)
    device.write_json('{"a": 1}')
    device.read_json()
    camera_rig.clear_call_hooks()
    logged = camera_rig.calls()
    assert len(seen) > 10
    assert len(seen) == len(logged)
    assert [call.name for call in seen] == [call.name for call in logged]


def test_the_call_a_hook_is_given_is_the_one_the_log_records(device, camera_rig):
    seen = []
    camera_rig.on_call("SonixCam_SectorEraseSF", seen.append)
    device.write_json('{"a": 1}')
    camera_rig.clear_call_hooks()
    (given,) = seen
    (logged,) = [call for call in camera_rig.calls() if call.name == "SonixCam_SectorEraseSF"]
    assert isinstance(given, sim.VendorCall)
    assert (given.name, given.args, given.camera) == (logged.name, logged.args, logged.camera)
    assert given.args[0] == USER_SPACE
    assert (given.lock_held, given.open_sessions) == (logged.lock_held, logged.open_sessions) == (True, 1)
    # It had not run yet when the hook saw it.
    assert not given.succeeded and logged.succeeded


def test_each_hook_keeps_its_own_state_and_they_run_in_the_order_added(camera_rig):
    order = []
    camera_rig.on_call("SonixCam_Init", lambda call: order.append(("first", call.name)))
    camera_rig.on_call("*", lambda call: order.append(("every", call.name)) if call.name == "SonixCam_Init" else None)
    camera_rig.on_call("SonixCam_Init", lambda call: order.append(("last", call.name)))
    uvc.scan_devices()
    camera_rig.clear_call_hooks()
    assert order == [("first", "SonixCam_Init"), ("every", "SonixCam_Init"), ("last", "SonixCam_Init")]


def test_a_hook_that_raises_is_a_broken_rule_and_goes_to_sys_unraisablehook(monkeypatch):
    reported = []
    monkeypatch.setattr(sys, "unraisablehook", reported.append)
    error = RuntimeError("the hook failed")

    def failing_hook(call):
        raise error

    with sim.SimulatedRig() as rig:
        rig.add_camera(**supported_camera())
        (info,) = uvc.scan_devices()
        with uvc.open_device(info) as device:
            rig.on_call("SonixCam_SectorEraseSF", failing_hook)
            # The call goes on.
            device.write_json('{"a": 1}')
            assert device.read_json().json == '{"a":1}'
        assert rig.violations() == ["a hook on SonixCam_SectorEraseSF threw"]
        assert rig.open_sessions() == 0
    (report,) = reported
    assert report.exc_type is RuntimeError
    assert report.exc_value is error
    assert report.exc_traceback is not None
    assert "SonixCam_SectorEraseSF" in repr(report.object) and "failing_hook" in repr(report.object)


def test_even_a_keyboard_interrupt_in_a_hook_stays_on_the_python_side(monkeypatch):
    reported = []
    monkeypatch.setattr(sys, "unraisablehook", reported.append)

    def interrupted(call):
        raise KeyboardInterrupt

    with sim.SimulatedRig() as rig:
        rig.add_camera(**supported_camera())
        rig.on_call("SonixCam_Init", interrupted)
        assert len(uvc.scan_devices()) == 1
        assert rig.violations() == ["a hook on SonixCam_Init threw"]
    assert [report.exc_type for report in reported] == [KeyboardInterrupt]


def test_cleared_hooks_run_no_more(camera_rig):
    named, every = [], []
    camera_rig.on_call("SonixCam_Init", named.append)
    camera_rig.on_call("*", every.append)
    uvc.scan_devices()
    assert len(named) == 1 and len(every) > 1
    runs = len(every)
    camera_rig.clear_call_hooks()
    uvc.scan_devices()
    assert len(named) == 1 and len(every) == runs


def test_a_hook_may_clear_the_hooks_itself(camera_rig):
    runs = []

    def once(call):
        runs.append(call.name)
        camera_rig.clear_call_hooks()

    camera_rig.on_call("SonixCam_Init", once)
    uvc.scan_devices()
    gc.collect()
    uvc.scan_devices()
    assert runs == ["SonixCam_Init"]


def test_a_hook_outlives_the_last_reference_to_its_function(camera_rig):
    seen = []

    def make_hook():
        def hook(call):
            seen.append(call.name)

        return hook

    hook = make_hook()
    camera_rig.on_call("SonixCam_Init", hook)
    del hook
    gc.collect()
    uvc.scan_devices()
    gc.collect()
    uvc.scan_devices()
    camera_rig.clear_call_hooks()
    assert seen == ["SonixCam_Init", "SonixCam_Init"]


def test_hook_arguments_are_checked():
    with sim.SimulatedRig() as rig:
        with sdk_error(E.InvalidArgument, "uvc_stereo_rig_on_call: call is null"):
            rig.on_call(None, lambda call: None)
        with pytest.raises(TypeError, match="hook must be callable, not int"):
            rig.on_call("*", 5)
        # A hook on a name no vendor call has, the empty one among them, is kept and never runs.
        runs = []
        rig.on_call("", runs.append)
        rig.on_call("SonixCam_NoSuchCall", runs.append)
        rig.add_camera(**supported_camera())
        uvc.scan_devices()
        assert rig.calls() and runs == []
        assert rig.violations() == []
    with pytest.raises(ValueError, match="the simulated rig is closed"):
        rig.on_call("*", runs.append)
    with pytest.raises(ValueError, match="the simulated rig is closed"):
        rig.clear_call_hooks()
