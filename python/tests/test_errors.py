"""The error model: codes named as the SDK names them, and every failure the API can meet
raised as UvcStereoError with the SDK's code and exact text."""

import pytest

import tovanel_uvc_stereo as uvc
from helpers import camera_path, reporting_capability, reporting_camera, sdk_error, supported_camera

E = uvc.ErrorCode


def test_every_code_is_named_as_the_library_names_it():
    assert [code.value for code in E] == list(range(15))
    for code in E:
        assert uvc.error_name(code) == code.name
    assert uvc.error_name(15) == "Unknown"
    assert uvc.error_name(-1) == "Unknown"


def test_an_error_reads_as_name_and_message():
    error = uvc.UvcStereoError(12, "json text is empty")
    assert error.code is E.InvalidJson
    assert error.message == "json text is empty"
    assert str(error) == "InvalidJson: json text is empty"
    assert repr(error) == "UvcStereoError(InvalidJson, 'json text is empty')"
    assert isinstance(error, Exception)


def test_a_code_this_package_does_not_know_keeps_its_number():
    error = uvc.UvcStereoError(99, "from a newer library")
    assert error.code == 99
    assert str(error) == "Unknown: from a newer library"


def test_invalid_argument(camera_rig):
    (info,) = uvc.scan_devices()
    with sdk_error(E.InvalidArgument, "open_device required_capabilities contains unknown bits"):
        uvc.open_device(info, required_capabilities=8)
    with sdk_error(E.InvalidArgument, "selected device has invalid vid/pid"):
        uvc.open_device(uvc.DeviceInfo(serial_number="SN-0001"))
    with uvc.open_device(info) as device:
        with sdk_error(E.InvalidArgument, "IMU is not open"):
            device.read_imu()
        device.open_imu()
        with sdk_error(E.InvalidArgument, "IMU must be closed before flash JSON access"):
            device.read_json()
        with sdk_error(E.InvalidArgument, "IMU must be closed before flash JSON access"):
            device.write_json("{}")
        device.close_imu()
    with sdk_error(E.InvalidArgument, "device is closed or moved-from"):
        device.read_json()
    with sdk_error(E.InvalidArgument, "temperature_lsb_per_c must not be zero"):
        uvc.convert_imu(uvc.ReadImuResult(), uvc.ImuConversionOptions(temperature_lsb_per_c=0.0))


def test_platform_error(camera_rig):
    camera_rig.set_library_present(False)
    with sdk_error(E.PlatformError, "SonixCam_Init failed: vendor_code=ecLibInitFail(2)"):
        uvc.scan_devices()
    camera_rig.set_library_present(True)
    (info,) = uvc.scan_devices()
    with uvc.open_device(info) as device:
        device.open_imu()
        camera_rig.add_fault("SonixCam_XuRead", vendor_code=7)
        with sdk_error(E.PlatformError, "SonixCam_XuRead failed: vendor_code=ecDeviceDisconnect(7)"):
            device.read_imu()


def test_device_unavailable(camera_rig):
    (info,) = uvc.scan_devices()
    with uvc.open_device(info) as device:
        camera_rig.unplug(0)
        with sdk_error(E.DeviceUnavailable, "SonixCam_Init failed: vendor_code=ecNotFindDevice(4)"):
            device.read_json()
        camera_rig.plug(0)
        device.open_imu()
        camera_rig.queue_imu_status(0, 0xF1)
        with sdk_error(E.DeviceUnavailable, "IMU device reported initialization failure"):
            device.read_imu()
        device.close_imu()


def test_read_failed(device, camera_rig):
    camera_rig.add_fault("SonixCam_CstmReadFromSF", vendor_code=8)
    with sdk_error(
        E.ReadFailed,
        "SonixCam_CstmReadFromSF failed: vendor_code=ecSyncTransTimeOut(8) (address=0x00051000, length=16)",
    ):
        device.read_json()
    device.open_imu()
    camera_rig.queue_imu_status(0, 0xF2)
    with sdk_error(E.ReadFailed, "IMU device reported read failure"):
        device.read_imu()
    device.close_imu()


def test_write_failed(device, camera_rig):
    camera_rig.add_fault("SonixCam_WriteToSF", vendor_code=12)
    with sdk_error(
        E.WriteFailed,
        "SonixCam_WriteToSF failed: vendor_code=ecWriteFlashFail(12) (address=0x00051000, length=23)",
    ):
        device.write_json('{"x": 1}')
    # A worn cell makes the read-back differ from what was written.
    camera_rig.set_stuck_zero_bits(0, 0x51000 + 16, 0xFF)
    with sdk_error(
        E.WriteFailed, "verify_after_write failed: readback mismatch at offset 0x10 (expected=0x7B, actual=0x00)"
    ):
        device.write_json('{"x": 1}')


