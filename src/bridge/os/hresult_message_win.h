#pragma once

#include "bridge/os/windows_headers_win.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::win_detail {

// PlatformError "<call> failed: hr=0x%08lX", the HRESULT shown as an unsigned 32-bit value,
// formatted in the 128 bytes the capture listings allow their messages.
[[nodiscard]] Status hresult_failure(const char* call, HRESULT hr);

}  // namespace tovanel::uvc_stereo::win_detail
