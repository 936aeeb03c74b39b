#include "bridge/os/host_time.h"

#include <chrono>
#include <thread>

#include "bridge/os/host_clock.h"
#include "bridge/platform_table.h"

namespace tovanel::uvc_stereo::detail::bridge {

std::uint64_t host_now_ns() noexcept {
  const HostClock* clock = installed_platform().host_clock;
  return clock != nullptr ? clock->now_ns(clock->context) : now_ns();
}

void host_sleep_until_ns(std::uint64_t deadline_ns) noexcept {
  const HostClock* clock = installed_platform().host_clock;
  if (clock != nullptr) {
    clock->sleep_until_ns(deadline_ns, clock->context);
    return;
  }
  // A sleep may end early where the system sleeps in whole milliseconds, so sleep again until the clock the samples
  // are stamped with has really reached the deadline.
  for (std::uint64_t now = now_ns(); now != 0 && now < deadline_ns; now = now_ns()) {
    std::this_thread::sleep_for(std::chrono::nanoseconds(deadline_ns - now));
  }
}

}  // namespace tovanel::uvc_stereo::detail::bridge
