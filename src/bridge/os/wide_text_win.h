#pragma once

#include <string>

#include "bridge/os/windows_headers_win.h"

namespace tovanel::uvc_stereo::win_detail {

// UTF-8 of a NUL-terminated wide string from a Windows interface; empty for a null or
// empty string, and for text the system cannot convert.
[[nodiscard]] std::string wide_to_utf8(const wchar_t* text);

}  // namespace tovanel::uvc_stereo::win_detail
