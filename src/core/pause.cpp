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
  std::this_thread::sleep_until(std::chrono::steady_clock::now() + duration);
}

}  // namespace tovanel::uvc_stereo::detail
