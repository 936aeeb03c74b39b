#pragma once

#include <string>
#include <string_view>

namespace tovanel::uvc_stereo::detail {

// Converts between the UTF-8 text the SDK hands out and the UTF-16 the vendor library
// and Windows interfaces speak. Malformed input never fails: each maximal ill-formed
// part becomes one U+FFFD, so a damaged name still shows where it went wrong.
[[nodiscard]] std::u16string utf8_to_utf16(std::string_view text);
[[nodiscard]] std::string utf16_to_utf8(std::u16string_view text);

}  // namespace tovanel::uvc_stereo::detail
