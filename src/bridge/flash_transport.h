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

namespace tovanel::uvc_stereo::detail::bridge {

// The same read on behalf of an IMU about to be opened: it shares the camera with the
// IMU readers of other Devices and programs, as the IMU it precedes will, and waits only
// for a flash access.
[[nodiscard]] Result<std::string> read_firmware_version_for_imu(const FlashConfig& config);

}  // namespace tovanel::uvc_stereo::detail::bridge
