#pragma once

#include <string>
#include <string_view>

namespace tovanel::uvc_stereo::cli {

// `text` safe to show on a terminal: control characters (C0, DEL and C1) are written as the
// JSON output writes them ("\u001b", "\n", ...) and bytes that are not UTF-8 as "\xNN", so that
// a camera's strings (serial numbers, names, paths) can neither clear the screen nor set a
// title. Everything else, backslashes included, is shown as it is.
[[nodiscard]] std::string terminal_safe(std::string_view text);

}  // namespace tovanel::uvc_stereo::cli
