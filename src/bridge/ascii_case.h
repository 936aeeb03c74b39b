#pragma once

#include <string>
#include <string_view>

namespace tovanel::uvc_stereo::detail::bridge {

// Folds only 'A'..'Z': serial numbers, names and paths may carry UTF-8 bytes that must
// pass through unchanged.
[[nodiscard]] std::string ascii_lower(std::string_view text);

// Equal after ASCII folding, byte for byte otherwise: no trimming and no other normalisation.
[[nodiscard]] bool ascii_equal_ignoring_case(std::string_view a, std::string_view b) noexcept;

}  // namespace tovanel::uvc_stereo::detail::bridge
