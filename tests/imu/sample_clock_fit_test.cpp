#include "imu/sample_clock_fit.h"

#include <gtest/gtest.h>

#include <cstdint>

// The fit of the camera's sample clock before it has a period: the only time it can give is its read's own.
namespace tovanel::uvc_stereo::detail {
namespace {

// What a read stamps its sample with: the middle of the read, in whole nanoseconds rounded down.
std::uint64_t read_stamp(std::uint64_t started_ns, std::uint64_t finished_ns) {
  return started_ns + (finished_ns - started_ns) / 2;
}

TEST(SampleClockFit, FirstSampleOfAnOddLengthReadGetsTheStampOfItsRead) {
  SampleClockFit fit;
  fit.add_read(7, 5000000000, 5000000005);
  const SampleTimeEstimate estimate = fit.estimate(7);
  EXPECT_EQ(estimate.time_ns, read_stamp(5000000000, 5000000005));
  EXPECT_EQ(estimate.time_ns, 5000000002u);
  EXPECT_EQ(estimate.uncertainty_ns, kUnbounded);
}

TEST(SampleClockFit, FirstSampleOfAnEvenLengthReadGetsTheExactMiddle) {
  SampleClockFit fit;
  fit.add_read(0, 1000, 1010);
  EXPECT_EQ(fit.estimate(0).time_ns, 1005u);
}

TEST(SampleClockFit, RepeatedOddLengthReadsOfTheFirstSampleKeepTheStampOfTheLatest) {
  SampleClockFit fit;
  fit.add_read(3, 2000000, 2000001);
  fit.add_read(3, 2300001, 2301002);
  EXPECT_EQ(fit.period_ns(), 0.0) << "one sample seen: no period yet";
  EXPECT_EQ(fit.estimate(3).time_ns, read_stamp(2300001, 2301002));
}

TEST(SampleClockFit, OneNanosecondReadIsStampedAtItsStart) {
  SampleClockFit fit;
  fit.add_read(0, 999, 1000);
  EXPECT_EQ(fit.estimate(0).time_ns, 999u);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::detail
