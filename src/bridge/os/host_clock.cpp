#include "bridge/os/host_clock.h"

#include <limits>

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

// 2^64: the first value an unsigned 64-bit result cannot hold.
constexpr double kTwoToThe64 = 18446744073709551616.0;

}  // namespace

std::uint64_t counter_to_ns(std::int64_t counter, std::int64_t frequency) noexcept {
  if (frequency < 1 || counter < 0) {
    return 0;
  }
  const double ns = static_cast<double>(counter) * 1e9 / static_cast<double>(frequency);
  // Converting a double at or beyond 2^64 to an integer is undefined, so saturate first.
  if (ns >= kTwoToThe64) {
    return std::numeric_limits<std::uint64_t>::max();
  }
  return static_cast<std::uint64_t>(ns);
}

}  // namespace tovanel::uvc_stereo::detail::bridge
