#pragma once

#include <optional>
#include <string_view>

#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::detail {

// The NotSupported status for a capability the device lacks. "IMU" has its own sentence; any other name is
// reported as missing from the capability report, and no name at all as "the requested capability".
[[nodiscard]] Status capability_not_supported(std::optional<std::string_view> name = std::nullopt);

}  // namespace tovanel::uvc_stereo::detail
