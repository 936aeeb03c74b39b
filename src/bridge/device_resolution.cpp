#include "bridge/device_resolution.h"

#include <string>
#include <vector>

#include "bridge/ascii_case.h"
#include "win/device_path.h"

namespace tovanel::uvc_stereo::win_detail {
namespace {

// Only the exact eight-digit form selects: "1234:abcd" or "0x1234abcd" match no device.
bool vidpid_matches(const FlashConfig& config, const DeviceInfo& info) {
  return config.vidpid.empty() ||
         make_vidpid_string(info.vendor_id, info.product_id) == detail::bridge::ascii_lower(config.vidpid);
}

DeviceScanFilter filter_from(const FlashConfig& config) {
  DeviceScanFilter filter;
  if (config.vendor_id != 0) {
    filter.vendor_id = config.vendor_id;
  }
  if (config.product_id != 0) {
    filter.product_id = config.product_id;
  }
  return filter;
}

}  // namespace

Result<EnumeratedDevice> resolve_device_with_active_runtime(const FlashConfig& config, bool with_backend_candidates) {
  // Without any selector the caller has not said which camera it means; refuse before touching the library.
  if (!config.auto_select && config.vidpid.empty() && config.device_path.empty() && config.serial_number.empty()) {
    return Status(ErrorCode::DeviceUnavailable,
                  "no device selector available (check config.vidpid or auto_select filter)");
  }

  Result<std::vector<EnumeratedDevice>> enumerated =
      enumerate_devices_with_active_runtime(filter_from(config), with_backend_candidates);
  if (!enumerated.ok()) {
    return enumerated.status();
  }
  const std::vector<EnumeratedDevice>& devices = enumerated.value();
  if (devices.empty()) {
    return Status(ErrorCode::DeviceUnavailable, "no matching device found");
  }

  // A path names exactly one device, so the other selectors are not consulted with it.
  if (!config.device_path.empty()) {
    for (const EnumeratedDevice& device : devices) {
      if (detail::bridge::ascii_equal_ignoring_case(device.info.device_path, config.device_path)) {
        return device;
      }
    }
    return Status(ErrorCode::DeviceUnavailable, "preferred device_path not found in current scan");
  }

  if (!config.serial_number.empty()) {
    for (const EnumeratedDevice& device : devices) {
      if (detail::bridge::ascii_equal_ignoring_case(device.info.serial_number, config.serial_number) &&
          vidpid_matches(config, device.info)) {
        return device;
      }
    }
    return Status(ErrorCode::DeviceUnavailable, "preferred serial_number not found in current scan");
  }

  for (const EnumeratedDevice& device : devices) {
    if (vidpid_matches(config, device.info)) {
      return device;
    }
  }
  return Status(ErrorCode::DeviceUnavailable, "no device matched the requested vidpid/filter");
}

}  // namespace tovanel::uvc_stereo::win_detail
