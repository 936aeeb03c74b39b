#pragma once

#include <cstdint>
#include <memory>

#include "bridge/imu_reader.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/flash_config.h"
#include "uvc_stereo/records.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo {

// Everything open_device settled about one camera. Flash and capability access open their own vendor session per
// call; only the IMU reader keeps one, for as long as it lives.
struct Device::Impl {
  DeviceInfo info;                                ///< the scanned record the device was opened from
  FlashConfig flash_config;                       ///< selects this camera and locates its record
  DeviceCapabilityInfo capability;                ///< what the capability probe gave
  detail::ImuTransportConfig imu_transport;       ///< where IMU samples are read
  ImuConversionOptions imu_options;               ///< scale factors for convert_imu
  bool has_flash = false;                         ///< flash user space declared or assumed
  bool has_imu = false;                           ///< IMU declared or assumed
  std::uint32_t transport_flags = 0;              ///< kTransportFlash, kTransportImu, kTransportFlashJson
  std::unique_ptr<detail::ImuReader> imu_reader;  ///< the open IMU reader; null until open_imu
};

namespace detail {

/// What every operation on a closed or moved-from Device fails with: InvalidArgument, "device is closed or
/// moved-from".
[[nodiscard]] Status device_closed();

}  // namespace detail
}  // namespace tovanel::uvc_stereo
