#include "imu/sample_timeline.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

// The timeline of IMU samples from raw reads: each new sample once, gaps, wraps and
// restarts, and the time each was taken from the brackets of the reads.
namespace tovanel::uvc_stereo::detail {
namespace {

constexpr std::uint64_t kStart = 5000000000;
constexpr std::uint64_t kMicrosecond = 1000;
constexpr std::uint64_t kMillisecond = 1000000;

// A camera seen through reads: samples every `period_ns` from `kStart`, counter from `first_counter`; a read from
// `started` taking `transfer` reaches the camera after `outbound` of it.
struct SyntheticCamera {
  double period_ns = 5e6;
  std::uint32_t first_counter = 0;
  std::uint64_t restart_ns = 0;  ///< 0: never

  struct Answer {
    std::uint32_t counter;
    double taken_ns;
  };
  [[nodiscard]] Answer newest_at(std::uint64_t host_ns) const {
    std::uint64_t start = kStart;
    std::uint32_t first = first_counter;
    if (restart_ns != 0 && host_ns >= restart_ns) {
      start = restart_ns;
      first = 0;
    }
    const auto number = static_cast<std::uint64_t>(std::floor(static_cast<double>(host_ns - start) / period_ns));
    return Answer{static_cast<std::uint32_t>((first + number) & 0xFFFFF),
                  static_cast<double>(start) + static_cast<double>(number) * period_ns};
  }
};

// A repeatable stream of numbers in [0, 1).
class Uniform {
 public:
  explicit Uniform(std::uint64_t seed) : state_(seed) {}
  double operator()() {
    state_ = state_ * 6364136223846793005ull + 1442695040888963407ull;
    return static_cast<double>(state_ >> 11) * (1.0 / 9007199254740992.0);
  }

