#pragma once

#include <string_view>

namespace tovanel::uvc_stereo::detail {

// True when no version is required, otherwise only when `firmware` is byte for byte the required text.
[[nodiscard]] bool firmware_version_allows_imu(std::string_view required, std::string_view firmware) noexcept;

// True when `disabling` is non-empty and occurs anywhere in `firmware`. This is a substring test, not a version
// comparison: nothing newer or older is inferred from it.
[[nodiscard]] bool firmware_version_disables_imu(std::string_view disabling, std::string_view firmware) noexcept;

}  // namespace tovanel::uvc_stereo::detail
