#include "uvc-stereo/imu_stream_stats.h"

#include <gtest/gtest.h>

#include <string>

namespace tovanel::uvc_stereo::cli {
namespace {

ImuStreamStatistics some_stream() {
  ImuStreamStatistics stats;
  stats.samples_delivered = 812;
  stats.duplicate_reads = 1624;
  stats.samples_missed = 3;
  stats.restarts = 1;
  stats.rate_hz = 200.04;
  stats.nominal_rate_hz = 200.0;
  stats.clock_error_ppm = -3.24;
  stats.read_latency_min_ns = 210000;
  stats.read_latency_median_ns = 412000;
  stats.read_latency_p99_ns = 981000;
  stats.read_latency_max_ns = 1520000;
  return stats;
}

TEST(ImuStreamStats, TheLiveLineShowsRateClockErrorMissesDuplicatesRestartsAndLatency) {
  EXPECT_EQ(imu_live_line(some_stream()),
            "812 samples 200.0 Hz -3.2 ppm missed 3 dup 1624 restarts 1 read 0.41/0.98 ms");
}

TEST(ImuStreamStats, TheSummaryShowsEveryFigureOfTheStream) {
  EXPECT_EQ(imu_summary(some_stream(), 4.06),
            "read 812 samples in 4.06 s (200.0 Hz, clock error -3.2 ppm against 200 Hz); missed 3, duplicate reads "
            "skipped 1624, restarts 1; read latency min 0.210 ms, median 0.412 ms, p99 0.981 ms, max 1.520 ms");
}

TEST(ImuStreamStats, TheLiveLineOfAMinutesStreamFitsAnEightyColumnTerminal) {
  // A minute at 200 Hz, read three times per sample.
  ImuStreamStatistics stats = some_stream();
  stats.samples_delivered = 12000;
  stats.duplicate_reads = 24000;
  EXPECT_LT(imu_live_line(stats).size(), 80u) << imu_live_line(stats);
}

TEST(ImuStreamStats, AFastCameraClockShowsAPositiveError) {
  ImuStreamStatistics stats = some_stream();
  stats.clock_error_ppm = 4.0;
  EXPECT_NE(imu_live_line(stats).find(" +4.0 ppm "), std::string::npos);
  EXPECT_NE(imu_summary(stats, 1.0).find("clock error +4.0 ppm"), std::string::npos);
}

TEST(ImuStreamStats, AnEmptyStreamSummarisesAsZeroSamples) {
  EXPECT_EQ(imu_summary(ImuStreamStatistics{}, 0.0).rfind("read 0 samples in 0.00 s (0.0 Hz", 0), 0u);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::cli
