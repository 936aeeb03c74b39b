#include "uvc-stereo/imu_stream_stats.h"

#include <gtest/gtest.h>

#include <string>

namespace tovanel::uvc_stereo::cli {
namespace {

TEST(ImuStreamStats, RateComesFromTheHostTimestampsOfTheFirstAndLastSample) {
  ImuStreamStats stats;
  for (std::uint32_t i = 0; i < 5; ++i) {
    stats.add(100 + i, 1'000'000'000ull + i * 5'000'000ull, 1000);
  }
  EXPECT_DOUBLE_EQ(stats.span_s(), 0.02);
  EXPECT_NEAR(stats.sample_rate_hz(), 200.0, 1e-9);
}

TEST(ImuStreamStats, RateIsZeroUntilTwoSamplesSpanSomeTime) {
  ImuStreamStats stats;
  EXPECT_EQ(stats.sample_rate_hz(), 0.0);
  stats.add(1, 500, 10);
  EXPECT_EQ(stats.sample_rate_hz(), 0.0);
  stats.add(2, 500, 10);
  EXPECT_EQ(stats.sample_rate_hz(), 0.0);
}

TEST(ImuStreamStats, LatencyIsAveragedAndItsMaximumKept) {
  ImuStreamStats stats;
  stats.add(1, 0, 1'000'000);
  stats.add(2, 10, 3'000'000);
  stats.add(3, 20, 2'000'000);
  EXPECT_DOUBLE_EQ(stats.mean_latency_ms(), 2.0);
  EXPECT_DOUBLE_EQ(stats.max_latency_ms(), 3.0);
}

TEST(ImuStreamStats, MissedAndRepeatedSamplesComeFromTheCounter) {
  ImuStreamStats stats;
  stats.add(0xFFFFE, 0, 0);
  stats.add(0xFFFFE, 1, 0);
  stats.add(0x00002, 2, 0);
  EXPECT_EQ(stats.samples(), 3u);
  EXPECT_EQ(stats.repeated(), 1u);
  EXPECT_EQ(stats.missed(), 3u);
  EXPECT_EQ(stats.last_counter(), 0x100002u);
}

TEST(ImuStreamStats, LiveLineAndSummaryShowTheFigures) {
  ImuStreamStats stats;
  stats.add(10, 0, 2'000'000);
  stats.add(13, 1'000'000'000, 4'000'000);
  EXPECT_EQ(stats.live_line(), "2 samples  1.0 Hz  missed 2  latency 3.00 ms (max 4.00 ms)  counter 13");
  EXPECT_EQ(stats.summary(),
            "read 2 samples in 1.00 s (1.0 Hz); missed 2, repeated 0; read latency mean 3.000 ms, max 4.000 ms");
}

}  // namespace
}  // namespace tovanel::uvc_stereo::cli
