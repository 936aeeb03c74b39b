#include <windows.h>

#include "bridge/os/host_clock.h"

namespace tovanel::uvc_stereo::detail::bridge {

std::uint64_t now_ns() noexcept {
  LARGE_INTEGER frequency;
  if (QueryPerformanceFrequency(&frequency) == 0) {
    return 0;
  }
  LARGE_INTEGER counter;
  if (QueryPerformanceCounter(&counter) == 0) {
    return 0;
  }
  return counter_to_ns(counter.QuadPart, frequency.QuadPart);
}

}  // namespace tovanel::uvc_stereo::detail::bridge
