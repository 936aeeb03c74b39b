#include <mutex>
#include <new>

#include "bridge/os/debug_output.h"
#include "uvc_stereo/diagnostics.h"

namespace tovanel::uvc_stereo {
namespace {

struct CallbackSlot {
  std::mutex mutex;
  DiagnosticCallback callback = nullptr;
  void* context = nullptr;
};

// Constructed in place on first use and never destroyed, so a text written by a static
// destructor at exit still finds it.
CallbackSlot& slot() noexcept {
  alignas(CallbackSlot) static unsigned char storage[sizeof(CallbackSlot)];
  static CallbackSlot* const instance = new (storage) CallbackSlot();
  return *instance;
}

}  // namespace

void set_diagnostic_callback(DiagnosticCallback callback, void* context) noexcept {
  CallbackSlot& s = slot();
  const std::lock_guard<std::mutex> guard(s.mutex);
  s.callback = callback;
  s.context = context;
}

namespace detail::bridge {

void forward_to_diagnostic_callback(const char* text) noexcept {
  CallbackSlot& s = slot();
  // Held across the call, so a replaced callback is never running once the replacement returns.
  const std::lock_guard<std::mutex> guard(s.mutex);
  if (s.callback != nullptr && text != nullptr) {
    s.callback(text, s.context);
  }
}

}  // namespace detail::bridge
}  // namespace tovanel::uvc_stereo
