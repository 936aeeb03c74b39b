#include <gtest/gtest.h>

#include <cstdint>

#include "bridge/os/host_clock.h"
#include "bridge/os/windows_api_win.h"

namespace tovanel::uvc_stereo::detail {
namespace {

std::int64_t performance_counter() {
  LARGE_INTEGER counter{};
  EXPECT_NE(QueryPerformanceCounter(&counter), 0);
  return counter.QuadPart;
}

TEST(HostClockOnWindows, ReadsThePerformanceCounterBetweenTwoReadingsOfItsOwn) {
  LARGE_INTEGER frequency{};
  ASSERT_NE(QueryPerformanceFrequency(&frequency), 0);
  ASSERT_GE(frequency.QuadPart, 1);
  for (int i = 0; i < 1000; ++i) {
    const std::int64_t before = performance_counter();
    const std::uint64_t now = bridge::now_ns();
    const std::int64_t after = performance_counter();
    ASSERT_LE(bridge::counter_to_ns(before, frequency.QuadPart), now) << "reading " << i;
    ASSERT_GE(bridge::counter_to_ns(after, frequency.QuadPart), now) << "reading " << i;
  }
}

TEST(HostClockOnWindows, AdvancesWithTheSleepOfTheCallingThread) {
  const std::uint64_t start = bridge::now_ns();
  Sleep(20);
  const std::uint64_t end = bridge::now_ns();
  // Sleep never wakes before its time on the performance counter's scale; a clock that
  // did not follow the counter could not be trusted to show that.
  EXPECT_GE(end - start, 15000000u);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::detail
