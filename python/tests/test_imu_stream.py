"""IMU streams: every sample the camera took delivered once and in order, gaps and restarts
counted, host times within what the rig knows of when each sample was taken, the statistics,
failures mid-stream with no sample lost, Ctrl-C and a close from another thread; with numpy
(a structured array the SDK fills) and without (a list of records)."""

import dataclasses
import threading

import pytest

import tovanel_uvc_stereo as uvc
from tovanel_uvc_stereo import _imu_stream, _numpy, sim

from helpers import ctrl_c_once_under_way, sdk_error, supported_camera

E = uvc.ErrorCode
WRAP = 1 << 20


@pytest.fixture(params=["numpy", "records"])
def use_numpy(request, monkeypatch):
    if request.param == "numpy":
        pytest.importorskip("numpy")
        return True
    monkeypatch.setattr(_numpy, "numpy_module", lambda: None)
    return False


def timed_rig(rig, timing=None, **camera):
    """One camera whose IMU lives in virtual time."""
    rig.add_camera(**supported_camera(**camera))
    rig.set_imu_timing(0, timing or sim.SimulatedImuTiming())
    rig.use_virtual_time()
    (info,) = uvc.scan_devices()
    return uvc.open_device(info)


def as_records(samples):
    """A read's result, array or list, as a list of ImuStreamSample-like tuples of the stream fields."""
    if isinstance(samples, list):
        return [
            (s.sample_index, s.counter, s.segment, s.restarted, s.missed_before, s.host_time_ns,
             s.host_time_uncertainty_ns, s.read_time_ns)
            for s in samples
        ]
    names = ["sample_index", "counter", "segment", "restarted", "missed_before", "host_time_ns",
             "host_time_uncertainty_ns", "read_time_ns"]
    return [tuple(int(row[name]) if name != "restarted" else bool(row[name]) for name in names) for row in samples]


def test_every_sample_is_delivered_once_in_order_and_matches_the_camera_truth(rig, use_numpy):
    with timed_rig(rig) as device, device.open_imu_stream() as stream:
        samples = as_records(stream.read(2000))
        truth = rig.take_imu_truth(0)
    assert len(samples) == 2000
    # Each sample the camera answered a read with is delivered once, in order (the truth may hold
    # one more, answered by the last read and delivered by the next).
    assert [s[1] for s in samples] == [t.counter for t in truth[: len(samples)]]
    indices = [s[0] for s in samples]
    assert indices == [t.sample_number for t in truth[: len(samples)]]
    for previous, sample in zip(samples, samples[1:]):
        assert sample[0] == previous[0] + 1 + sample[4]


