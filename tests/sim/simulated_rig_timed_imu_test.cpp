#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <vector>

#include "bridge/os/host_time.h"
#include "simulated_rig_fixture.h"
#include "uvc_stereo/simulated_rig.h"

// A simulated IMU that lives in time: its own rate and oscillator, the newest sample
// before the request reached the camera, transfers that take time, restarts and wraps.
namespace tovanel::uvc_stereo::sim {
namespace {

using rig_testing::enumerate_records;
using rig_testing::LockedSession;
using rig_testing::supported_camera;

constexpr std::uint64_t kStart = 1000000000;
constexpr std::uint64_t kMillisecond = 1000000;

// A timed IMU whose reads take exactly `latency_ns`.
SimulatedImuTiming fixed_latency(double rate_hz, std::uint64_t latency_ns) {
  SimulatedImuTiming timing;
  timing.rate_hz = rate_hz;
  timing.latency_min_ns = latency_ns;
  timing.latency_max_ns = latency_ns;
  return timing;
}

// One read as the SDK's reader makes it: the host clock before and after, and the counter answered.
struct TimedRead {
  std::uint64_t started_ns;
  std::uint64_t finished_ns;
  std::uint32_t counter;
};

class SimulatedTimedImuTest : public ::testing::Test {
 protected:
  int add(const SimulatedImuTiming& timing, std::uint32_t first_counter = 0) {
    SimulatedCamera camera = supported_camera("TIMED" + std::to_string(rig_.camera_count()));
    camera.imu.timing = timing;
    camera.imu.first_counter = first_counter;
    return rig_.add_camera(camera);
  }

  std::vector<TimedRead> read(int count) {
    const LockedSession session;
    EXPECT_TRUE(session.opened());
    auto records = enumerate_records();
    std::vector<TimedRead> reads;
    std::uint8_t buffer[17];
    for (int i = 0; i < count; ++i) {
      TimedRead one{};
      one.started_ns = detail::bridge::host_now_ns();
      EXPECT_TRUE(SonixCam_XuRead(&records.at(0), buffer, 17, 10, 4));
      one.finished_ns = detail::bridge::host_now_ns();
      one.counter = (static_cast<std::uint32_t>(buffer[16] & 0x0F) << 16) |
                    (static_cast<std::uint32_t>(buffer[14]) << 8) | buffer[15];
      reads.push_back(one);
    }
    return reads;
  }

  void TearDown() override {
    EXPECT_TRUE(rig_.violations().empty()) << ::testing::PrintToString(rig_.violations());
    EXPECT_EQ(rig_.open_sessions(), 0);
  }

