"""Scanning, opening, what an open device reports, and the device's life as a context manager."""

import gc

import pytest

import tovanel_uvc_stereo as uvc
from tovanel_uvc_stereo import sim
from helpers import PRODUCT_ID, camera_path, reporting_camera, sdk_error, supported_camera

E = uvc.ErrorCode


def test_no_camera_is_an_empty_list(rig):
    assert uvc.scan_devices() == []


def test_a_scan_gives_each_camera_with_its_capture_indices(rig):
    path = camera_path()
    rig.add_camera(**supported_camera(descriptor_3="Rev B"))
    rig.set_capture_devices(uvc.OpenCvBackend.Msmf, [("Other camera", camera_path(0x1234)), ("Tovanel Stereo", path)])
    rig.set_capture_devices(uvc.OpenCvBackend.Dshow, [sim.SimulatedCaptureDevice("Tovanel Stereo", path)])
    (info,) = uvc.scan_devices()
    assert info == uvc.DeviceInfo(
        vendor_id=0x0C45,
        product_id=PRODUCT_ID,
        serial_number="SN-0001",
        descriptor_text="Rev B",
        friendly_name="Tovanel Stereo",
        device_path=path,
        backend_indices={"CAP_MSMF": 1, "CAP_DSHOW": 0},
    )


def test_a_failing_capture_listing_leaves_out_only_its_index(rig):
    path = camera_path()
    rig.add_camera(**supported_camera())
    rig.set_capture_devices(uvc.OpenCvBackend.Msmf, [("Tovanel Stereo", path)])
    rig.set_capture_devices(uvc.OpenCvBackend.Dshow, [("Tovanel Stereo", path)])
    rig.set_capture_listing_fails(uvc.OpenCvBackend.Dshow, True)
    (info,) = uvc.scan_devices()
    assert info.backend_indices == {"CAP_MSMF": 0}


def test_the_scan_filters(rig):
    rig.add_camera(**supported_camera())
    rig.add_camera(**supported_camera(product_id=0x6367, device_path=camera_path(0x6367), serial_number=None))
    assert [info.product_id for info in uvc.scan_devices()] == [0x6366, 0x6367]
    assert [info.product_id for info in uvc.scan_devices(product_id=0x6367)] == [0x6367]
    assert [info.product_id for info in uvc.scan_devices(vendor_id=0x0C45, product_id=0x6366)] == [0x6366]
    assert uvc.scan_devices(vendor_id=0x1234) == []
    assert [info.serial_number for info in uvc.scan_devices(require_serial_number=True)] == ["SN-0001"]


def test_descriptors_in_either_byte_order_scan_alike(rig):
    rig.add_camera(**supported_camera(descriptor_order=sim.DescriptorByteOrder.LittleEndian))
    (info,) = uvc.scan_devices()
    assert (info.vendor_id, info.product_id) == (0x0C45, PRODUCT_ID)


def test_filter_values_that_do_not_fit_are_refused(rig):
    with pytest.raises(ValueError, match="vendor_id must fit uint16"):
        uvc.scan_devices(vendor_id=0x10000)
    with pytest.raises(TypeError):
        uvc.scan_devices(product_id="0x6366")


def test_a_camera_without_capability_reporting_opens_with_the_fallback(device):
    capability = device.capability_info
    assert capability == uvc.DeviceCapabilityInfo(
        source=uvc.CapabilitySource.Fallback, message="Capability reporting is not supported on this device"
    )
    config = device.flash_config
    assert (config.user_space_address, config.user_space_size) == (0x51000, 4096)
    assert config.vidpid == "0c456366"
    assert not config.auto_select
    assert config.serial_number == "SN-0001"
    assert config.device_path == camera_path()
    assert device.imu_transport == uvc.ImuTransportConfig(4, 10, 17)
    assert device.imu_conversion_options() == uvc.ImuConversionOptions()
    assert device.transport_flags == 0
    assert not device.has_flash_transport and not device.has_imu_transport
    assert device.info.serial_number == "SN-0001"


def test_a_reporting_camera_opens_with_its_report(rig):
    camera = reporting_camera()
    rig.add_camera(**camera)
    (info,) = uvc.scan_devices()
    with uvc.open_device(info) as device:
        capability = device.capability_info
        assert capability.source is uvc.CapabilitySource.Reported
        assert capability.message == ""
        assert capability.report == camera["capability"]
        assert (device.flash_config.user_space_address, device.flash_config.user_space_size) == (0x60000, 0x8000)
        assert device.imu_transport == uvc.ImuTransportConfig(5, 3, 17)
        assert device.imu_conversion_options() == uvc.ImuConversionOptions(23.0, 512.0, 1024.0, 32.8)