@pytest.mark.parametrize(
    "clock_error_ppm, seed",
    [(0.0, 2), (80.0, 2), (-80.0, 1), (0.0, 1)],
)
def test_host_times_increase_strictly_and_bound_the_time_each_sample_was_taken(rig, use_numpy, clock_error_ppm, seed):
    timing = sim.SimulatedImuTiming(clock_error_ppm=clock_error_ppm, seed=seed)
    with timed_rig(rig, timing) as device, device.open_imu_stream() as stream:
        samples = as_records(stream.read(3000))
        truth = {t.sample_number: t.taken_ns for t in rig.take_imu_truth(0)}
    assert samples[0][6] == uvc.IMU_TIME_UNKNOWN
    times = [s[5] for s in samples]
    assert all(a < b for a, b in zip(times, times[1:]))
    for index, _, _, _, _, host_time, uncertainty, _ in samples[1:]:
        assert abs(host_time - truth[index]) <= uncertainty
    # The reads bound the times ever more tightly: once the stream has run a while, typically to
    # well under a fifth of the 5 ms sample period.
    later = sorted(s[6] for s in samples[1500:])
    assert later[len(later) // 2] < 1_000_000


def test_a_read_capped_below_the_imu_rate_counts_the_samples_it_missed(rig, use_numpy):
    with timed_rig(rig) as device, device.open_imu_stream(max_reads_per_second=50) as stream:
        samples = as_records(stream.read(200))
        statistics = stream.statistics()
    missed = sum(s[4] for s in samples)
    assert missed > 0
    assert statistics.samples_missed == missed
    assert statistics.samples_delivered == 200
    assert samples[-1][0] - samples[0][0] + 1 == 200 + missed - samples[0][4]


def test_the_counter_wrap_is_crossed_with_the_sample_index_running_on(rig, use_numpy):
    imu = sim.SimulatedImu(first_counter=WRAP - 100)
    with timed_rig(rig, imu=imu) as device, device.open_imu_stream() as stream:
        samples = as_records(stream.read(300))
        statistics = stream.statistics()
    counters = [s[1] for s in samples]
    assert max(counters) >= WRAP - 100 and min(counters) < 200
    assert statistics.restarts == 0
    assert all(s[2] == 0 for s in samples)
    for previous, sample in zip(samples, samples[1:]):
        assert sample[0] == previous[0] + 1 + sample[4]
        assert sample[1] == (previous[1] + 1 + sample[4]) % WRAP


def test_a_restart_of_the_camera_starts_a_new_segment_and_is_counted(rig, use_numpy):
    with timed_rig(rig) as device, device.open_imu_stream() as stream:
        rig.advance_time(5_000_000_000)  # five seconds of samples, so the counter goes back visibly
        before = as_records(stream.read(50))
        rig.restart_imu(0)
        after = as_records(stream.read(50))
        statistics = stream.statistics()
    assert all(s[2] == 0 and not s[3] for s in before)
    assert after[0][2] == 1 and after[0][3]
    assert all(s[2] == 1 and not s[3] for s in after[1:])
    assert after[0][0] > before[-1][0]
    assert statistics.restarts == 1
    times = [s[5] for s in before + after]
    assert all(a < b for a, b in zip(times, times[1:]))


def test_statistics_measure_the_rate_and_the_camera_clock_error(rig):
    timing = sim.SimulatedImuTiming(rate_hz=400.0, clock_error_ppm=120.0)
    with timed_rig(rig, timing) as device, device.open_imu_stream() as stream:
        first = stream.statistics()
        stream.read(40_000)
        statistics = stream.statistics()
    assert first == uvc.ImuStreamStatistics(nominal_rate_hz=first.nominal_rate_hz)
    assert statistics.samples_delivered == 40_000
    assert statistics.nominal_rate_hz == 400.0
    assert statistics.rate_hz == pytest.approx(400.0 * (1 + 120e-6), rel=20e-6)
    assert statistics.clock_error_ppm == pytest.approx(120.0, abs=20.0)
    assert statistics.reads >= statistics.samples_delivered
    assert statistics.failed_reads == 0
    assert (
        200_000
        <= statistics.read_latency_min_ns
        <= statistics.read_latency_median_ns
        <= statistics.read_latency_p99_ns
        <= statistics.read_latency_max_ns
        <= 2_000_000
    )
    with pytest.raises(dataclasses.FrozenInstanceError):
        statistics.reads = 0


def test_the_options_reach_the_stream(rig):
    with timed_rig(rig) as device, device.open_imu_stream(nominal_rate_hz=250.0) as stream:
        stream.read(3)
        assert stream.statistics().nominal_rate_hz == 250.0
    with pytest.raises(TypeError, match="reads_per_sample must be a number, not str"):
        device.open_imu_stream(reads_per_sample="3")


@pytest.mark.parametrize(
    "status, code, message",
    [
        (0xF2, E.ReadFailed, "IMU device reported read failure"),
        (0xF1, E.DeviceUnavailable, "IMU device reported initialization failure"),
    ],
)
def test_a_failure_mid_read_carries_the_samples_before_it_and_the_stream_goes_on(
    rig, use_numpy, status, code, message
):
    with timed_rig(rig) as device, device.open_imu_stream() as stream:
        first = as_records(stream.read(10))
        rig.queue_imu_status(0, status)
        with sdk_error(code, message) as caught:
            stream.read(10)
        carried = as_records(caught.value.samples)
        rest = as_records(stream.read(10))
        statistics = stream.statistics()
    samples = first + carried + rest
    assert len(carried) < 10 and len(rest) == 10
    for previous, sample in zip(samples, samples[1:]):
        assert sample[0] == previous[0] + 1 + sample[4]
    assert statistics.failed_reads == 1
    assert statistics.samples_delivered == len(samples)


def test_a_failure_in_the_middle_of_a_read_returns_what_was_read_before_it(rig, use_numpy):
    with timed_rig(rig) as device, device.open_imu_stream() as stream:
        stream.read(5)
        # Every read after the next 20 answers a failure status.
        rig.clear_calls()
        reads = []

        def fail_the_twentieth(call):
            reads.append(call)
            if len(reads) == 20:
                rig.queue_imu_status(0, 0xF2)

        rig.on_call("SonixCam_XuRead", fail_the_twentieth)
        with sdk_error(E.ReadFailed, "IMU device reported read failure") as caught:
            stream.read(1000)
        rig.clear_call_hooks()
    assert 1 <= len(caught.value.samples) < 20


def test_an_unplugged_camera_fails_every_read_the_same_way(rig, use_numpy):
    with timed_rig(rig) as device, device.open_imu_stream() as stream:
        stream.read(3)
        rig.unplug(0)
        errors = []
        for _ in range(3):
            with pytest.raises(uvc.UvcStereoError) as caught:
                stream.read(5)
            errors.append((caught.value.code, caught.value.message, len(caught.value.samples)))
        with pytest.raises(uvc.UvcStereoError) as caught:
            next(iter(stream))
        errors.append((caught.value.code, caught.value.message, 0))
    assert len(set(errors)) == 1
    assert errors[0][2] == 0


def test_iterating_yields_the_same_samples_a_read_would(rig):
    with timed_rig(rig) as device, device.open_imu_stream() as stream:
        iterated = []
        for sample in stream:
            iterated.append(sample)
            if len(iterated) == 20:
                break
        truth = rig.take_imu_truth(0)
    assert all(isinstance(sample, uvc.ImuStreamSample) for sample in iterated)
    assert [s.counter for s in iterated] == [t.counter for t in truth[:20]]
    assert all(s.raw.sample_counter == s.counter for s in iterated)
    assert all(s.converted.host_timestamp_ns == s.host_time_ns for s in iterated)
    assert all(s.raw.host_timestamp_ns == s.read_time_ns for s in iterated)
    with pytest.raises(dataclasses.FrozenInstanceError):
        iterated[0].counter = 1


def raw_of(row):
    """The raw sample an array row holds."""
    return uvc.ReadImuResult(
        int(row["read_time_ns"]),
        int(row["counter"]),
        int(row["temperature_raw"]),
        tuple(int(v) for v in row["accel_raw"]),
        tuple(int(v) for v in row["gyro_raw"]),
    )


def test_the_array_holds_what_the_records_hold(rig):
    numpy = pytest.importorskip("numpy")
    imu = sim.SimulatedImu(motion=sim.ImuMotion.Moving, seed=5)
    with timed_rig(rig, imu=imu) as device, device.open_imu_stream() as stream:
        array = stream.read(5)
        converted = [device.convert_imu(raw_of(row)) for row in array]
    assert array.dtype.names == (
        "sample_index", "counter", "segment", "restarted", "missed_before", "host_time_ns",
        "host_time_uncertainty_ns", "read_time_ns", "temperature_c", "accel_g", "gyro_dps",
        "temperature_raw", "accel_raw", "gyro_raw",
    )
    assert array["accel_g"].shape == (5, 3) and array["gyro_raw"].shape == (5, 3)
    for row, converted in zip(array, converted):
        assert converted.temperature_c == pytest.approx(float(row["temperature_c"]))
        assert converted.accel_g == pytest.approx(tuple(row["accel_g"]))
        assert converted.gyro_dps == pytest.approx(tuple(row["gyro_dps"]))
    assert numpy.any(array["gyro_raw"] != 0)


def test_a_timeout_bounds_the_wait_and_zero_takes_only_the_read_due_now(rig, use_numpy):
    with timed_rig(rig) as device, device.open_imu_stream() as stream:
        stream.read(1)
        start = rig.now_ns()
        some = stream.read(1000, timeout=0.05)
        waited = rig.now_ns() - start
        due_now = stream.read(1000, timeout=0)
    # 200 samples a second: about 10 in 50 ms, never the 1000 asked for.
    assert 5 <= len(some) <= 11
    assert waited <= 60_000_000
    assert len(due_now) <= 1


def test_reading_nothing_and_bad_arguments(rig, use_numpy):
    with timed_rig(rig) as device, device.open_imu_stream() as stream:
        assert len(stream.read(0)) == 0
        with pytest.raises(ValueError, match="n must not be negative, got -1"):
            stream.read(-1)
        with pytest.raises(TypeError, match="n must be an int, not bool"):
            stream.read(True)
        with pytest.raises(ValueError, match="timeout must not be negative, got -0.5"):
            stream.read(1, timeout=-0.5)
        with pytest.raises(TypeError, match="timeout must be a number of seconds or None, not str"):
            stream.read(1, timeout="1")


def test_a_closed_stream_refuses_reads_and_leaves_the_imu_open(rig, use_numpy):
    with timed_rig(rig) as device:
        stream = device.open_imu_stream()
        stream.read(2)
        stream.close()
        stream.close()
        assert stream.closed
        with sdk_error(E.InvalidArgument, "IMU stream is closed"):
            stream.read(1)
        with sdk_error(E.InvalidArgument, "IMU stream is closed"):
            stream.statistics()
        assert device.has_imu_transport
        device.read_imu()


def test_closing_the_device_closes_its_streams(rig):
    device = timed_rig(rig)
    stream = device.open_imu_stream()
    stream.read(2)
    device.close()
    assert stream.closed
    with sdk_error(E.InvalidArgument, "device is closed or moved-from"):
        stream.read(1)
    stream.close()


def test_ctrl_c_ends_a_long_read_between_two_calls(rig, use_numpy):
    with timed_rig(rig) as device, device.open_imu_stream() as stream:
        with ctrl_c_once_under_way(rig, 3 * _imu_stream.STREAM_CHUNK, forget_calls_first=True):
            stream.read(5_000_000)
        # At most what was left of the call under way when Ctrl-C came.
        assert rig.call_names().count("SonixCam_XuRead") <= 3 * _imu_stream.STREAM_CHUNK
        # The stream goes on.
        assert len(stream.read(3)) == 3


@pytest.mark.parametrize("close", ["stream", "device"])
def test_a_close_from_another_thread_ends_a_read_in_flight(rig, use_numpy, close):
    device = timed_rig(rig)
    stream = device.open_imu_stream()
    outcome = {}

    def reader():
        try:
            stream.read(5_000_000)
        except uvc.UvcStereoError as error:
            outcome["error"] = error

    thread = threading.Thread(target=reader)
    thread.start()
    while rig.next_imu_counter(0) < 2000:
        pass
    (stream if close == "stream" else device).close()
    thread.join(timeout=30)
    assert not thread.is_alive()
    error = outcome["error"]
    expected = "IMU stream is closed" if close == "stream" else "device is closed or moved-from"
    assert (error.code, error.message) == (E.InvalidArgument, expected)
    assert len(error.samples) >= 1000
    device.close()