 private:
  std::uint64_t state_;
};

// Every new sample the timeline delivers, with the time the camera took it.
struct Delivered {
  TimelineSample sample;
  double truth_ns;
};

// Reads `camera` every `interval` (jittered) for `duration`, each taking 0.2 to 2 ms and a stall of 5 to 20 ms
// with probability `stall_share`, and feeds the timeline.
std::vector<Delivered> stream(ImuSampleTimeline& timeline, const SyntheticCamera& camera, double interval_ns,
                              std::uint64_t duration_ns, double stall_share = 0.0, std::uint64_t seed = 1) {
  Uniform uniform(seed);
  std::vector<Delivered> delivered;
  std::uint64_t now = kStart;
  while (now < kStart + duration_ns) {
    double transfer = 200e3 + uniform() * 1800e3;
    if (uniform() < stall_share) {
      transfer += 5e6 + uniform() * 15e6;
    }
    const auto outbound = static_cast<std::uint64_t>(uniform() * transfer);
    const SyntheticCamera::Answer answer = camera.newest_at(now + outbound);
    const std::uint64_t finished = now + static_cast<std::uint64_t>(transfer);
    TimelineSample sample;
    if (timeline.on_read(answer.counter, now, finished, sample)) {
      delivered.push_back(Delivered{sample, answer.taken_ns});
    }
    now = std::max(finished, now + static_cast<std::uint64_t>(interval_ns * (0.5 + uniform())));
  }
  return delivered;
}

double percentile_error_us(const std::vector<Delivered>& delivered, double share, std::size_t skip) {
  std::vector<double> errors;
  for (std::size_t i = skip; i < delivered.size(); ++i) {
    errors.push_back(std::fabs(static_cast<double>(delivered[i].sample.host_time_ns) - delivered[i].truth_ns) / 1e3);
  }
  std::sort(errors.begin(), errors.end());
  return errors.at(static_cast<std::size_t>(share * static_cast<double>(errors.size() - 1)));
}

TEST(ImuSampleTimeline, SameCounterAgainIsADuplicateNotASample) {
  ImuSampleTimeline timeline;
  TimelineSample sample;
  ASSERT_TRUE(timeline.on_read(7, kStart, kStart + kMillisecond, sample));
  EXPECT_EQ(sample.sample_index, 7u);
  EXPECT_EQ(sample.missed_before, 0u);
  EXPECT_FALSE(timeline.on_read(7, kStart + 2 * kMillisecond, kStart + 3 * kMillisecond, sample));
  EXPECT_EQ(timeline.delivered(), 1u);
  EXPECT_EQ(timeline.duplicates(), 1u);
}

TEST(ImuSampleTimeline, SkippedCountersAreCountedAsMissedBeforeTheNextSample) {
  ImuSampleTimeline timeline;
  TimelineSample sample;
  ASSERT_TRUE(timeline.on_read(100, kStart, kStart + kMillisecond, sample));
  ASSERT_TRUE(timeline.on_read(101, kStart + 5 * kMillisecond, kStart + 6 * kMillisecond, sample));
  ASSERT_TRUE(timeline.on_read(105, kStart + 25 * kMillisecond, kStart + 26 * kMillisecond, sample));
  EXPECT_EQ(sample.missed_before, 3u);
  EXPECT_EQ(sample.sample_index, 105u);
  EXPECT_FALSE(sample.restarted);
  EXPECT_EQ(timeline.missed(), 3u);
}

TEST(ImuSampleTimeline, IndexContinuesAcrossTheCounterWrap) {
  SyntheticCamera camera;
  camera.period_ns = 1e6;
  camera.first_counter = (1u << 20) - 500;
  ImuSampleTimeline timeline;
  const auto delivered = stream(timeline, camera, 330e3, 2000 * kMillisecond);
  ASSERT_GT(delivered.size(), 1000u);
  bool wrapped = false;
  for (std::size_t i = 1; i < delivered.size(); ++i) {
    const TimelineSample& previous = delivered[i - 1].sample;
    const TimelineSample& current = delivered[i].sample;
    EXPECT_EQ(current.sample_index, previous.sample_index + 1 + current.missed_before);
    EXPECT_EQ(current.sample_index & 0xFFFFF, (current.sample_index - (1u << 20)) & 0xFFFFF);
    EXPECT_FALSE(current.restarted);
    wrapped = wrapped || current.sample_index >= (1u << 20);
  }
  EXPECT_TRUE(wrapped);
  EXPECT_EQ(timeline.restarts(), 0u);
  EXPECT_EQ(delivered.back().sample.sample_index & 0xFFFFF,
            camera.newest_at(static_cast<std::uint64_t>(delivered.back().truth_ns)).counter);
}

TEST(ImuSampleTimeline, RestartStartsANewSegmentAndIsFlagged) {
  SyntheticCamera camera;
  camera.first_counter = 40000;
  camera.restart_ns = kStart + 3000 * kMillisecond;
  ImuSampleTimeline timeline;
  const auto delivered = stream(timeline, camera, 1.6e6, 6000 * kMillisecond);
  std::size_t restarts = 0;
  for (std::size_t i = 1; i < delivered.size(); ++i) {
    const TimelineSample& current = delivered[i].sample;
    EXPECT_GT(current.sample_index, delivered[i - 1].sample.sample_index);
    if (current.restarted) {
      ++restarts;
      EXPECT_EQ(current.segment, 1u);
      EXPECT_EQ(current.missed_before, current.sample_index - delivered[i - 1].sample.sample_index - 1);
      EXPECT_LT(delivered[i].truth_ns - static_cast<double>(camera.restart_ns), 5e6 * 2);
    }
  }
  EXPECT_EQ(restarts, 1u);
  EXPECT_EQ(timeline.restarts(), 1u);
}

TEST(ImuSampleTimeline, TimestampsStrictlyIncreaseThroughStallsAndRestarts) {
  SyntheticCamera camera;
  camera.period_ns = 1e9 / 200.0 / (1.0 - 100e-6);
  camera.restart_ns = kStart + 20000 * kMillisecond;
  ImuSampleTimeline timeline;
  const auto delivered = stream(timeline, camera, 1.6e6, 60000 * kMillisecond, 0.01);
  for (std::size_t i = 1; i < delivered.size(); ++i) {
    ASSERT_GT(delivered[i].sample.host_time_ns, delivered[i - 1].sample.host_time_ns) << "sample " << i;
  }
}

TEST(ImuSampleTimeline, TimesOfA200HzImuLieWithin100MicrosecondsAtThe99thPercentile) {
  SyntheticCamera camera;
  camera.period_ns = 1e9 / 200.0 / (1.0 + 100e-6);
  ImuSampleTimeline timeline;
  const auto delivered = stream(timeline, camera, 1.6e6, 300000 * kMillisecond, 0.01);
  // The first two seconds settle the fit; the rest is held to the bound.
  EXPECT_LE(percentile_error_us(delivered, 0.99, 400), 100.0);
  EXPECT_LE(percentile_error_us(delivered, 0.50, 400), 30.0);
}

TEST(ImuSampleTimeline, TimesOfA1000HzImuLieWithin100MicrosecondsAtThe99thPercentile) {
  SyntheticCamera camera;
  camera.period_ns = 1e9 / 1000.0 / (1.0 - 100e-6);
  ImuSampleTimeline timeline;
  const auto delivered = stream(timeline, camera, 300e3, 120000 * kMillisecond, 0.01);
  EXPECT_LE(percentile_error_us(delivered, 0.99, 2000), 100.0);
}

TEST(ImuSampleTimeline, UncertaintyCoversTheTruthForNearlyEverySample) {
  SyntheticCamera camera;
  ImuSampleTimeline timeline;
  const auto delivered = stream(timeline, camera, 1.6e6, 120000 * kMillisecond, 0.01);
  std::size_t covered = 0;
  for (const Delivered& one : delivered) {
    const double error = std::fabs(static_cast<double>(one.sample.host_time_ns) - one.truth_ns);
    covered += error <= static_cast<double>(one.sample.uncertainty_ns) + 1.0 ? 1 : 0;
  }
  EXPECT_GE(static_cast<double>(covered), 0.99 * static_cast<double>(delivered.size()));
}

TEST(ImuSampleTimeline, RateAndClockErrorAreMeasuredAgainstTheNearestUsualRate) {
  SyntheticCamera camera;
  camera.period_ns = 1e9 / (200.0 * (1.0 + 100e-6));
  ImuSampleTimeline timeline;
  static_cast<void>(stream(timeline, camera, 1.6e6, 120000 * kMillisecond));
  EXPECT_NEAR(timeline.rate_hz(), 200.02, 0.002);
  EXPECT_EQ(timeline.nominal_rate_hz(), 200.0);
  EXPECT_NEAR(timeline.clock_error_ppm(), 100.0, 5.0);
}

TEST(ImuSampleTimeline, ClockErrorIsMeasuredAgainstTheNominalRateGiven) {
  SyntheticCamera camera;
  camera.period_ns = 1e9 / 250.0;
  ImuSampleTimeline timeline(249.9);
  static_cast<void>(stream(timeline, camera, 1.3e6, 60000 * kMillisecond));
  EXPECT_EQ(timeline.nominal_rate_hz(), 249.9);
  EXPECT_NEAR(timeline.clock_error_ppm(), 400.16, 5.0);
}

TEST(ImuSampleTimeline, FirstSampleIsStampedInsideItsReadWithItsTimeNotYetBounded) {
  ImuSampleTimeline timeline;
  TimelineSample sample;
  ASSERT_TRUE(timeline.on_read(3, kStart, kStart + 800 * kMicrosecond, sample));
  EXPECT_EQ(sample.host_time_ns, kStart + 400 * kMicrosecond);
  EXPECT_EQ(sample.uncertainty_ns, kUnbounded) << "taken any time in the unknown period before the read";
  EXPECT_EQ(timeline.rate_hz(), 0.0);
  ASSERT_TRUE(timeline.on_read(4, kStart + 5 * kMillisecond, kStart + 5500 * kMicrosecond, sample));
  EXPECT_LT(sample.uncertainty_ns, 10 * kMillisecond) << "two samples bound the period";
}

}  // namespace
}  // namespace tovanel::uvc_stereo::detail
