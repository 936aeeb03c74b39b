#pragma once

#include <string>

#include "uvc_stereo/flash.h"
#include "uvc_stereo/flash_config.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::detail {

// Opens a session on the selected camera and reads the bridge chip's firmware version
// text, trailing NUL, tab, line feed, carriage return and space removed.
[[nodiscard]] Result<std::string> read_firmware_version_from_device(const FlashConfig& config);

}  // namespace tovanel::uvc_stereo::detail
