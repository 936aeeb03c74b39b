#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tovanel::uvc_stereo::test_support {

// `text` as a failure message can show it: printable ASCII as it is, every other byte (and the backslash) as \xNN.
// Past `limit` bytes the rest is only counted.
[[nodiscard]] std::string printable(std::string_view text, std::size_t limit = std::string_view::npos);

}  // namespace tovanel::uvc_stereo::test_support