  SimulatedRig rig_;
};

TEST_F(SimulatedTimedImuTest, VirtualTimeIsTheHostClockTheSdkReads) {
  rig_.use_virtual_time(kStart);
  EXPECT_TRUE(rig_.virtual_time());
  EXPECT_EQ(detail::bridge::host_now_ns(), kStart);
  rig_.advance_time(5 * kMillisecond);
  EXPECT_EQ(detail::bridge::host_now_ns(), kStart + 5 * kMillisecond);
  detail::bridge::host_sleep_until_ns(kStart + 2 * kMillisecond);
  EXPECT_EQ(rig_.now_ns(), kStart + 5 * kMillisecond) << "a deadline already passed moves nothing";
  detail::bridge::host_sleep_until_ns(kStart + 9 * kMillisecond);
  EXPECT_EQ(rig_.now_ns(), kStart + 9 * kMillisecond);
}

TEST_F(SimulatedTimedImuTest, EachReadTakesItsTransferTimeInVirtualTime) {
  rig_.use_virtual_time(kStart);
  add(fixed_latency(200.0, 700000));
  const auto reads = read(3);
  for (const TimedRead& one : reads) {
    EXPECT_EQ(one.finished_ns - one.started_ns, 700000u);
  }
  EXPECT_EQ(reads[2].finished_ns, kStart + 3 * 700000u);
}

TEST_F(SimulatedTimedImuTest, PolledFasterThanItsRateAnswersTheSameSampleAgain) {
  rig_.use_virtual_time(kStart);
  add(fixed_latency(200.0, 1000000));
  const auto reads = read(4);  // four 1 ms reads inside the first 5 ms sample period
  for (const TimedRead& one : reads) {
    EXPECT_EQ(one.counter, 0u);
  }
  rig_.advance_time(2 * kMillisecond);
  EXPECT_EQ(read(1)[0].counter, 1u);
}

TEST_F(SimulatedTimedImuTest, PolledSlowerThanItsRateSkipsCounters) {
  rig_.use_virtual_time(kStart);
  add(fixed_latency(1000.0, 0));
  EXPECT_EQ(read(1)[0].counter, 0u);
  rig_.advance_time(7 * kMillisecond + 500000);
  EXPECT_EQ(read(1)[0].counter, 7u);
  rig_.advance_time(3 * kMillisecond);
  EXPECT_EQ(read(1)[0].counter, 10u);
}

TEST_F(SimulatedTimedImuTest, ClockErrorInPartsPerMillionShowsInTheCountAfterLongRuns) {
  rig_.use_virtual_time(kStart);
  SimulatedImuTiming fast = fixed_latency(200.0, 0);
  fast.clock_error_ppm = 100.0;
  add(fast);
  rig_.advance_time(1000ull * 1000 * kMillisecond);  // 1000 s: 200000 samples and 20 more from the fast oscillator
  EXPECT_EQ(read(1)[0].counter, 200020u);
}

TEST_F(SimulatedTimedImuTest, CounterWrapsAt20Bits) {
  rig_.use_virtual_time(kStart);
  add(fixed_latency(1000.0, 0), (1u << 20) - 2);
  EXPECT_EQ(read(1)[0].counter, (1u << 20) - 2);
  rig_.advance_time(2 * kMillisecond + 100000);
  EXPECT_EQ(read(1)[0].counter, 0u);
  rig_.advance_time(kMillisecond);
  EXPECT_EQ(read(1)[0].counter, 1u);
}

TEST_F(SimulatedTimedImuTest, PlannedRestartSendsTheCounterBackToZero) {
  rig_.use_virtual_time(kStart);
  SimulatedImuTiming timing = fixed_latency(100.0, 0);
  timing.restart_after_s = {1.0};
  add(timing, 5000);
  rig_.advance_time(990 * kMillisecond);
  EXPECT_EQ(read(1)[0].counter, 5099u);
  rig_.advance_time(255 * kMillisecond);  // 1.245 s: 0.245 s into the new start
  EXPECT_EQ(read(1)[0].counter, 24u);
  const auto truth = rig_.take_imu_truth(0);
  ASSERT_EQ(truth.size(), 2u);
  EXPECT_EQ(truth[0].segment, 0u);
  EXPECT_EQ(truth[1].segment, 1u);
  EXPECT_EQ(truth[1].sample_number, 24u);
  EXPECT_EQ(truth[1].taken_ns, kStart + 1240 * kMillisecond);
}

TEST_F(SimulatedTimedImuTest, RestartAskedForNowStartsAFreshCount) {
  rig_.use_virtual_time(kStart);
  add(fixed_latency(100.0, 0));
  rig_.advance_time(505 * kMillisecond);
  EXPECT_EQ(read(1)[0].counter, 50u);
  rig_.restart_imu(0);
  EXPECT_EQ(rig_.next_imu_counter(0), 0u);
  rig_.advance_time(31 * kMillisecond);
  EXPECT_EQ(read(1)[0].counter, 3u);
}

TEST_F(SimulatedTimedImuTest, TruthLiesInsideEveryReadsBracket) {
  rig_.use_virtual_time(kStart);
  SimulatedImuTiming timing;
  timing.rate_hz = 500.0;
  timing.clock_error_ppm = -80.0;
  timing.stall_probability = 0.05;
  add(timing);
  const auto reads = read(2000);
  const auto truth = rig_.take_imu_truth(0);
  const double period_ns = 1e9 / (500.0 * (1.0 - 80e-6));
  std::size_t next_truth = 0;
  std::uint32_t previous = 0xFFFFFFFF;
  for (const TimedRead& one : reads) {
    if (one.counter == previous) {
      continue;  // the same sample again: it appears once in the truth
    }
    previous = one.counter;
    ASSERT_LT(next_truth, truth.size());
    const SimulatedImuSampleTruth& sample = truth[next_truth++];
    ASSERT_EQ(sample.counter, one.counter);
    // Taken before the answer came back, and still the newest when the request was sent.
    EXPECT_LE(sample.taken_ns, one.finished_ns);
    EXPECT_GT(static_cast<double>(sample.taken_ns) + period_ns, static_cast<double>(one.started_ns));
  }
  EXPECT_EQ(next_truth, truth.size());
  EXPECT_TRUE(rig_.take_imu_truth(0).empty()) << "taking the truth forgets it";
}

TEST_F(SimulatedTimedImuTest, StallsAddTheirTimeToTheTransfer) {
  rig_.use_virtual_time(kStart);
  SimulatedImuTiming timing = fixed_latency(200.0, 300000);
  timing.stall_probability = 1.0;
  timing.stall_min_ns = 5 * kMillisecond;
  timing.stall_max_ns = 20 * kMillisecond;
  add(timing);
  for (const TimedRead& one : read(50)) {
    EXPECT_GE(one.finished_ns - one.started_ns, 5 * kMillisecond + 300000);
    EXPECT_LE(one.finished_ns - one.started_ns, 20 * kMillisecond + 300000);
  }
}

TEST_F(SimulatedTimedImuTest, SameSeedGivesTheSameReads) {
  SimulatedImuTiming timing;
  timing.stall_probability = 0.1;
  timing.seed = 77;
  std::vector<TimedRead> first;
  {
    SimulatedRig rig;
    rig.use_virtual_time(kStart);
    SimulatedCamera camera = supported_camera("SEED");
    camera.imu.timing = timing;
    rig.add_camera(camera);
    first = read(200);
  }
  rig_.use_virtual_time(kStart);
  add(timing);
  const auto second = read(200);
  ASSERT_EQ(first.size(), second.size());
  for (std::size_t i = 0; i < first.size(); ++i) {
    EXPECT_EQ(first[i].started_ns, second[i].started_ns);
    EXPECT_EQ(first[i].finished_ns, second[i].finished_ns);
    EXPECT_EQ(first[i].counter, second[i].counter);
  }
}

TEST_F(SimulatedTimedImuTest, StatusByteTakesTheSamplesPlaceAndStaysOutOfTheTruth) {
  rig_.use_virtual_time(kStart);
  add(fixed_latency(100.0, 0));
  rig_.queue_imu_status(0, 0xF2);
  const LockedSession session;
  auto records = enumerate_records();
  std::uint8_t buffer[17];
  ASSERT_TRUE(SonixCam_XuRead(&records.at(0), buffer, 17, 10, 4));
  EXPECT_EQ(buffer[0], 0xF2);
  EXPECT_TRUE(rig_.take_imu_truth(0).empty());
}

TEST_F(SimulatedTimedImuTest, RealTimeReadsTakeTheirTransferForReal) {
  add(fixed_latency(200.0, 3 * kMillisecond));
  const auto before = std::chrono::steady_clock::now();
  const auto reads = read(2);
  EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(6));
  EXPECT_GE(reads[1].finished_ns - reads[1].started_ns, 3 * kMillisecond);
  EXPECT_FALSE(rig_.virtual_time());
}

TEST_F(SimulatedTimedImuTest, VirtualTimeStartsPluggedTimedImusAfresh) {
  add(fixed_latency(100.0, 0));
  rig_.use_virtual_time(kStart);
  rig_.advance_time(15 * kMillisecond);
  EXPECT_EQ(read(1)[0].counter, 1u);
  EXPECT_EQ(rig_.take_imu_truth(0).at(0).taken_ns, kStart + 10 * kMillisecond);
}

TEST_F(SimulatedTimedImuTest, TimingSetOnAPluggedCameraStartsItsImuSamplingInTimeFromNow) {
  rig_.use_virtual_time(kStart);
  SimulatedCamera camera = supported_camera("UNTIMED");
  camera.imu.first_counter = 40;
  rig_.add_camera(camera);
  EXPECT_EQ(read(2)[1].counter, 41u) << "untimed: a new sample on every read";
  rig_.advance_time(100 * kMillisecond);
  rig_.set_imu_timing(0, fixed_latency(100.0, 0));
  EXPECT_EQ(read(3)[2].counter, 40u) << "timed from now: the same sample until a period has passed";
  rig_.advance_time(25 * kMillisecond);
  EXPECT_EQ(read(1)[0].counter, 42u);
  EXPECT_EQ(rig_.take_imu_truth(0).back().taken_ns, kStart + 120 * kMillisecond);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::sim
