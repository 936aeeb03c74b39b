#include <cstdint>
#include <exception>
#include <memory>
#include <utility>

#include "bridge/capability_probe.h"
#include "bridge/device_selector.h"
#include "capability/capability_probe_result.h"
#include "core/guard.h"
#include "device/capability_not_supported.h"
#include "device/device_impl.h"
#include "device/flash_json.h"
#include "imu/model_table.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/flash.h"

namespace tovanel::uvc_stereo {
namespace {

// Required-capability bits that open_device understands; bit 1 (the IMU) is accepted but proven only by open_imu.
constexpr std::uint32_t kKnownCapabilityBits = kTransportFlash | kTransportImu | kTransportFlashJson;

// What a camera without capability reporting is assumed to have: one erase sector of user space at the
// traditional address.
constexpr std::uint32_t kLegacyUserSpaceAddress = 0x51000;
constexpr std::uint32_t kLegacyUserSpaceSize = 4096;

Status invalid_vid_pid() { return Status(ErrorCode::InvalidArgument, "selected device has invalid vid/pid"); }

void settle_legacy_capabilities(Device::Impl& impl) {
  impl.capability.source = CapabilitySource::Fallback;
  impl.capability.report.reset();
  impl.capability.message = "Capability reporting is not supported on this device";
  impl.flash_config.user_space_address = kLegacyUserSpaceAddress;
  impl.flash_config.user_space_size = kLegacyUserSpaceSize;
  impl.imu_transport = detail::ImuTransportConfig{};
  impl.imu_options = ImuConversionOptions{};
  impl.has_flash = true;
  impl.has_imu = true;
}

void settle_reported_capabilities(Device::Impl& impl, const CapabilityReport& report) {
  impl.capability.source = CapabilitySource::Reported;
  impl.capability.report = report;
  impl.capability.message.clear();

  impl.has_flash = (report.capability_bits & kCapabilityFlashUserSpace) != 0;
  if (impl.has_flash && report.flash_user_space.has_value()) {
    impl.flash_config.user_space_address = report.flash_user_space->start;
    impl.flash_config.user_space_size = report.flash_user_space->size;
  }

  impl.has_imu = (report.capability_bits & kCapabilityImu) != 0;
  impl.imu_transport = detail::ImuTransportConfig{};
  impl.imu_options = ImuConversionOptions{};
  if (impl.has_imu && report.imu.has_value()) {
    const ReportedImuInfo& imu = *report.imu;
    impl.imu_transport.xu_unit = imu.xu_unit;
    impl.imu_transport.xu_selector = imu.xu_selector;
    impl.imu_transport.xu_length = imu.xu_length;
    impl.imu_options.temperature_offset_c = imu.temperature_offset_c;
    impl.imu_options.temperature_lsb_per_c = imu.temperature_lsb_per_c;
    impl.imu_options.accel_lsb_per_g = imu.accel_lsb_per_g;
    impl.imu_options.gyro_lsb_per_dps = imu.gyro_lsb_per_dps;
  }
}

// Proves the flash capabilities the caller asked for; the strongest request wins, since a readable JSON record
// already proves the flash transport.
Status prove_required_capabilities(Device::Impl& impl, std::uint32_t required) {
  const std::uint32_t to_prove = required & ~kTransportImu;
  impl.transport_flags = 0;
  if ((to_prove & kTransportFlashJson) != 0) {
    if (!impl.has_flash) {
      return detail::capability_not_supported("Flash");
    }
    Result<ReadJsonResult> json = detail::read_flash_json(impl.flash_config);
    if (!json.ok()) {
      return json.status();
    }
    impl.transport_flags = kTransportFlash | kTransportFlashJson;
  } else if ((to_prove & kTransportFlash) != 0) {
    if (!impl.has_flash) {
      return detail::capability_not_supported("Flash");
    }
    Status probed = probe_flash_transport(impl.flash_config);
    if (!probed.ok()) {
      return probed;
    }
    impl.transport_flags = kTransportFlash;
  }
  return Status();
}

}  // namespace

Result<Device> open_device(const DeviceInfo& device, const OpenDeviceOptions& options) {
  return detail::guard_operation("unknown exception during device open", [&]() -> Result<Device> {
    if (options.required_capabilities > kKnownCapabilityBits) {
      return Status(ErrorCode::InvalidArgument, "open_device required_capabilities contains unknown bits");
    }
    if (device.vendor_id == 0 || device.product_id == 0) {
      return invalid_vid_pid();
    }
    if (detail::find_supported_model(device.vendor_id, device.product_id) == nullptr) {
      return Status(ErrorCode::NotSupported, "selected device vid/pid is not in the scan whitelist");
    }

    // A camera that cannot be asked, or answers nothing usable, is opened with the legacy defaults.
    detail::XuCapabilityProbeResult probe = detail::probe_xu_capability(device);

    auto impl = std::make_unique<Device::Impl>();
    impl->info = device;
    // Addresses exactly this camera, by its vid/pid, path and serial number, never by whatever camera happens to
    // enumerate first.
    impl->flash_config = detail::bridge::make_device_selector_config(device);
    impl->flash_config.busy_wait_ms = options.busy_wait_ms;
    if (probe.legacy_fallback || !probe.report.has_value()) {
      settle_legacy_capabilities(*impl);
    } else {
      settle_reported_capabilities(*impl, *probe.report);
    }

    Status proven = prove_required_capabilities(*impl, options.required_capabilities);
    if (!proven.ok()) {
      return proven;
    }
    return Device(std::move(impl));
  });
}

Result<Device> open_device(const DeviceInfo& device) { return open_device(device, OpenDeviceOptions{}); }

}  // namespace tovanel::uvc_stereo