def test_required_capabilities_prove_the_flash(camera_rig):
    (info,) = uvc.scan_devices()
    with uvc.open_device(info, required_capabilities=uvc.TRANSPORT_FLASH) as device:
        assert device.transport_flags == uvc.TRANSPORT_FLASH
        assert device.has_flash_transport
        device.write_json('{"ok": true}')
    with uvc.open_device(info, required_capabilities=uvc.TRANSPORT_FLASH | uvc.TRANSPORT_FLASH_JSON) as device:
        assert device.transport_flags == uvc.TRANSPORT_FLASH | uvc.TRANSPORT_FLASH_JSON
    with uvc.open_device(info, required_capabilities=uvc.TRANSPORT_IMU) as device:
        assert device.transport_flags == 0


def test_a_camera_can_be_opened_by_a_record_the_caller_fills(camera_rig):
    info = uvc.DeviceInfo(vendor_id=0x0C45, product_id=PRODUCT_ID, serial_number="SN-0001")
    with uvc.open_device(info) as device:
        assert device.flash_config.serial_number == "SN-0001"
        device.write_json("[1]")
        assert device.read_json().json == "[1]"


def test_backend_indices_travel_back_into_open(camera_rig):
    (info,) = uvc.scan_devices()
    info.backend_indices = {"CAP_DSHOW": 3, "CAP_MSMF": 1}
    with uvc.open_device(info) as device:
        assert device.info.backend_indices == {"CAP_MSMF": 1, "CAP_DSHOW": 3}
    info.backend_indices = {"CAP_NOPE": 1}
    with pytest.raises(ValueError, match="unknown capture backend 'CAP_NOPE'"):
        uvc.open_device(info)


def test_the_json_configuration_round_trips_minified(device, camera_rig):
    device.write_json('{ "exposure" : 12 ,\n "name" : "left cam" }')
    assert device.read_json() == uvc.ReadJsonResult(format_version=0, json='{"exposure":12,"name":"left cam"}')
    stored = camera_rig.flash(0, 0x51000, 16 + 33)
    assert stored[:4] == b"TOVA"
    assert stored[16:] == b'{"exposure":12,"name":"left cam"}'
    device.write_json(b'{"utf8": "\xc3\xa9"}')
    assert device.read_json().json == '{"utf8":"\u00e9"}'


def test_invalid_json_touches_no_flash(device, camera_rig):
    device.write_json("[1]")
    camera_rig.clear_calls()
    with sdk_error(E.InvalidJson, "invalid JSON value at offset 1"):
        device.write_json("[,]")
    assert camera_rig.calls() == []
    assert device.read_json().json == "[1]"


def test_a_record_filling_the_whole_user_space_reads_back(device):
    text = '"' + "x" * (4096 - 16 - 2) + '"'
    device.write_json(text)
    assert device.read_json().json == text


def test_leaving_the_with_block_closes_the_device_and_its_imu_session(camera_rig):
    (info,) = uvc.scan_devices()
    with uvc.open_device(info) as device:
        device.open_imu()
        assert camera_rig.open_sessions() == 1
    assert device.closed
    assert camera_rig.open_sessions() == 0


def test_close_is_idempotent_and_a_closed_device_reports_defaults(camera_rig):
    (info,) = uvc.scan_devices()
    device = uvc.open_device(info)
    device.open_imu()
    device.close()
    device.close()
    assert camera_rig.open_sessions() == 0
    assert device.info == uvc.DeviceInfo()
    assert device.capability_info == uvc.DeviceCapabilityInfo()
    assert device.flash_config == uvc.FlashConfig()
    assert device.transport_flags == 0
    assert not device.has_flash_transport and not device.has_imu_transport
    assert repr(device) == "<tovanel_uvc_stereo.Device closed>"
    for operation in (
        device.read_json,
        lambda: device.write_json("{}"),
        device.open_imu,
        device.read_imu,
        device.close_imu,
        device.imu_conversion_options,
        lambda: device.convert_imu(uvc.ReadImuResult()),
        lambda: device.read_imu_samples(1),
    ):
        with sdk_error(E.InvalidArgument, "device is closed or moved-from"):
            operation()


def test_a_dropped_device_ends_its_session(camera_rig):
    (info,) = uvc.scan_devices()
    device = uvc.open_device(info)
    device.open_imu()
    assert camera_rig.open_sessions() == 1
    del device
    gc.collect()
    assert camera_rig.open_sessions() == 0


def test_an_exception_in_the_with_block_still_closes(camera_rig):
    (info,) = uvc.scan_devices()
    with pytest.raises(RuntimeError):
        with uvc.open_device(info) as device:
            device.open_imu()
            raise RuntimeError("application failure")
    assert device.closed
    assert camera_rig.open_sessions() == 0


def test_every_vendor_call_happens_under_the_lock_and_inside_a_session(device, camera_rig):
    device.write_json('{"a": 1}')
    device.read_json()
    device.open_imu()
    device.read_imu_samples(10)
    device.close_imu()
    calls = camera_rig.calls()
    assert calls
    assert all(call.lock_held for call in calls)
    assert all(call.open_sessions >= 1 for call in calls if call.name != "SonixCam_Init")
    assert camera_rig.violations() == []
