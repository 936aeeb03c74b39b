"""Batches of IMU samples: read and converted a chunk per call into the SDK, equal to the
samples read and converted one at a time, reusing their buffers, and ended between two chunks
by Ctrl-C."""

import threading
import tracemalloc

import pytest

import tovanel_uvc_stereo as uvc
from tovanel_uvc_stereo import _device, _numpy, sim

from helpers import camera_path, ctrl_c_once_under_way, reporting_capability, supported_camera

CHUNK = _device.IMU_CHUNK


def twin_devices(rig, **camera):
    """Two cameras whose IMUs give the same samples, both opened with their IMU open."""
    imu = sim.SimulatedImu(motion=sim.ImuMotion.Moving, seed=11)
    rig.add_camera(**supported_camera(imu=imu, **camera))
    rig.add_camera(**supported_camera(serial_number="SN-TWIN", device_path=camera_path(instance="7"), imu=imu, **camera))
    devices = [uvc.open_device(info) for info in uvc.scan_devices()]
    for device in devices:
        device.open_imu()
    return devices


def records(samples):
    """Each sample as (timestamp, temperature, accel, gyro), from an array or a list."""
    if isinstance(samples, list):
        return [(s.host_timestamp_ns, s.temperature_c, s.accel_g, s.gyro_dps) for s in samples]
    return [
        (int(r["host_timestamp_ns"]), float(r["temperature_c"]), tuple(r["accel_g"]), tuple(r["gyro_dps"]))
        for r in samples
    ]


def batch_with_its_memory(device):
    """A batch of 1000 samples, and the most memory Python held beyond what it held before."""
    tracemalloc.start()
    try:
        before, _ = tracemalloc.get_traced_memory()
        tracemalloc.reset_peak()
        samples = device.read_imu_samples(1000)
        _, peak = tracemalloc.get_traced_memory()
    finally:
        tracemalloc.stop()
    return samples, peak - before


@pytest.mark.parametrize("use_numpy", [True, False])
def test_a_batch_of_several_chunks_equals_the_samples_read_one_at_a_time(rig, monkeypatch, use_numpy):
    if use_numpy:
        pytest.importorskip("numpy")
    else:
        monkeypatch.setattr(_numpy, "numpy_module", lambda: None)
    batch_device, single_device = twin_devices(rig)
    with batch_device, single_device:
        n = 2 * CHUNK + 5
        batch = batch_device.read_imu_samples(n)
        singles = [single_device.read_imu() for _ in range(n)]
        assert len(batch) == n
        if use_numpy:
            assert list(batch["sample_counter"]) == [raw.sample_counter for raw in singles]
        expected = records([single_device.convert_imu(raw) for raw in singles])
        got = records(batch)
        # Same camera samples, converted by the same code: only the host timestamps differ.
        assert [record[1:] for record in got] == [record[1:] for record in expected]
        assert all(later[0] > earlier[0] for earlier, later in zip(got, got[1:]))


def test_a_batch_converts_with_the_scales_the_camera_reports(rig):
    report = dict(capability=reporting_capability(), user_space_address=0x60000, user_space_size=0x8000)
    batch_device, single_device = twin_devices(rig, imu_unit=5, imu_selector=3, **report)
    with batch_device, single_device:
        assert batch_device.imu_conversion_options().accel_lsb_per_g == 1024.0
        batch = records(batch_device.read_imu_samples(CHUNK + 1))
        expected = records([single_device.convert_imu(single_device.read_imu()) for _ in range(CHUNK + 1)])
        assert [record[1:] for record in batch] == [record[1:] for record in expected]
        # The default scales would give other values.
        assert batch[0][2] != pytest.approx(
            uvc.convert_imu(single_device.read_imu(), uvc.ImuConversionOptions()).accel_g
        )


def test_a_batch_refuses_a_bool_count(device):
    device.open_imu()
    with pytest.raises(TypeError, match="n must be an int, not bool"):
        device.read_imu_samples(True)


def test_batches_reuse_their_buffers(device):
    numpy = pytest.importorskip("numpy")
    device.open_imu()
    device.read_imu_samples(1000)  # the buffers are made here, once
    samples, growth = batch_with_its_memory(device)
    # The result is the only thing of any size made for a batch: a chunk's raw and converted
    # arrays (about 100 KiB) come from the device's buffers.
    assert isinstance(samples, numpy.ndarray)
    assert growth < samples.nbytes + 16 * 1024


def test_ctrl_c_during_a_long_batch_ends_it_between_two_chunks(device, camera_rig):
    device.open_imu()
    # Once the batch is well under way.
    with ctrl_c_once_under_way(camera_rig, 3 * CHUNK):
        device.read_imu_samples(10_000_000)
    reads_after_ctrl_c = camera_rig.call_names().count("SonixCam_XuRead")
    # At most what was left of the chunk under way when Ctrl-C came.
    assert reads_after_ctrl_c <= CHUNK
    # The device is as usable as before, from this thread and from another: Ctrl-C left no turn held.
    counter = camera_rig.next_imu_counter(0)
    assert device.read_imu().sample_counter == counter
    assert len(device.read_imu_samples(3)) == 3
    other = threading.Thread(target=device.read_imu_samples, args=(3,))
    other.start()
    other.join(10)
    assert not other.is_alive()


def test_a_failed_batch_leaves_its_buffers_for_the_next(rig):
    pytest.importorskip("numpy")
    rig.add_camera(**supported_camera())
    (info,) = uvc.scan_devices()
    with uvc.open_device(info) as device:
        device.open_imu()
        device.read_imu_samples(1000)
        rig.add_fault("SonixCam_XuRead", nth=3, vendor_code=8)
        with pytest.raises(uvc.UvcStereoError):
            device.read_imu_samples(1000)
        samples, growth = batch_with_its_memory(device)
        assert growth < samples.nbytes + 16 * 1024
