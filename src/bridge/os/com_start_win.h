#pragma once

#include "bridge/os/capture_system_calls_win.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::win_detail {

// COM on the calling thread for the length of one capture listing. `start` asks for a
// single-threaded apartment and accepts the multithreaded one the thread may already be
// in; the scope then undoes exactly what its start did: one CoUninitialize when a call
// succeeded, none when the thread stays in a mode it was put in by someone else.
class ComScope {
 public:
  ComScope() = default;
  ComScope(const ComScope&) = delete;
  ComScope& operator=(const ComScope&) = delete;
  ~ComScope();

  // PlatformError "CoInitializeEx failed: hr=0x%08lX" when COM cannot start on this thread.
  [[nodiscard]] Status start();

  // True when the scope will call CoUninitialize as it ends.
  [[nodiscard]] bool must_uninitialize() const noexcept { return calls_ != nullptr; }

 private:
  // The table the successful start went through, so the matching CoUninitialize does too.
  const CaptureSystemCalls* calls_ = nullptr;
};

}  // namespace tovanel::uvc_stereo::win_detail
