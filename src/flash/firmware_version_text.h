#pragma once

#include <cstddef>
#include <string>

namespace tovanel::uvc_stereo::detail {

// The firmware version the bridge chip wrote into `buffer`: the text up to the first NUL
// (or all `size` bytes), trailing NUL, tab, line feed, carriage return and space removed.
// Leading blanks are kept, since they are part of what the chip reports.
[[nodiscard]] std::string firmware_version_from_buffer(const char* buffer, std::size_t size);

}  // namespace tovanel::uvc_stereo::detail
