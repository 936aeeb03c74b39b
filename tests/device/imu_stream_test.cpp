#include "uvc_stereo/imu_stream.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <utility>
#include <vector>

#include "device/imu_stream_support.h"

// The IMU stream over an open Device on a rig whose IMU lives in virtual time.
namespace tovanel::uvc_stereo {
namespace {

using device_testing::DeviceRigTest;
using device_testing::kMillisecond;
using device_testing::kSecond;
using device_testing::percentile;
using device_testing::sorted_errors_us;
using device_testing::stream_for;
using device_testing::StreamedTrace;
using device_testing::timed_camera;

class ImuStreamTest : public DeviceRigTest {
 protected:
  void SetUp() override { rig_.use_virtual_time(); }

  // Each delivered sample is the next distinct sample the rig answered with: none twice, none invented, in order,
  // and the gaps counted are the rig's own.
  static void expect_matches_truth(const StreamedTrace& trace) {
    ASSERT_EQ(trace.samples.size(), trace.truth.size());
    for (std::size_t i = 0; i < trace.samples.size(); ++i) {
      const ImuStreamSample& sample = trace.samples[i];
      const sim::SimulatedImuSampleTruth& truth = trace.truth[i];
      ASSERT_EQ(sample.counter, truth.counter) << "sample " << i;
      ASSERT_EQ(sample.segment, truth.segment) << "sample " << i;
      ASSERT_EQ(sample.restarted, i > 0 && truth.segment != trace.truth[i - 1].segment) << "sample " << i;
      if (i == 0) {
        continue;
      }
      const std::uint64_t expected_missed =
          sample.restarted ? truth.sample_number : truth.sample_number - trace.truth[i - 1].sample_number - 1;
      ASSERT_EQ(sample.missed_before, expected_missed) << "sample " << i;
      ASSERT_EQ(sample.sample_index, trace.samples[i - 1].sample_index + 1 + sample.missed_before) << "sample " << i;
      ASSERT_GT(sample.host_time_ns, trace.samples[i - 1].host_time_ns) << "sample " << i;
    }
  }
};

TEST_F(ImuStreamTest, DeliversEverySampleOnceInOrderAsTheRigAnsweredThem) {
  IMU_STREAM_TESTING_OPEN(device, stream, timed_camera("SN-STREAM-ONCE", 200.0, 100.0), ImuStreamOptions{});
  static_cast<void>(rig_.take_imu_truth(0));
  const StreamedTrace trace = stream_for(rig_, stream, 60 * kSecond);
  ASSERT_TRUE(trace.last_status.ok()) << trace.last_status.message();
  ASSERT_GT(trace.samples.size(), 11000u);
  expect_matches_truth(trace);
}

TEST_F(ImuStreamTest, ReadsPacedFromTheRateSeeEverySampleOfA200HzImuWithoutFloodingTheBus) {
  sim::SimulatedCamera camera = timed_camera("SN-STREAM-PACE", 200.0, 0.0);
  camera.imu.timing->stall_probability = 0.0;
  IMU_STREAM_TESTING_OPEN(device, stream, camera, ImuStreamOptions{});
  static_cast<void>(stream_for(rig_, stream, 30 * kSecond));
  const Result<ImuStreamStatistics> stats = stream.statistics();
  ASSERT_TRUE(stats.ok());
  EXPECT_EQ(stats.value().samples_missed, 0u);
  // About three reads per sample period: enough to pin each sample down, no flood.
  EXPECT_LT(stats.value().reads, 4 * 200 * 30u);
  EXPECT_GT(stats.value().reads, 2 * 200 * 30u);
}

TEST_F(ImuStreamTest, StallsLongerThanASamplePeriodLoseOnlyTheSamplesTheyCover) {
  IMU_STREAM_TESTING_OPEN(device, stream, timed_camera("SN-STREAM-STALLS", 200.0, 0.0), ImuStreamOptions{});
  static_cast<void>(rig_.take_imu_truth(0));
  const StreamedTrace trace = stream_for(rig_, stream, 30 * kSecond);
  expect_matches_truth(trace);
  const ImuStreamStatistics stats = stream.statistics().value();
  // A stall of at most 20 ms covers at most 4 samples of 5 ms; about 1% of the reads stall.
  EXPECT_GT(stats.samples_missed, 0u);
  EXPECT_LE(stats.samples_missed, 4 * (stats.reads / 100 + 3 * 10));
}

TEST_F(ImuStreamTest, ReadsSlowerThanTheImuCountEveryMissedSample) {
  ImuStreamOptions options;
  options.max_reads_per_second = 40.0;
  IMU_STREAM_TESTING_OPEN(device, stream, timed_camera("SN-STREAM-GAPS", 200.0, 0.0), options);
  static_cast<void>(rig_.take_imu_truth(0));
  const StreamedTrace trace = stream_for(rig_, stream, 20 * kSecond);
  expect_matches_truth(trace);
  const Result<ImuStreamStatistics> stats = stream.statistics();
  ASSERT_TRUE(stats.ok());
  EXPECT_GT(stats.value().samples_missed, 3 * stats.value().samples_delivered);
  EXPECT_EQ(stats.value().duplicate_reads, 0u);
}

TEST_F(ImuStreamTest, IndexContinuesAcrossTheCounterWrap) {
  sim::SimulatedCamera camera = timed_camera("SN-STREAM-WRAP", 1000.0, -100.0);
  camera.imu.first_counter = (1u << 20) - 3000;
  IMU_STREAM_TESTING_OPEN(device, stream, camera, ImuStreamOptions{});
  static_cast<void>(rig_.take_imu_truth(0));
  const StreamedTrace trace = stream_for(rig_, stream, 6 * kSecond);
  expect_matches_truth(trace);
  ASSERT_FALSE(trace.samples.empty());
  EXPECT_GE(trace.samples.back().sample_index, 1u << 20);
  EXPECT_LT(trace.samples.back().counter, 4000u);
  EXPECT_EQ(trace.samples.back().segment, 0u);
}

TEST_F(ImuStreamTest, RestartOfTheCameraStartsANewSegmentFlaggedOnItsFirstSample) {
  sim::SimulatedCamera camera = timed_camera("SN-STREAM-RESTART", 200.0, 50.0);
  camera.imu.first_counter = 70000;
  camera.imu.timing->restart_after_s = {12.5};
  IMU_STREAM_TESTING_OPEN(device, stream, camera, ImuStreamOptions{});
  static_cast<void>(rig_.take_imu_truth(0));
  const StreamedTrace trace = stream_for(rig_, stream, 25 * kSecond);
  expect_matches_truth(trace);
  std::size_t restarted = 0;
  for (const ImuStreamSample& sample : trace.samples) {
    restarted += sample.restarted ? 1 : 0;
  }
  EXPECT_EQ(restarted, 1u);
  EXPECT_EQ(trace.samples.back().segment, 1u);
  EXPECT_EQ(stream.statistics().value().restarts, 1u);
}

struct TraceCase {
  double rate_hz;
  double ppm;
};

class ImuStreamAccuracy : public ImuStreamTest, public ::testing::WithParamInterface<TraceCase> {};

TEST_P(ImuStreamAccuracy, SampleTimesLieWithin100MicrosecondsOfTheTruthAtThe99thPercentile) {
  IMU_STREAM_TESTING_OPEN(device, stream, timed_camera("SN-STREAM-TIME", GetParam().rate_hz, GetParam().ppm),
                          ImuStreamOptions{});
  static_cast<void>(rig_.take_imu_truth(0));
  const StreamedTrace trace = stream_for(rig_, stream, 300 * kSecond);
  expect_matches_truth(trace);
  const std::vector<double> errors = sorted_errors_us(trace);
  EXPECT_LE(percentile(errors, 0.99), 100.0);
  EXPECT_LE(percentile(errors, 0.50), 30.0);
  const ImuStreamStatistics stats = stream.statistics().value();
  EXPECT_NEAR(stats.clock_error_ppm, GetParam().ppm, 5.0);
  EXPECT_EQ(stats.nominal_rate_hz, GetParam().rate_hz);
}

INSTANTIATE_TEST_SUITE_P(Traces, ImuStreamAccuracy,
                         ::testing::Values(TraceCase{200.0, 100.0}, TraceCase{200.0, -100.0}, TraceCase{1000.0, 100.0},
                                           TraceCase{1000.0, -100.0}));

TEST_F(ImuStreamTest, PullReturnsAtItsTimeoutWithWhatItRead) {
  IMU_STREAM_TESTING_OPEN(device, stream, timed_camera("SN-STREAM-TIMEOUT", 200.0, 0.0), ImuStreamOptions{});
  std::vector<ImuStreamSample> samples(1000);
  const std::uint64_t before = rig_.now_ns();
  const ImuPull pulled = stream.pull(samples.data(), samples.size(), std::chrono::milliseconds(100));
  const std::uint64_t after = rig_.now_ns();
  EXPECT_TRUE(pulled.status.ok());
  EXPECT_GE(pulled.count, 15u);
  EXPECT_LE(pulled.count, 21u);
  EXPECT_GE(after - before, 100 * kMillisecond - 5 * kMillisecond) << "waited for its deadline";
  EXPECT_LE(after - before, 100 * kMillisecond + 22 * kMillisecond) << "one read at most past the deadline";
}

TEST_F(ImuStreamTest, PullWithZeroTimeoutMakesOnlyTheReadDueNowAndNeverWaits) {
  IMU_STREAM_TESTING_OPEN(device, stream, timed_camera("SN-STREAM-POLL", 200.0, 0.0), ImuStreamOptions{});
  ImuStreamSample samples[8];
  const ImuPull first = stream.pull(samples, 8, std::chrono::nanoseconds(0));
  EXPECT_TRUE(first.status.ok());
  EXPECT_EQ(first.count, 1u) << "the stream's first read is due at once";
  std::uint64_t idle_polls = 0;
  for (int i = 0; i < 200; ++i) {
    const std::uint64_t reads_before = stream.statistics().value().reads;
    const std::uint64_t before = rig_.now_ns();
    const ImuPull polled = stream.pull(samples, 8, std::chrono::nanoseconds(0));
    EXPECT_TRUE(polled.status.ok());
    const std::uint64_t reads = stream.statistics().value().reads - reads_before;
    ASSERT_LE(reads, 1u);
    ASSERT_LE(polled.count, reads);
    if (reads == 0) {
      ++idle_polls;
      ASSERT_EQ(rig_.now_ns(), before) << "a poll with no read due does not wait";
    }
    rig_.advance_time(100000);
  }
  EXPECT_GT(idle_polls, 0u) << "reads are paced, not made on every poll";
}

TEST_F(ImuStreamTest, StatisticsCountWhatTheStreamDid) {
  IMU_STREAM_TESTING_OPEN(device, stream, timed_camera("SN-STREAM-STATS", 200.0, 100.0), ImuStreamOptions{});
  const StreamedTrace trace = stream_for(rig_, stream, 40 * kSecond);
  const ImuStreamStatistics stats = stream.statistics().value();
  EXPECT_EQ(stats.samples_delivered, trace.samples.size());
  std::uint64_t missed = 0;
  for (const ImuStreamSample& sample : trace.samples) {
    missed += sample.missed_before;
  }
  EXPECT_EQ(stats.samples_missed, missed);
  EXPECT_EQ(stats.reads, stats.samples_delivered + stats.duplicate_reads);
  EXPECT_EQ(stats.failed_reads, 0u);
  EXPECT_NEAR(stats.rate_hz, 200.02, 0.002);
  EXPECT_GE(stats.read_latency_min_ns, 200000u);
  EXPECT_LE(stats.read_latency_max_ns, 22 * kMillisecond);
  EXPECT_GT(stats.read_latency_median_ns, 900000u);
  EXPECT_LT(stats.read_latency_median_ns, 1300000u);
  EXPECT_GT(stats.read_latency_p99_ns, 2 * kMillisecond) << "1% of reads stall for 5 to 20 ms";
}

TEST_F(ImuStreamTest, ConvertedValuesAreStampedWithTheSampleTimeAndRawWithTheRead) {
  IMU_STREAM_TESTING_OPEN(device, stream, timed_camera("SN-STREAM-CONVERT", 200.0, 0.0), ImuStreamOptions{});
  ImuStreamSample samples[4];
  const ImuPull pulled = stream.pull(samples, 4, std::chrono::seconds(1));
  ASSERT_EQ(pulled.count, 4u);
  for (const ImuStreamSample& sample : samples) {
    EXPECT_EQ(sample.converted.host_timestamp_ns, sample.host_time_ns);
    EXPECT_EQ(sample.raw.host_timestamp_ns, sample.read_time_ns);
    EXPECT_EQ(sample.raw.sample_counter, sample.counter);
    const Result<ConvertedImuResult> expected = device.convert_imu(sample.raw);
    ASSERT_TRUE(expected.ok());
    EXPECT_EQ(sample.converted.accel_g, expected.value().accel_g);
    EXPECT_EQ(sample.converted.gyro_dps, expected.value().gyro_dps);
    EXPECT_NEAR(sample.converted.accel_g[2], 1.0, 0.05);
  }
}

TEST_F(ImuStreamTest, FirstSampleOfAnOddLengthReadIsTimedAtItsReadsOwnStamp) {
  sim::SimulatedCamera camera = timed_camera("SN-STREAM-ODD-READ", 200.0, 0.0);
  // Every read takes an odd number of nanoseconds, so its middle lies half a nanosecond between two whole ones.
  camera.imu.timing->latency_min_ns = 1000001;
  camera.imu.timing->latency_max_ns = 1000001;
  camera.imu.timing->stall_probability = 0.0;
  IMU_STREAM_TESTING_OPEN(device, stream, camera, ImuStreamOptions{});
  ImuStreamSample first;
  const ImuPull pulled = stream.pull(&first, 1, std::chrono::seconds(1));
  ASSERT_TRUE(pulled.status.ok()) << pulled.status.message();
  ASSERT_EQ(pulled.count, 1u);
  EXPECT_EQ(first.host_time_uncertainty_ns, ~std::uint64_t{0}) << "no read before it bounds the first sample";
  EXPECT_EQ(first.host_time_ns, first.read_time_ns);
  EXPECT_EQ(first.converted.host_timestamp_ns, first.raw.host_timestamp_ns);
}

TEST_F(ImuStreamTest, OpeningTheStreamOpensTheImuAndClosingTheImuEndsIt) {
  IMU_STREAM_TESTING_OPEN(device, stream, timed_camera("SN-STREAM-CLOSE", 200.0, 0.0), ImuStreamOptions{});
  EXPECT_TRUE(device.read_imu().ok()) << "the stream opened the IMU";
  ASSERT_TRUE(device.close_imu().ok());
  ImuStreamSample sample;
  const ImuPull pulled = stream.pull(&sample, 1, std::chrono::milliseconds(10));
  EXPECT_EQ(pulled.count, 0u);
  EXPECT_EQ(pulled.status.code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(pulled.status.message(), "IMU is not open");
}

TEST_F(ImuStreamTest, MovedFromStreamRefusesToPull) {
  IMU_STREAM_TESTING_OPEN(device, stream, timed_camera("SN-STREAM-MOVED", 200.0, 0.0), ImuStreamOptions{});
  ImuStream kept = std::move(stream);
  ImuStream& moved = stream;  // NOLINT(bugprone-use-after-move): the point of the test
  ImuStreamSample sample;
  const ImuPull pulled = moved.pull(&sample, 1, std::chrono::milliseconds(10));
  EXPECT_EQ(pulled.status.message(), "IMU stream is closed or moved-from");
  EXPECT_EQ(moved.statistics().status().message(), "IMU stream is closed or moved-from");
  EXPECT_TRUE(kept.pull(&sample, 1, std::chrono::milliseconds(10)).status.ok());
}

TEST_F(ImuStreamTest, StreamOnAMovedFromDeviceRefusesWithTheDevicesWords) {
  IMU_STREAM_TESTING_OPEN(device, stream, timed_camera("SN-STREAM-DEVMOVED", 200.0, 0.0), ImuStreamOptions{});
  const Device keeper = std::move(device);
  ImuStreamSample sample;
  const ImuPull pulled = stream.pull(&sample, 1, std::chrono::milliseconds(10));
  EXPECT_EQ(pulled.status.message(), "device is closed or moved-from");
}

TEST_F(ImuStreamTest, NullArrayIsRefused) {
  IMU_STREAM_TESTING_OPEN(device, stream, timed_camera("SN-STREAM-NULL", 200.0, 0.0), ImuStreamOptions{});
  const ImuPull pulled = stream.pull(nullptr, 3, std::chrono::milliseconds(10));
  EXPECT_EQ(pulled.status.code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(pulled.status.message(), "samples must not be null");
  EXPECT_EQ(stream.statistics().value().reads, 0u);
}

TEST_F(ImuStreamTest, InvalidOptionsAreRefusedBeforeTheImuOpens) {
  const DeviceInfo info = plug_and_scan(timed_camera("SN-STREAM-OPTIONS", 200.0, 0.0));
  DEVICE_TESTING_OPEN(device, info, 0);
  for (const ImuStreamOptions options :
       {ImuStreamOptions{0.0, 0.5, 0.0}, ImuStreamOptions{0.0, 3.0, -1.0}, ImuStreamOptions{-200.0, 3.0, 0.0}}) {
    const Result<ImuStream> stream = ImuStream::open(device, options);
    ASSERT_FALSE(stream.ok());
    EXPECT_EQ(stream.status().message(), "invalid IMU stream options");
  }
  EXPECT_EQ(device.read_imu().status().message(), "IMU is not open");
}

TEST_F(ImuStreamTest, DeviceWithoutImuCannotStream) {
  sim::SimulatedCamera camera = timed_camera("SN-STREAM-NOIMU", 200.0, 0.0);
  CapabilityReport report;  // a valid report that declares flash and no IMU
  report.capability_bits = kCapabilityFlashUserSpace;
  report.flash_user_space = FlashUserSpace{0x51000, 0x10000};
  camera.capability = report;
  const DeviceInfo info = plug_and_scan(camera);
  DEVICE_TESTING_OPEN(device, info, 0);
  const Result<ImuStream> stream = ImuStream::open(device);
  ASSERT_FALSE(stream.ok());
  EXPECT_EQ(stream.status().code(), ErrorCode::NotSupported);
  EXPECT_EQ(stream.status().message(), "IMU is not supported on this device");
}

}  // namespace
}  // namespace tovanel::uvc_stereo
