"""Cameras and checks the tests share."""

import _thread
import contextlib
import threading

import pytest

import tovanel_uvc_stereo as uvc

VENDOR_ID = 0x0C45
PRODUCT_ID = 0x6366


def camera_path(product_id: int = PRODUCT_ID, instance: str = "1a2b3c4d") -> str:
    """A Windows device path as the vendor library reports a camera's."""
    return (
        rf"\\?\usb#vid_{VENDOR_ID:04x}&pid_{product_id:04x}&mi_00#7&{instance}&0&0000"
        r"#{e5323777-f976-4f5b-9b55-b94699c46e44}\global"
    )


def supported_camera(**fields):
    """The add_camera arguments of a supported camera with a serial number, changed by ``fields``."""
    camera = dict(
        vendor_id=VENDOR_ID,
        product_id=PRODUCT_ID,
        device_path=camera_path(),
        device_name="Tovanel Stereo Camera",
        product_string="Tovanel Stereo",
        serial_number="SN-0001",
    )
    camera.update(fields)
    return camera


def reporting_capability(**imu_fields) -> uvc.CapabilityReport:
    """A capability report declaring flash user space at 0x60000 (32 KiB) and an IMU with scales of its own."""
    imu = dict(
        model="BMI088",
        xu_unit=5,
        xu_selector=3,
        xu_length=17,
        decimal_exponent=1,
        temperature_offset_c=23.0,
        temperature_lsb_per_c=512.0,
        accel_lsb_per_g=1024.0,
        gyro_lsb_per_dps=32.8,
    )
    imu.update(imu_fields)
    return uvc.CapabilityReport(
        major_version=1,
        minor_version=0,
        capability_bits=uvc.CAPABILITY_FLASH_USER_SPACE | uvc.CAPABILITY_IMU,
        flash_user_space=uvc.FlashUserSpace(start=0x60000, size=0x8000),
        imu=uvc.ReportedImuInfo(**imu),
    )


def reporting_camera(**fields):
    """A supported camera that sends reporting_capability(), with its user space where the report says."""
    camera = dict(
        capability=reporting_capability(),
        user_space_address=0x60000,
        user_space_size=0x8000,
        imu_unit=5,
        imu_selector=3,
    )
    camera.update(fields)
    return supported_camera(**camera)


@contextlib.contextmanager
def sdk_error(code: uvc.ErrorCode, message: str):
    """Expects a UvcStereoError with exactly this code and message."""
    with pytest.raises(uvc.UvcStereoError) as caught:
        yield caught
    error = caught.value
    assert error.code is code
    assert error.message == message
    assert str(error) == f"{code.name}: {message}"


@contextlib.contextmanager
def ctrl_c_once_under_way(rig, samples_taken: int, forget_calls_first: bool = False):
    """Presses Ctrl-C from another thread once the rig's first camera has taken ``samples_taken``
    samples, and forgets the rig's calls so far: then, or with ``forget_calls_first`` just before
    the press, so that the reads made while the press waits for the interpreter are counted too.
    The block must be interrupted; on leaving, the press is known to have happened."""
    pressed = threading.Event()

    def press():
        while rig.next_imu_counter(0) < samples_taken:
            pass
        if forget_calls_first:
            rig.clear_calls()
        _thread.interrupt_main()
        if not forget_calls_first:
            rig.clear_calls()
        pressed.set()

    presser = threading.Thread(target=press)
    presser.start()
    with pytest.raises(KeyboardInterrupt):
        yield
    presser.join(10)
    assert pressed.is_set()
