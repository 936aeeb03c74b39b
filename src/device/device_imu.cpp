#include <exception>
#include <memory>
#include <utility>

#include "bridge/imu_reader.h"
#include "core/guard.h"
#include "device/capability_not_supported.h"
#include "device/device_impl.h"
#include "device/firmware_gate.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/imu.h"

namespace tovanel::uvc_stereo {
Status Device::open_imu() {
  return detail::guard_operation("unknown exception during device IMU open", [&]() -> Status {
    if (!impl_) {
      return detail::device_closed();
    }
    if (impl_->imu_reader != nullptr) {
      return Status();
    }
    if (!impl_->has_imu) {
      return detail::capability_not_supported("IMU");
    }
    Status allowed = detail::ensure_imu_supported_by_firmware(impl_->info, impl_->flash_config);
    if (!allowed.ok()) {
      return allowed;
    }
    Result<detail::ImuReader> reader = detail::open_imu_platform(impl_->info, impl_->imu_transport);
    if (!reader.ok()) {
      return reader.status();
    }
    impl_->imu_reader = std::make_unique<detail::ImuReader>(std::move(reader).value());
    // Stays set after close_imu: it records that this device's IMU transport has been proven once.
    impl_->transport_flags |= kTransportImu;
    return Status();
  });
}

Result<ReadImuResult> Device::read_imu() {
  return detail::guard_operation("unknown exception during device IMU read", [&]() -> Result<ReadImuResult> {
    if (!impl_) {
      return detail::device_closed();
    }
    if (impl_->imu_reader == nullptr) {
      return Status(ErrorCode::InvalidArgument, "IMU is not open");
    }
    // A reader without its state refuses the read itself, with "IMU reader is closed or moved-from".
    return impl_->imu_reader->read();
  });
}

Status Device::close_imu() {
  return detail::guard_operation("unknown exception during device IMU close", [&]() -> Status {
    if (!impl_) {
      return detail::device_closed();
    }
    // Destroying the reader ends its vendor session.
    impl_->imu_reader.reset();
    return Status();
  });
}

Result<ImuConversionOptions> Device::imu_conversion_options() const {
  return detail::guard_operation("unknown exception during IMU conversion options query",
                                 [&]() -> Result<ImuConversionOptions> {
                                   if (!impl_) {
                                     return detail::device_closed();
                                   }
                                   if (!impl_->has_imu) {
                                     return detail::capability_not_supported("IMU");
                                   }
                                   return impl_->imu_options;
                                 });
}

Result<ConvertedImuResult> Device::convert_imu(const ReadImuResult& raw) const {
  return detail::guard_operation("unknown exception during device IMU conversion", [&]() -> Result<ConvertedImuResult> {
    Result<ImuConversionOptions> options = imu_conversion_options();
    if (!options.ok()) {
      return options.status();
    }
    return uvc_stereo::convert_imu(raw, options.value());
  });
}

}  // namespace tovanel::uvc_stereo
