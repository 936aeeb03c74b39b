#include <time.h>

#include <cstdint>

#include "bridge/os/host_clock.h"

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

constexpr std::uint64_t kNanosecondsPerSecond = 1000000000;

}  // namespace

// The monotonic clock plays the performance counter. It already counts nanoseconds, so the tick-to-nanosecond
// conversion the performance counter needs would only cost time on every IMU sample and, past 2^53 ns of uptime,
// round the value; the integer is exact.
std::uint64_t now_ns() noexcept {
  timespec now{};
  if (clock_gettime(CLOCK_MONOTONIC, &now) != 0 || now.tv_sec < 0 || now.tv_nsec < 0) {
    return 0;
  }
  return static_cast<std::uint64_t>(now.tv_sec) * kNanosecondsPerSecond + static_cast<std::uint64_t>(now.tv_nsec);
}

}  // namespace tovanel::uvc_stereo::detail::bridge
