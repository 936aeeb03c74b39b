#include "support/debug_capture.h"

#include "uvc_stereo/diagnostics.h"

namespace tovanel::uvc_stereo::test_support {

DebugCapture::DebugCapture() { set_diagnostic_callback(&DebugCapture::collect, this); }

DebugCapture::~DebugCapture() { set_diagnostic_callback(nullptr, nullptr); }

void DebugCapture::collect(const char* text, void* context) {
  static_cast<DebugCapture*>(context)->texts_.emplace_back(text);
}

}  // namespace tovanel::uvc_stereo::test_support
