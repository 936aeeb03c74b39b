#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "uvc_stereo/export.h"

namespace tovanel::uvc_stereo {

/// The IMU block of a capability report: where to read a sample and how to scale it.
struct UVC_STEREO_API ReportedImuInfo {
  std::string model;                     ///< printable ASCII, 0 to 8 characters
  std::uint8_t xu_unit = 0;              ///< unit id of the IMU extension unit
  std::uint8_t xu_selector = 0;          ///< control selector of the IMU extension unit
  std::uint8_t xu_length = 0;            ///< bytes per IMU read, at least 17
  std::uint8_t decimal_exponent = 0;     ///< 1, 2 or 3
  double temperature_offset_c = 25.0;    ///< degrees Celsius added after scaling
  double temperature_lsb_per_c = 128.0;  ///< raw counts per degree Celsius
  double accel_lsb_per_g = 2048.0;       ///< raw counts per g
  double gyro_lsb_per_dps = 16.4;        ///< raw counts per degree per second

  ReportedImuInfo() = default;
  ~ReportedImuInfo();
  /// Copies the record.
  ReportedImuInfo(const ReportedImuInfo&) = default;
  /// Copies the record.
  ReportedImuInfo& operator=(const ReportedImuInfo&) = default;
  /// Moves the record.
  ReportedImuInfo(ReportedImuInfo&&) noexcept = default;
  /// Moves the record.
  ReportedImuInfo& operator=(ReportedImuInfo&&) noexcept = default;
};

/// Where the camera's flash user space lies, as its report declares it.
struct FlashUserSpace {
  std::uint32_t start = 0;  ///< flash address of the user space's first byte
  std::uint32_t size = 0;   ///< bytes in the user space
};

/// A validated 64-byte capability report.
struct CapabilityReport {
  std::uint8_t major_version = 1;                  ///< report format major version (1)
  std::uint8_t minor_version = 0;                  ///< report format minor version
  std::uint64_t capability_bits = 0;               ///< what the camera declares (kCapability* bits)
  std::optional<FlashUserSpace> flash_user_space;  ///< engaged exactly when bit 1 is set
  std::optional<ReportedImuInfo> imu;              ///< engaged exactly when bit 2 is set
};

/// Capability bit: the report declares the flash user space.
inline constexpr std::uint64_t kCapabilityFlashUserSpace = 0x02;
/// Capability bit: the report describes the IMU.
inline constexpr std::uint64_t kCapabilityImu = 0x04;
/// Every capability bit a report of this version may set; others make it invalid.
inline constexpr std::uint64_t kCapabilityKnownBits = 0x1F;

}  // namespace tovanel::uvc_stereo
