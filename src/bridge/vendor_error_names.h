#pragma once

#include <cstdint>
#include <string_view>

namespace tovanel::uvc_stereo::detail::bridge {

// The vendor library's own identifier for one of its error codes, as shown in failure
// messages; "unknown" for any code it does not define, negative ones included.
[[nodiscard]] std::string_view vendor_error_name(std::int32_t code) noexcept;

}  // namespace tovanel::uvc_stereo::detail::bridge

namespace tovanel::uvc_stereo::win_detail {

// True only for the vendor code that means no camera is attached; a disconnect or a failed
// enumeration is a real failure, not an empty result.
[[nodiscard]] bool is_no_device_error(std::int32_t code) noexcept;

}  // namespace tovanel::uvc_stereo::win_detail
