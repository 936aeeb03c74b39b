"""A device's life across threads and rigs: close() waits for calls in flight and refuses the
calls after it, and each simulated rig closes only the devices opened while it was in force."""

import threading

import pytest

import tovanel_uvc_stereo as uvc
from tovanel_uvc_stereo import sim

from helpers import camera_path, sdk_error, supported_camera

CLOSED = "device is closed or moved-from"


def test_close_waits_for_a_read_in_flight_and_later_calls_are_refused(device, camera_rig):
    device.open_imu()
    inside = threading.Event()
    go_on = threading.Event()

    def hold_the_read(call):
        inside.set()
        go_on.wait(10)

    camera_rig.on_call("SonixCam_XuRead", hold_the_read)
    outcome = {}

    def reader():
        try:
            outcome["samples"] = device.read_imu_samples(5)
        except BaseException as error:  # noqa: BLE001
            outcome["error"] = error

    reading = threading.Thread(target=reader)
    reading.start()
    assert inside.wait(10)
    closing = threading.Thread(target=device.close)
    closing.start()
    # The read is still inside the camera: close() must not have freed anything under it.
    closing.join(0.3)
    assert closing.is_alive()
    assert device.closed
    with sdk_error(uvc.ErrorCode.InvalidArgument, CLOSED):
        device.read_imu()
    camera_rig.clear_call_hooks()
    go_on.set()
    reading.join(10)
    closing.join(10)
    assert not reading.is_alive() and not closing.is_alive()
    # The read in flight ends as a whole read (its chunk was under way) or refused at its next chunk.
    if "error" in outcome:
        assert isinstance(outcome["error"], uvc.UvcStereoError) and outcome["error"].message == CLOSED
    else:
        assert len(outcome["samples"]) == 5
    assert camera_rig.open_sessions() == 0
    with sdk_error(uvc.ErrorCode.InvalidArgument, CLOSED):
        device.read_imu_samples(1)


def test_a_reader_thread_and_a_closing_main_thread_never_crash(camera_rig):
    (info,) = uvc.scan_devices()
    for _ in range(20):
        device = uvc.open_device(info)
        device.open_imu()
        started = threading.Event()
        errors = []

        def reader():
            try:
                while True:
                    device.read_imu_samples(64)
                    started.set()
            except uvc.UvcStereoError as error:
                errors.append(error)
                started.set()

        thread = threading.Thread(target=reader)
        thread.start()
        assert started.wait(10)
        device.close()
        thread.join(10)
        assert not thread.is_alive()
        assert [(error.code, error.message) for error in errors] == [(uvc.ErrorCode.InvalidArgument, CLOSED)]
        assert camera_rig.open_sessions() == 0


def test_close_stops_a_long_batch_at_its_next_chunk(device, camera_rig):
    device.open_imu()
    errors = []
    started = threading.Event()

    def count_reads(call):
        started.set()

    camera_rig.on_call("SonixCam_XuRead", count_reads)

    def reader():
        try:
            device.read_imu_samples(50_000_000)
        except uvc.UvcStereoError as error:
            errors.append(error)

    thread = threading.Thread(target=reader)
    thread.start()
    assert started.wait(10)
    device.close()
    camera_rig.clear_call_hooks()
    thread.join(30)
    assert not thread.is_alive()
    assert [error.message for error in errors] == [CLOSED]
    reads_after_close = camera_rig.call_names().count("SonixCam_XuRead")
    assert reads_after_close < 50_000_000


def test_close_from_two_threads_closes_once(device, camera_rig):
    threads = [threading.Thread(target=device.close) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(10)
    assert device.closed
    assert camera_rig.open_sessions() == 0


def test_closing_an_older_rig_leaves_the_devices_of_a_newer_rig_open():
    with sim.SimulatedRig() as older:
        older.add_camera(**supported_camera(serial_number="SN-OLD"))
        (old_info,) = uvc.scan_devices()
        old_device = uvc.open_device(old_info)
        newer = sim.SimulatedRig()
        try:
            newer.add_camera(**supported_camera(serial_number="SN-NEW", device_path=camera_path(instance="0000beef")))
            (new_info,) = uvc.scan_devices()
            new_device = uvc.open_device(new_info)
            older.close()
            assert old_device.closed
            assert not new_device.closed
            assert new_device.info.serial_number == "SN-NEW"
            new_device.write_json("[7]")
            assert new_device.read_json().json == "[7]"
            new_device.open_imu()
            assert newer.open_sessions() == 1
            newer.close()
            assert new_device.closed
        finally:
            newer.close()


def test_closing_a_newer_rig_leaves_the_devices_of_the_older_rig_open():
    with sim.SimulatedRig() as older:
        older.add_camera(**supported_camera(serial_number="SN-OLD"))
        (old_info,) = uvc.scan_devices()
        old_device = uvc.open_device(old_info)
        with sim.SimulatedRig() as newer:
            newer.add_camera(**supported_camera(serial_number="SN-NEW"))
            (new_info,) = uvc.scan_devices()
            new_device = uvc.open_device(new_info)
        assert new_device.closed
        assert not old_device.closed
        old_device.write_json("[3]")
        assert old_device.read_json().json == "[3]"
        old_device.close()
        assert older.open_sessions() == 0


def test_a_reader_thread_and_a_thread_closing_and_reopening_the_imu_take_turns(device, camera_rig):
    device.open_imu()
    stop = threading.Event()
    messages = set()
    batches = []

    def reader():
        while not stop.is_set():
            try:
                batches.append(len(device.read_imu_samples(64)))
            except uvc.UvcStereoError as error:
                messages.add((error.code, error.message))

    thread = threading.Thread(target=reader)
    thread.start()
    try:
        for _ in range(15):
            device.close_imu()
            device.open_imu()
    finally:
        stop.set()
        thread.join(30)
    assert not thread.is_alive()
    # A batch meets the IMU either open for its whole chunk or closed: never half torn down.
    assert messages <= {(uvc.ErrorCode.InvalidArgument, "IMU is not open")}
    assert set(batches) <= {64}
    device.close_imu()


def test_close_from_a_hook_inside_a_read_closes_as_the_read_returns(device, camera_rig):
    device.open_imu()
    camera_rig.on_call("SonixCam_XuRead", lambda call: device.close())
    samples = device.read_imu_samples(5)
    camera_rig.clear_call_hooks()
    assert len(samples) == 5
    assert device.closed
    assert camera_rig.open_sessions() == 0
    with sdk_error(uvc.ErrorCode.InvalidArgument, CLOSED):
        device.read_imu()
