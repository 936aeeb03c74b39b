"""Reading the JSON configuration costs memory for what the record holds, not for the user
space a camera's capability report declares."""

import resource
import tracemalloc

import tovanel_uvc_stereo as uvc

from helpers import reporting_capability, supported_camera


def camera_declaring_user_space(size, real_size=0x8000):
    """A camera whose report declares ``size`` bytes of user space, of which ``real_size`` exist."""
    capability = reporting_capability()
    capability.flash_user_space = uvc.FlashUserSpace(start=0x60000, size=size)
    return supported_camera(
        capability=capability, user_space_address=0x60000, user_space_size=real_size, imu_unit=5, imu_selector=3
    )


def test_a_report_declaring_almost_4_gib_of_user_space_costs_no_gigabytes_to_read_7_bytes(rig):
    rig.add_camera(**camera_declaring_user_space(0xF0000000))
    (info,) = uvc.scan_devices()
    with uvc.open_device(info) as device:
        assert device.flash_config.user_space_size == 0xF0000000
        device.write_json('{"a":1}')
        largest_before = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
        tracemalloc.start()
        try:
            result = device.read_json()
            _, peak = tracemalloc.get_traced_memory()
        finally:
            tracemalloc.stop()
        largest_after = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    assert result == uvc.ReadJsonResult(format_version=0, json='{"a":1}')
    assert peak < 1024 * 1024
    # ru_maxrss is in KiB here: the process as a whole grew by no more than a few MiB.
    assert largest_after - largest_before < 64 * 1024


def test_a_record_larger_than_the_first_read_is_read_whole(rig):
    rig.add_camera(**camera_declaring_user_space(0x40000, real_size=0x40000))
    (info,) = uvc.scan_devices()
    with uvc.open_device(info) as device:
        text = '["' + "x" * 0x18000 + '"]'
        device.write_json(text)
        rig.clear_calls()
        tracemalloc.start()
        try:
            assert device.read_json().json == text
            _, peak = tracemalloc.get_traced_memory()
        finally:
            tracemalloc.stop()
    # A buffer for the first read, one the size of the record, and the text itself.
    assert peak < 4 * len(text) + 0x10000 + 64 * 1024
