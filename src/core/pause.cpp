#include "core/pause.h"

#include <mutex>
#include <thread>

namespace tovanel::uvc_stereo::detail {
namespace {

struct HookSlot {
  std::mutex mutex;
  PauseHook hook = nullptr;
  void* context = nullptr;
};

HookSlot& hook_slot() noexcept {
  static HookSlot slot;
  return slot;
}

}  // namespace

void set_pause_hook(PauseHook hook, void* context) noexcept {
  HookSlot& slot = hook_slot();
  const std::lock_guard<std::mutex> guard(slot.mutex);
  slot.hook = hook;
  slot.context = context;
}

void pause_for(std::chrono::milliseconds duration) {
  PauseHook hook = nullptr;
  void* context = nullptr;
  {
    HookSlot& slot = hook_slot();
    const std::lock_guard<std::mutex> guard(slot.mutex);
    hook = slot.hook;
    context = slot.context;
  }
  if (hook != nullptr) {
    hook(duration, context);
    return;
  }
  // One sleep may end early where the system sleeps in whole milliseconds (MinGW's
  // nanosleep drops the fraction), so sleep again until the deadline has really passed.
  const auto deadline = std::chrono::steady_clock::now() + duration;
  for (auto now = std::chrono::steady_clock::now(); now < deadline; now = std::chrono::steady_clock::now()) {
    std::this_thread::sleep_for(deadline - now);
  }
}

}  // namespace tovanel::uvc_stereo::detail
