#include "uvc_stereo/device.h"

#include <exception>
#include <utility>

#include "core/guard.h"
#include "device/capability_not_supported.h"
#include "device/device_impl.h"
#include "device/flash_json.h"

namespace tovanel::uvc_stereo {
namespace detail {

Status device_closed() { return Status(ErrorCode::InvalidArgument, "device is closed or moved-from"); }

}  // namespace detail

namespace {

Status imu_blocks_flash_json() {
  return Status(ErrorCode::InvalidArgument, "IMU must be closed before flash JSON access");
}

// Flash JSON access needs an open device, a closed IMU and a flash, checked in this order.
Status check_flash_json_access(const Device::Impl* impl) {
  if (impl == nullptr) {
    return detail::device_closed();
  }
  if (impl->imu_reader != nullptr) {
    return imu_blocks_flash_json();
  }
  if (!impl->has_flash) {
    return detail::capability_not_supported("Flash");
  }
  return Status();
}

// A moved-from Device answers its record queries with these, so callers never hold a dangling reference.
const DeviceInfo& default_device_info() noexcept {
  static const DeviceInfo info;
  return info;
}

const DeviceCapabilityInfo& default_capability_info() noexcept {
  static const DeviceCapabilityInfo capability;
  return capability;
}

const FlashConfig& default_flash_config() noexcept {
  static const FlashConfig config;
  return config;
}

}  // namespace

Device::Device(std::unique_ptr<Impl> impl) noexcept : impl_(std::move(impl)) {}
Device::Device(Device&& other) noexcept = default;
// The state this Device held before is destroyed, which closes its IMU reader if it had one.
Device& Device::operator=(Device&& other) noexcept = default;
Device::~Device() = default;

const DeviceInfo& Device::info() const noexcept { return impl_ ? impl_->info : default_device_info(); }

const DeviceCapabilityInfo& Device::capability_info() const noexcept {
  return impl_ ? impl_->capability : default_capability_info();
}

const FlashConfig& Device::flash_config() const noexcept {
  return impl_ ? impl_->flash_config : default_flash_config();
}

detail::ImuTransportConfig Device::imu_transport() const noexcept {
  return impl_ ? impl_->imu_transport : detail::ImuTransportConfig{};
}

std::uint32_t Device::transport_flags() const noexcept { return impl_ ? impl_->transport_flags : 0; }

bool Device::has_flash_transport() const noexcept { return (transport_flags() & kTransportFlash) != 0; }

bool Device::has_imu_transport() const noexcept { return (transport_flags() & kTransportImu) != 0; }

Result<ReadJsonResult> Device::read_json() {
  return detail::guard_operation("unknown exception during flash JSON read", [&]() -> Result<ReadJsonResult> {
    Status allowed = check_flash_json_access(impl_.get());
    if (!allowed.ok()) {
      return allowed;
    }
    return detail::read_flash_json(impl_->flash_config);
  });
}

Status Device::write_json(std::string_view json) {
  return detail::guard_operation("unknown exception during flash JSON write", [&]() -> Status {
    Status allowed = check_flash_json_access(impl_.get());
    if (!allowed.ok()) {
      return allowed;
    }
    return detail::write_flash_json(impl_->flash_config, json);
  });
}

}  // namespace tovanel::uvc_stereo
