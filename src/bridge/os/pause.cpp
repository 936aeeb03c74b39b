#include "bridge/os/pause.h"

#include <thread>

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

void wait_to_deadline(std::chrono::milliseconds duration, void*) {
  // One sleep may end early where the system sleeps in whole milliseconds (MinGW's
  // nanosleep drops the fraction), so sleep again until the deadline has really passed.
  const auto deadline = std::chrono::steady_clock::now() + duration;
  for (auto now = std::chrono::steady_clock::now(); now < deadline; now = std::chrono::steady_clock::now()) {
    std::this_thread::sleep_for(deadline - now);
  }
}

constexpr PauseHook kRealPause = {wait_to_deadline, nullptr};

}  // namespace

const PauseHook& real_pause() noexcept { return kRealPause; }

void pause_for(std::chrono::milliseconds duration) {
  const PauseHook* hook = installed_platform().pause;
  if (hook == nullptr) {
    hook = &kRealPause;
  }
  hook->pause(duration, hook->context);
}

}  // namespace tovanel::uvc_stereo::detail::bridge
