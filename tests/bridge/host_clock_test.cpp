#include "bridge/os/host_clock.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace tovanel::uvc_stereo::detail {
namespace {

constexpr std::uint64_t kAllOnes = std::numeric_limits<std::uint64_t>::max();
constexpr std::int64_t kTenMegahertz = 10000000;

TEST(CounterToNs, ZeroFrequencyGivesZero) { EXPECT_EQ(bridge::counter_to_ns(123456, 0), 0u); }

TEST(CounterToNs, NegativeFrequencyGivesZero) {
  EXPECT_EQ(bridge::counter_to_ns(123456, -1), 0u);
  EXPECT_EQ(bridge::counter_to_ns(123456, std::numeric_limits<std::int64_t>::min()), 0u);
}

TEST(CounterToNs, NegativeCounterGivesZero) {
  EXPECT_EQ(bridge::counter_to_ns(-1, kTenMegahertz), 0u);
  EXPECT_EQ(bridge::counter_to_ns(std::numeric_limits<std::int64_t>::min(), 1), 0u);
}

TEST(CounterToNs, ZeroCounterGivesZero) { EXPECT_EQ(bridge::counter_to_ns(0, kTenMegahertz), 0u); }

TEST(CounterToNs, OneTickOfAOneHertzCounterIsOneSecond) { EXPECT_EQ(bridge::counter_to_ns(1, 1), 1000000000u); }

TEST(CounterToNs, TenMegahertzTicksAreHundredNanoseconds) {
  EXPECT_EQ(bridge::counter_to_ns(3, kTenMegahertz), 300u);
  EXPECT_EQ(bridge::counter_to_ns(123456789, kTenMegahertz), 12345678900u);
}

TEST(CounterToNs, NanosecondCounterPassesThroughUnchanged) {
  EXPECT_EQ(bridge::counter_to_ns(1, 1000000000), 1u);
  EXPECT_EQ(bridge::counter_to_ns(987654321012345, 1000000000), 987654321012345u);
}

TEST(CounterToNs, FractionsOfANanosecondAreCutNotRounded) {
  // 1e9 / 3 and 2e9 / 3 nanoseconds: the conversion truncates towards zero.
  EXPECT_EQ(bridge::counter_to_ns(1, 3), 333333333u);
  EXPECT_EQ(bridge::counter_to_ns(2, 3), 666666666u);
}

TEST(CounterToNs, ExactlyTwoToThe64SaturatesToAllOnes) {
  // 2^62 ticks at 250 MHz are 2^62 * 4 ns = 2^64 ns, representable exactly in double precision.
  EXPECT_EQ(bridge::counter_to_ns(std::int64_t{1} << 62, 250000000), kAllOnes);
}

TEST(CounterToNs, AboveTwoToThe64SaturatesToAllOnes) {
  EXPECT_EQ(bridge::counter_to_ns(std::numeric_limits<std::int64_t>::max(), 1), kAllOnes);
  // 18446744074 s is just over 2^64 ns.
  EXPECT_EQ(bridge::counter_to_ns(18446744074, 1), kAllOnes);
}

TEST(CounterToNs, JustBelowTwoToThe64StillConverts) {
  // 18446744073 s is 709551616 ns short of 2^64; double precision keeps it within 2048 ns.
  const std::uint64_t ns = bridge::counter_to_ns(18446744073, 1);
  EXPECT_NE(ns, kAllOnes);
  const std::uint64_t expected = 18446744073000000000u;
  const std::uint64_t distance = ns > expected ? ns - expected : expected - ns;
  EXPECT_LE(distance, 2048u) << ns;
}

TEST(CounterToNs, LargestCounterAtOneGigahertzFitsBelowTwoToThe64) {
  // About 9.2e18 ns: large, but half the saturation point.
  const std::uint64_t ns = bridge::counter_to_ns(std::numeric_limits<std::int64_t>::max(), 1000000000);
  EXPECT_NE(ns, kAllOnes);
  EXPECT_EQ(ns, std::uint64_t{1} << 63);
}

TEST(NowNs, IsNotZero) { EXPECT_NE(bridge::now_ns(), 0u); }

TEST(NowNs, NeverGoesBackwards) {
  std::uint64_t previous = bridge::now_ns();
  for (int i = 0; i < 100000; ++i) {
    const std::uint64_t current = bridge::now_ns();
    ASSERT_GE(current, previous) << "after " << i << " readings";
    previous = current;
  }
}

TEST(NowNs, AdvancesWhileTimePasses) {
  const std::uint64_t start = bridge::now_ns();
  std::uint64_t current = start;
  for (int i = 0; i < 100000000 && current == start; ++i) {
    current = bridge::now_ns();
  }
  EXPECT_GT(current, start);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::detail
