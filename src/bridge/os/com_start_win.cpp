#include "bridge/os/com_start_win.h"

#include "bridge/os/hresult_message_win.h"

namespace tovanel::uvc_stereo::win_detail {

ComScope::~ComScope() {
  if (calls_ != nullptr) {
    calls_->co_uninitialize();
  }
}

Status ComScope::start() {
  const CaptureSystemCalls& calls = capture_system_calls();
  HRESULT hr = calls.co_initialize_ex(nullptr, COINIT_APARTMENTTHREADED);
  if (hr == RPC_E_CHANGED_MODE) {
    hr = calls.co_initialize_ex(nullptr, COINIT_MULTITHREADED);
    if (hr == RPC_E_CHANGED_MODE) {
      // The thread keeps the mode its owner chose; there is nothing of ours to undo.
      return Status();
    }
  }
  if (FAILED(hr)) {
    return hresult_failure("CoInitializeEx", hr);
  }
  // S_OK and S_FALSE alike took a reference on the thread's COM that must be given back.
  calls_ = &calls;
  return Status();
}

}  // namespace tovanel::uvc_stereo::win_detail
