#include "sim/rig_clock.h"

#include "bridge/os/host_time.h"

namespace tovanel::uvc_stereo::sim {
namespace {

std::uint64_t clock_now(void* context) { return static_cast<const RigClock*>(context)->now_ns(); }

void clock_sleep_until(std::uint64_t deadline_ns, void* context) {
  static_cast<RigClock*>(context)->advance_to(deadline_ns);
}

void clock_pause(std::chrono::milliseconds duration, void* context) {
  static_cast<RigClock*>(context)->advance(static_cast<std::uint64_t>(duration.count()) * 1000000u);
}

}  // namespace

RigClock::RigClock() noexcept : host_clock_{&clock_now, &clock_sleep_until, this}, pauses_{&clock_pause, this} {}

void RigClock::use_virtual(std::uint64_t start_ns) noexcept {
  virtual_now_.store(start_ns, std::memory_order_release);
  virtual_.store(true, std::memory_order_release);
}

std::uint64_t RigClock::now_ns() const noexcept {
  return is_virtual() ? virtual_now_.load(std::memory_order_acquire) : detail::bridge::host_now_ns();
}

void RigClock::advance(std::uint64_t ns) noexcept {
  if (is_virtual()) {
    virtual_now_.fetch_add(ns, std::memory_order_acq_rel);
  }
}

void RigClock::advance_to(std::uint64_t deadline_ns) noexcept {
  if (!is_virtual()) {
    return;
  }
  std::uint64_t now = virtual_now_.load(std::memory_order_acquire);
  while (now < deadline_ns && !virtual_now_.compare_exchange_weak(now, deadline_ns, std::memory_order_acq_rel)) {
  }
}

}  // namespace tovanel::uvc_stereo::sim
