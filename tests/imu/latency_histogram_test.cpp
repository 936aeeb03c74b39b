#include "imu/latency_histogram.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace tovanel::uvc_stereo::detail {
namespace {

TEST(LatencyHistogram, EmptyHistogramReportsZeros) {
  const LatencyHistogram histogram;
  EXPECT_EQ(histogram.count(), 0u);
  EXPECT_EQ(histogram.min(), 0u);
  EXPECT_EQ(histogram.max(), 0u);
  EXPECT_EQ(histogram.quantile(0.5), 0u);
}

TEST(LatencyHistogram, KeepsTheExtremesExactly) {
  LatencyHistogram histogram;
  histogram.record(201234);
  histogram.record(19876543);
  histogram.record(1500000);
  EXPECT_EQ(histogram.min(), 201234u);
  EXPECT_EQ(histogram.max(), 19876543u);
  EXPECT_EQ(histogram.count(), 3u);
}

TEST(LatencyHistogram, MedianAndNinetyNinthPercentileLieWithinABucketOfTheTruth) {
  LatencyHistogram histogram;
  for (std::uint64_t i = 1; i <= 1000; ++i) {
    histogram.record(i * 1000);  // 1 us to 1 ms evenly
  }
  EXPECT_NEAR(static_cast<double>(histogram.quantile(0.5)), 500000.0, 500000.0 * 0.035);
  EXPECT_NEAR(static_cast<double>(histogram.quantile(0.99)), 990000.0, 990000.0 * 0.035);
  EXPECT_EQ(histogram.quantile(1.0), 1000000u);
  EXPECT_EQ(histogram.quantile(0.0), 1000u);
}

TEST(LatencyHistogram, SmallValuesAreExact) {
  LatencyHistogram histogram;
  histogram.record(3);
  histogram.record(7);
  histogram.record(7);
  EXPECT_EQ(histogram.quantile(0.5), 7u);
  EXPECT_EQ(histogram.quantile(0.2), 3u);
}

TEST(LatencyHistogram, LargestDurationsHaveABucket) {
  LatencyHistogram histogram;
  histogram.record(UINT64_MAX);
  histogram.record(1);
  EXPECT_EQ(histogram.quantile(1.0), UINT64_MAX);
  EXPECT_EQ(histogram.max(), UINT64_MAX);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::detail
