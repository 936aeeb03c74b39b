#pragma once

#include <cstdint>

namespace tovanel::uvc_stereo::detail::bridge {

// Nanoseconds for a tick count of a counter running at `frequency` ticks per second, computed in double
// precision as counter * 1e9 / frequency. 0 for a frequency below 1 or a negative counter; the all-ones value
// when the result does not fit in 64 bits.
[[nodiscard]] std::uint64_t counter_to_ns(std::int64_t counter, std::int64_t frequency) noexcept;

// Host time in nanoseconds from the platform's monotonic high-resolution counter (the performance counter on
// Windows); 0 when the counter cannot be read. IMU samples are stamped with it.
[[nodiscard]] std::uint64_t now_ns() noexcept;

}  // namespace tovanel::uvc_stereo::detail::bridge
