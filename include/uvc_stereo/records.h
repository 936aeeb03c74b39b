#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "uvc_stereo/backend.h"
#include "uvc_stereo/capability.h"
#include "uvc_stereo/export.h"

namespace tovanel::uvc_stereo {

/// One camera as a scan found it.
struct UVC_STEREO_API DeviceInfo {
  std::uint16_t vendor_id = 0;                   ///< USB vendor id; 0 = unknown
  std::uint16_t product_id = 0;                  ///< USB product id; 0 = unknown
  bool aux_flag_a = false;                       ///< carried unchanged into the device's FlashConfig
  bool aux_flag_b = false;                       ///< carried unchanged into the device's FlashConfig
  std::string serial_number;                     ///< string descriptor 4; a selector
  std::string descriptor_text;                   ///< string descriptor 3; informational
  std::string friendly_name;                     ///< display name; string descriptor 2 when that is non-empty
  std::string extra_text;                        ///< informational; a scan leaves it empty
  std::string device_path;                       ///< Windows device path; a selector
  std::map<OpenCvBackend, int> backend_indices;  ///< capture index per backend that sees the camera

  DeviceInfo();
  ~DeviceInfo();
  /// Copies the record.
  DeviceInfo(const DeviceInfo& other);
  /// Copies the record.
  DeviceInfo& operator=(const DeviceInfo& other);
  /// Moves the record.
  DeviceInfo(DeviceInfo&&) noexcept = default;
  /// Moves the record.
  DeviceInfo& operator=(DeviceInfo&&) noexcept = default;
};

/// Narrows a scan. A default filter passes every supported camera.
struct DeviceScanFilter {
  std::optional<std::uint16_t> vendor_id;   ///< Only cameras with this USB vendor id; any when empty.
  std::optional<std::uint16_t> product_id;  ///< Only cameras with this USB product id; any when empty.
  bool require_serial_number = false;       ///< Only cameras whose serial number can be read and is not empty.
};

/// Bit of OpenDeviceOptions::required_capabilities and of a Device's transport flags: the serial flash.
inline constexpr std::uint32_t kTransportFlash = 0x01;
/// Bit of OpenDeviceOptions::required_capabilities and of a Device's transport flags: the IMU.
inline constexpr std::uint32_t kTransportImu = 0x02;
/// Bit of OpenDeviceOptions::required_capabilities and of a Device's transport flags: the JSON record in flash.
inline constexpr std::uint32_t kTransportFlashJson = 0x04;

/// What open_device must prove before it returns a Device.
struct OpenDeviceOptions {
  /// What open_device must prove: kTransportFlash and/or kTransportFlashJson;
  /// kTransportImu is accepted and proven only when the IMU is opened. Above 7 is refused.
  std::uint32_t required_capabilities = 0;
  /// How long the Device's flash accesses and IMU opening wait, in milliseconds, while
  /// another Device or program holds the camera, before they fail with DeviceUnavailable
  /// "camera is busy: ..."; 0 tries once. Becomes the Device's FlashConfig::busy_wait_ms.
  std::uint32_t busy_wait_ms = 5000;
};

/// Where a Device's capabilities come from.
enum class CapabilitySource : std::uint8_t {
  None = 0,      ///< nothing determined
  Reported = 1,  ///< the device gave a valid capability report
  Fallback = 2,  ///< no valid report; fixed defaults are in force
};

/// What a Device knows of its camera's capability report.
struct UVC_STEREO_API DeviceCapabilityInfo {
  CapabilitySource source = CapabilitySource::None;  ///< where the device's capabilities come from
  std::optional<CapabilityReport> report;            ///< the report when source is Reported
  std::string message;                               ///< why defaults are in force, with Fallback

  DeviceCapabilityInfo() = default;
  ~DeviceCapabilityInfo();
  /// Copies the record.
  DeviceCapabilityInfo(const DeviceCapabilityInfo&) = default;
  /// Copies the record.
  DeviceCapabilityInfo& operator=(const DeviceCapabilityInfo&) = default;
  /// Moves the record.
  DeviceCapabilityInfo(DeviceCapabilityInfo&&) noexcept = default;
  /// Moves the record.
  DeviceCapabilityInfo& operator=(DeviceCapabilityInfo&& other) noexcept;
};

/// The camera's JSON configuration as read from flash.
struct UVC_STEREO_API ReadJsonResult {
  std::uint16_t format_version = 0;  ///< the record's format version (0 for what write_json writes)
  std::string json;                  ///< minified and validated

  ReadJsonResult() = default;
  ~ReadJsonResult();
  /// Copies the record.
  ReadJsonResult(const ReadJsonResult&) = default;
  /// Copies the record.
  ReadJsonResult& operator=(const ReadJsonResult&) = default;
  /// Moves the record.
  ReadJsonResult(ReadJsonResult&&) noexcept = default;
  /// Moves the record.
  ReadJsonResult& operator=(ReadJsonResult&&) noexcept = default;
};

/// Scale factors from raw IMU counts to physical units.
struct ImuConversionOptions {
  double temperature_offset_c = 25.0;    ///< degrees Celsius added after scaling
  double temperature_lsb_per_c = 128.0;  ///< must not be zero
  double accel_lsb_per_g = 2048.0;       ///< zero turns the accelerometer output off
  double gyro_lsb_per_dps = 16.4;        ///< zero turns the gyroscope output off
};

/// One raw IMU sample.
struct ReadImuResult {
  std::uint64_t host_timestamp_ns = 0;      ///< host time at the middle of the read
  std::uint32_t sample_counter = 0;         ///< the device's 20-bit counter
  std::int16_t temperature_raw = 0;         ///< die temperature in raw counts
  std::array<std::int16_t, 3> accel_raw{};  ///< x, y, z
  std::array<std::int16_t, 3> gyro_raw{};   ///< x, y, z
};

/// One IMU sample in physical units.
struct ConvertedImuResult {
  std::uint64_t host_timestamp_ns = 0;  ///< the raw sample's host_timestamp_ns, unchanged
  double temperature_c = 0.0;           ///< die temperature in degrees Celsius
  std::array<double, 3> accel_g{};      ///< x, y, z in g
  std::array<double, 3> gyro_dps{};     ///< x, y, z in degrees per second
};

namespace detail {

/// Where an IMU sample is read: extension unit, control selector, bytes per read.
struct ImuTransportConfig {
  std::uint8_t xu_unit = 4;       ///< unit id of the IMU extension unit
  std::uint8_t xu_selector = 10;  ///< control selector of the IMU control
  std::uint8_t xu_length = 17;    ///< bytes per read, at least 17
};

}  // namespace detail
}  // namespace tovanel::uvc_stereo
