#include <time.h>

#include <cstdint>

#include "win/host_clock.h"

namespace tovanel::uvc_stereo::detail {
namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1000000000;

}  // namespace

// The monotonic clock plays the performance counter: a nanosecond tick count at 1e9 ticks per second, passed
// through the same conversion so that both platforms round alike.
std::uint64_t now_ns() noexcept {
  timespec now{};
  if (clock_gettime(CLOCK_MONOTONIC, &now) != 0) {
    return 0;
  }
  const std::int64_t counter =
      static_cast<std::int64_t>(now.tv_sec) * kNanosecondsPerSecond + static_cast<std::int64_t>(now.tv_nsec);
  return counter_to_ns(counter, kNanosecondsPerSecond);
}

}  // namespace tovanel::uvc_stereo::detail
