#pragma once

#include <cstddef>

namespace tovanel::uvc_stereo::cli {

// The width in columns of the terminal on `descriptor`, or 0 when it is not a terminal or
// does not say.
[[nodiscard]] std::size_t terminal_columns(int descriptor) noexcept;

}  // namespace tovanel::uvc_stereo::cli
