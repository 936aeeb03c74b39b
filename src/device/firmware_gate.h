#pragma once

#include "uvc_stereo/flash_config.h"
#include "uvc_stereo/records.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::detail {

/// Decides from the camera's model and firmware version whether its IMU may be used. Models without a version rule
/// pass without any device contact; the others have their firmware version read through `config` and are then
/// given 200 ms to settle before the IMU transport is opened. The only failure is NotSupported,
/// "IMU is not supported on this device".
[[nodiscard]] Status ensure_imu_supported_by_firmware(const DeviceInfo& device, const FlashConfig& config);

}  // namespace tovanel::uvc_stereo::detail
