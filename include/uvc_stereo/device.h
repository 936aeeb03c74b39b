#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "uvc_stereo/export.h"
#include "uvc_stereo/flash_config.h"
#include "uvc_stereo/records.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo {

class ImuStream;

/// An opened camera. Move-only; a moved-from Device refuses every operation with
/// "device is closed or moved-from". Not internally locked: use one Device from one
/// thread at a time (vendor calls of all Devices are serialised process-wide).
class UVC_STEREO_API Device {
 public:
  struct Impl;

  /// Takes over the other's camera; the other is left moved-from.
  Device(Device&& other) noexcept;
  /// Closes this Device's IMU, if open, and takes over the other's camera.
  Device& operator=(Device&& other) noexcept;
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;
  /// Closes an open IMU reader, which ends its vendor session.
  ~Device();

  /// The scanned record this Device was opened from (a shared default when moved-from).
  [[nodiscard]] const DeviceInfo& info() const noexcept;
  /// What the capability probe found (source None when moved-from).
  [[nodiscard]] const DeviceCapabilityInfo& capability_info() const noexcept;
  /// The flash configuration derived for this camera (a shared default when moved-from).
  [[nodiscard]] const FlashConfig& flash_config() const noexcept;
  /// Where IMU samples are read (the defaults when moved-from).
  [[nodiscard]] detail::ImuTransportConfig imu_transport() const noexcept;
  /// Transports proven or opened: kTransportFlash, kTransportImu, kTransportFlashJson.
  [[nodiscard]] std::uint32_t transport_flags() const noexcept;
  /// Whether kTransportFlash is among the transport flags.
  [[nodiscard]] bool has_flash_transport() const noexcept;
  /// Whether kTransportImu is among the transport flags.
  [[nodiscard]] bool has_imu_transport() const noexcept;

  /// Reads the JSON configuration record, minified and validated. The text is the record's
  /// bytes as stored: its JSON structure is checked, its encoding is not, so bytes from
  /// 0x80 to 0xFF inside strings come back as they are, UTF-8 or not, and writing the text
  /// back with write_json stores the same bytes.
  [[nodiscard]] Result<ReadJsonResult> read_json();
  /// Validates, minifies and writes `json` as the configuration record (format version 0).
  /// Bytes inside strings are stored as given, whatever their encoding.
  [[nodiscard]] Status write_json(std::string_view json);

  /// Opens the IMU reader (a no-op when one is open). Flash JSON access is refused until close_imu.
  [[nodiscard]] Status open_imu();
  /// Reads one raw sample; allocates nothing.
  [[nodiscard]] Result<ReadImuResult> read_imu();
  /// Closes the IMU reader, if any.
  [[nodiscard]] Status close_imu();

  /// The scale factors of the camera's capability report, or the defaults without one; NotSupported when the camera has
  /// no IMU.
  [[nodiscard]] Result<ImuConversionOptions> imu_conversion_options() const;
  /// Converts a raw sample with imu_conversion_options(); needs no open IMU.
  [[nodiscard]] Result<ConvertedImuResult> convert_imu(const ReadImuResult& raw) const;

 private:
  explicit Device(std::unique_ptr<Impl> impl) noexcept;
  friend UVC_STEREO_API Result<Device> open_device(const DeviceInfo& device, const OpenDeviceOptions& options);
  friend class ImuStream;  ///< reads the open IMU with the host times around each read

  std::unique_ptr<Impl> impl_;
};

/// Lists the supported cameras attached now, in enumeration order.
[[nodiscard]] UVC_STEREO_API Result<std::vector<DeviceInfo>> scan_devices(const DeviceScanFilter& filter);
/// Lists every supported camera attached now (a default filter).
[[nodiscard]] UVC_STEREO_API Result<std::vector<DeviceInfo>> scan_devices();

/// Opens a scanned camera: checks it, probes its capability report and proves what
/// `options` require.
[[nodiscard]] UVC_STEREO_API Result<Device> open_device(const DeviceInfo& device, const OpenDeviceOptions& options);
/// Opens a scanned camera, requiring nothing beyond what every open checks.
[[nodiscard]] UVC_STEREO_API Result<Device> open_device(const DeviceInfo& device);

}  // namespace tovanel::uvc_stereo
