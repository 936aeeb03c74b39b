#pragma once

#include <atomic>
#include <cstdint>

#include "bridge/platform_table.h"

namespace tovanel::uvc_stereo::sim {

// The host clock a rig lives by: the platform's own monotonic clock, or a virtual one
// that only reads, waits and pauses move, which the rig installs as the SDK's host clock.
class RigClock {
 public:
  RigClock() noexcept;
  RigClock(const RigClock&) = delete;
  RigClock& operator=(const RigClock&) = delete;

  // Switches to virtual time at `start_ns` (or moves a virtual clock there).
  void use_virtual(std::uint64_t start_ns) noexcept;
  [[nodiscard]] bool is_virtual() const noexcept { return virtual_.load(std::memory_order_acquire); }
  // Now on the clock in force.
  [[nodiscard]] std::uint64_t now_ns() const noexcept;
  // Moves virtual time forward by `ns` (nothing in real time).
  void advance(std::uint64_t ns) noexcept;
  // Moves virtual time forward to `deadline_ns` when it is still before it.
  void advance_to(std::uint64_t deadline_ns) noexcept;

  // The platform-table entries that make the SDK live in this clock's virtual time.
  [[nodiscard]] const detail::bridge::HostClock& host_clock() const noexcept { return host_clock_; }
  [[nodiscard]] const detail::bridge::PauseHook& pauses() const noexcept { return pauses_; }

 private:
  std::atomic<bool> virtual_{false};
  std::atomic<std::uint64_t> virtual_now_{0};
  detail::bridge::HostClock host_clock_;
  detail::bridge::PauseHook pauses_;
};

}  // namespace tovanel::uvc_stereo::sim
