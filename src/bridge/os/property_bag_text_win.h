#pragma once

#include <string>

#include "bridge/os/windows_headers_win.h"

namespace tovanel::uvc_stereo::win_detail {

// The text property `name` of a DirectShow device's property bag in UTF-8; empty when the
// read fails or the value is not a non-null string. A missing name never fails a listing.
[[nodiscard]] std::string read_property_text(IPropertyBag& bag, const wchar_t* name);

}  // namespace tovanel::uvc_stereo::win_detail
