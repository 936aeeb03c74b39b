#include "support/debug_capture.h"

#include "win/debug_output.h"

namespace tovanel::uvc_stereo::test_support {

DebugCapture::DebugCapture() { win_detail::set_debug_sink(&DebugCapture::collect, this); }

DebugCapture::~DebugCapture() { win_detail::set_debug_sink(nullptr, nullptr); }

void DebugCapture::collect(const char* text, void* context) {
  static_cast<DebugCapture*>(context)->texts_.emplace_back(text);
}

}  // namespace tovanel::uvc_stereo::test_support
