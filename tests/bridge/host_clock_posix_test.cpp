#include <gtest/gtest.h>
#include <time.h>

#include <cstdint>

#include "bridge/os/host_clock.h"

namespace tovanel::uvc_stereo::detail {
namespace {

std::uint64_t monotonic_ns() {
  timespec now{};
  EXPECT_EQ(clock_gettime(CLOCK_MONOTONIC, &now), 0);
  return static_cast<std::uint64_t>(now.tv_sec) * 1000000000u + static_cast<std::uint64_t>(now.tv_nsec);
}

// Away from Windows the host clock is the monotonic clock, to the nanosecond, so IMU stamps can be compared
// with any other CLOCK_MONOTONIC reading of the application.
TEST(NowNsPosix, IsTheMonotonicClockInNanoseconds) {
  for (int i = 0; i < 1000; ++i) {
    const std::uint64_t before = monotonic_ns();
    const std::uint64_t now = bridge::now_ns();
    const std::uint64_t after = monotonic_ns();
    ASSERT_LE(before, now) << "reading " << i;
    ASSERT_LE(now, after) << "reading " << i;
  }
}

}  // namespace
}  // namespace tovanel::uvc_stereo::detail
