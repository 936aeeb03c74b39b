#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::detail {

/// The firmware version rules of one camera model: the exact build its IMU requires and the build that disables
/// it, each empty when the model has no such rule.
struct ImuFirmwareRule {
  std::string_view required;
  std::string_view disabling;

  /// Whether the camera's firmware version must be read before its IMU may be used.
  [[nodiscard]] bool needs_version() const noexcept { return !required.empty() || !disabling.empty(); }
};

/// The rules of the model `vendor_id`:`product_id`; both empty for a model the table does not know.
[[nodiscard]] ImuFirmwareRule imu_firmware_rule(std::uint16_t vendor_id, std::uint16_t product_id) noexcept;

/// The verdict for one model's version rules and the outcome of its firmware version read. A failed read refuses
/// the IMU only when an exact version is required; the read's own status never surfaces. The only failure is
/// NotSupported, "IMU is not supported on this device".
[[nodiscard]] Status judge_imu_firmware(std::string_view required, std::string_view disabling,
                                        const Result<std::string>& firmware);

}  // namespace tovanel::uvc_stereo::detail
