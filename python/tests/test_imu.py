"""The IMU: opening, raw samples, conversion, and read_imu_samples with numpy and without."""

import pytest

import tovanel_uvc_stereo as uvc
from tovanel_uvc_stereo import _numpy, sim
from helpers import camera_path, reporting_camera, sdk_error, supported_camera

E = uvc.ErrorCode
FIELDS = ["host_timestamp_ns", "sample_counter", "temperature_c", "accel_g", "gyro_dps"]


@pytest.fixture
def without_numpy(monkeypatch):
    """read_imu_samples as on a machine without numpy."""
    monkeypatch.setattr(_numpy, "numpy_module", lambda: None)


def open_imu_device(rig, **camera):
    rig.add_camera(**supported_camera(**camera))
    (info,) = uvc.scan_devices()
    device = uvc.open_device(info)
    device.open_imu()
    return device


def test_open_read_close(device, camera_rig):
    device.open_imu()
    assert device.has_imu_transport
    assert device.transport_flags & uvc.TRANSPORT_IMU
    first = device.read_imu()
    second = device.read_imu()
    assert (first.sample_counter, second.sample_counter) == (0, 1)
    assert second.host_timestamp_ns > first.host_timestamp_ns > 0
    # At rest gravity lies on +z: about 2048 counts at the default scale.
    assert abs(first.accel_raw[2] - 2048) < 64
    converted = device.convert_imu(first)
    assert converted.host_timestamp_ns == first.host_timestamp_ns
    assert converted.accel_g[2] == pytest.approx(first.accel_raw[2] / 2048.0)
    assert converted.temperature_c == pytest.approx(31.5, abs=0.1)
    device.open_imu()  # a second open keeps the reader
    assert device.read_imu().sample_counter == 2
    device.close_imu()
    device.close_imu()
    assert device.has_imu_transport  # once opened, it stays proven
    with sdk_error(E.InvalidArgument, "IMU is not open"):
        device.read_imu()


def test_the_json_configuration_is_back_after_close_imu(device):
    device.write_json("[2]")
    device.open_imu()
    with sdk_error(E.InvalidArgument, "IMU must be closed before flash JSON access"):
        device.read_json()
    device.close_imu()
    assert device.read_json().json == "[2]"


def test_samples_convert_with_the_scales_the_camera_reports(rig):
    rig.add_camera(**reporting_camera())
    (info,) = uvc.scan_devices()
    with uvc.open_device(info) as device:
        device.open_imu()
        raw = device.read_imu()
        converted = device.convert_imu(raw)
        assert converted.temperature_c == pytest.approx(raw.temperature_raw / 512.0 + 23.0)
        assert converted.accel_g == pytest.approx(tuple(value / 1024.0 for value in raw.accel_raw))
        assert converted.gyro_dps == pytest.approx(tuple(value / 32.8 for value in raw.gyro_raw))
        # The rig's camera reads on the unit and selector its report names.
        assert any(call.name == "SonixCam_XuRead" and 5 in call.args and 3 in call.args for call in rig.calls())


def test_read_imu_samples_gives_a_structured_array_with_numpy(rig):
    numpy = pytest.importorskip("numpy")
    device = open_imu_device(rig, imu=sim.SimulatedImu(motion=sim.ImuMotion.Moving, first_counter=0xFFFFE))
    with device:
        samples = device.read_imu_samples(1000)
        assert isinstance(samples, numpy.ndarray)
        assert samples.shape == (1000,)
        assert list(samples.dtype.names) == FIELDS
        assert samples.dtype["accel_g"].shape == (3,) and samples.dtype["gyro_dps"].shape == (3,)
        # The 20-bit counter wraps.
        assert list(samples["sample_counter"][:4]) == [0xFFFFE, 0xFFFFF, 0, 1]
        assert (numpy.diff(samples["host_timestamp_ns"].astype(numpy.int64)) > 0).all()
        assert numpy.linalg.norm(samples["accel_g"], axis=1) == pytest.approx(numpy.ones(1000), abs=0.2)
        assert samples["gyro_dps"].std() > 0  # moving


def test_the_array_and_the_list_hold_the_same_samples(rig, without_numpy, monkeypatch):
    numpy = pytest.importorskip("numpy")
    rig.add_camera(**supported_camera(imu=sim.SimulatedImu(motion=sim.ImuMotion.Moving, seed=7)))
    rig.add_camera(
        **supported_camera(
            serial_number="SN-0002",
            device_path=camera_path(instance="2"),
            imu=sim.SimulatedImu(motion=sim.ImuMotion.Moving, seed=7),
        )
    )
    first, second = uvc.scan_devices()
    with uvc.open_device(first) as device_a, uvc.open_device(second) as device_b:
        device_a.open_imu()
        device_b.open_imu()
        as_list = device_a.read_imu_samples(50)
        monkeypatch.undo()
        as_array = device_b.read_imu_samples(50)
    assert isinstance(as_list, list) and isinstance(as_array, numpy.ndarray)
    for item, record in zip(as_list, as_array):
        assert item.temperature_c == record["temperature_c"]
        assert item.accel_g == tuple(record["accel_g"])
        assert item.gyro_dps == tuple(record["gyro_dps"])


def test_read_imu_samples_gives_a_list_without_numpy(rig, without_numpy):
    device = open_imu_device(rig, imu=sim.SimulatedImu(first_counter=5))
    with device:
        raw = device.read_imu()
        samples = device.read_imu_samples(20)
        assert isinstance(samples, list) and len(samples) == 20
        assert all(isinstance(sample, uvc.ConvertedImuResult) for sample in samples)
        assert samples[0].host_timestamp_ns > raw.host_timestamp_ns
        assert all(later.host_timestamp_ns > earlier.host_timestamp_ns for earlier, later in zip(samples, samples[1:]))
        assert all(abs(sample.accel_g[2] - 1.0) < 0.05 for sample in samples)
        assert device.read_imu().sample_counter == 5 + 1 + 20


def test_zero_samples_and_negative_counts(device, without_numpy):
    device.open_imu()
    assert device.read_imu_samples(0) == []
    with pytest.raises(ValueError, match="n must not be negative"):
        device.read_imu_samples(-1)
    with pytest.raises(TypeError):
        device.read_imu_samples(2.5)
    device.close_imu()


def test_batches_of_growing_and_shrinking_size_reuse_nothing_stale(device, without_numpy):
    device.open_imu()
    sizes = [3, 100, 7, 100, 1]
    counters = []
    for size in sizes:
        counters.append(len(device.read_imu_samples(size)))
    assert counters == sizes
    assert device.read_imu().sample_counter == sum(sizes)
    device.close_imu()


def test_a_failing_read_in_a_batch_raises(rig):
    device = open_imu_device(rig)
    with device:
        rig.add_fault("SonixCam_XuRead", nth=5, vendor_code=8)
        with sdk_error(E.PlatformError, "SonixCam_XuRead failed: vendor_code=ecSyncTransTimeOut(8)"):
            device.read_imu_samples(10)
        rig.queue_imu_status(0, 0xF2)
        with sdk_error(E.ReadFailed, "IMU device reported read failure"):
            device.read_imu_samples(3)
        assert len(device.read_imu_samples(3)) == 3


def test_read_imu_samples_without_an_open_imu(device):
    with sdk_error(E.InvalidArgument, "IMU is not open"):
        device.read_imu_samples(1)
