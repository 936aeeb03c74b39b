#pragma once

#include <cstdint>

namespace tovanel::uvc_stereo::detail::bridge {

// The host's monotonic clock in nanoseconds, as IMU reads are stamped with it: the platform table's host clock when
// one is installed (a rig in virtual time), else the platform's own (CLOCK_MONOTONIC on Linux, the performance
// counter on Windows, the clocks video frames are stamped with).
[[nodiscard]] std::uint64_t host_now_ns() noexcept;

// Returns once host_now_ns() has reached `deadline_ns`: a real wait on the platform's clock, or the installed host
// clock's own wait (at once in virtual time).
void host_sleep_until_ns(std::uint64_t deadline_ns) noexcept;

}  // namespace tovanel::uvc_stereo::detail::bridge