def test_erase_failed(device, camera_rig):
    camera_rig.add_fault("SonixCam_SectorEraseSF", vendor_code=10)
    with sdk_error(
        E.EraseFailed,
        "SonixCam_SectorEraseSF failed: vendor_code=ecSectorEraseFail(10) (address=0x00051000, length=4096)",
    ):
        device.write_json("{}")


def test_bad_magic_of_an_erased_flash(device):
    with sdk_error(E.BadMagic, "flash magic mismatch"):
        device.read_json()


def record(payload: bytes, header_size: int = 16, payload_length=None, crc=None) -> bytes:
    """A configuration record: "TOVA", format version 0, header size, payload length, CRC-32, padding, payload."""
    length = len(payload) if payload_length is None else payload_length
    crc = uvc.crc32_ieee(payload) if crc is None else crc
    header = b"TOVA" + (0).to_bytes(2, "little") + header_size.to_bytes(2, "little")
    header += length.to_bytes(4, "little") + crc.to_bytes(4, "little")
    return header + bytes(header_size - 16) + payload


def test_invalid_header(device, camera_rig):
    camera_rig.set_flash(0, 0x51000, record(b"{}", header_size=300))
    with sdk_error(E.InvalidHeader, "header_size out of range"):
        device.read_json()


def test_invalid_length(device, camera_rig):
    camera_rig.set_flash(0, 0x51000, record(b"{}", payload_length=4096))
    with sdk_error(E.InvalidLength, "flash header total length is invalid"):
        device.read_json()


def test_checksum_mismatch(device, camera_rig):
    camera_rig.set_flash(0, 0x51000, record(b'{"a":1}', crc=0x12345678))
    with sdk_error(E.ChecksumMismatch, "crc32 mismatch"):
        device.read_json()


def test_invalid_json_stored_in_a_sound_record(device, camera_rig):
    camera_rig.set_flash(0, 0x51000, record(b'{"a":}'))
    with sdk_error(E.InvalidJson, "invalid JSON value at offset 5"):
        device.read_json()


def test_invalid_json():
    with sdk_error(E.InvalidJson, "json text is empty"):
        uvc.minify_and_validate_json("")
    with sdk_error(E.InvalidJson, "invalid JSON value at offset 5"):
        uvc.minify_and_validate_json('{"a":')
    with sdk_error(E.InvalidJson, "unexpected trailing characters at offset 3"):
        uvc.minify_and_validate_json("{} x")


def test_not_supported(rig):
    rig.add_camera(**supported_camera())
    flashless = reporting_capability()
    flashless.capability_bits = uvc.CAPABILITY_IMU
    flashless.flash_user_space = None
    imuless = reporting_capability()
    imuless.capability_bits = uvc.CAPABILITY_FLASH_USER_SPACE
    imuless.imu = None
    rig.add_camera(**supported_camera(serial_number="SN-0002", device_path=camera_path(instance="2"), capability=flashless))
    rig.add_camera(**reporting_camera(serial_number="SN-0003", device_path=camera_path(instance="3"), capability=imuless))
    plain, without_flash, without_imu = uvc.scan_devices()

    with sdk_error(E.NotSupported, "selected device vid/pid is not in the scan whitelist"):
        uvc.open_device(uvc.DeviceInfo(vendor_id=0x0C45, product_id=0x9999, serial_number="SN-0001"))
    with sdk_error(E.NotSupported, "valid capability XU report does not declare Flash"):
        uvc.open_device(without_flash, required_capabilities=uvc.TRANSPORT_FLASH)
    with uvc.open_device(without_flash) as device:
        with sdk_error(E.NotSupported, "valid capability XU report does not declare Flash"):
            device.read_json()
    with uvc.open_device(without_imu) as device:
        with sdk_error(E.NotSupported, "IMU is not supported on this device"):
            device.open_imu()
        with sdk_error(E.NotSupported, "IMU is not supported on this device"):
            device.imu_conversion_options()
    with uvc.open_device(plain) as device:
        device.open_imu()
        device.close_imu()


@pytest.mark.parametrize("code", list(E))
def test_every_code_converts_from_its_number(code):
    assert uvc.UvcStereoError(int(code), "text").code is code
