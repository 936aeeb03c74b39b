#include "bridge/camera_scan.h"

#include "bridge/device_enumeration.h"
#include "bridge/vendor_session.h"

namespace tovanel::uvc_stereo::detail::bridge {

Result<std::vector<DeviceInfo>> scan_cameras(const DeviceScanFilter& filter) {
  VendorSession session;
  if (!session.start()) {
    if (session.failed_for_want_of_cameras()) {
      return std::vector<DeviceInfo>{};
    }
    return session.start_failure(ErrorCode::PlatformError);
  }
  Result<std::vector<win_detail::EnumeratedDevice>> enumerated =
      win_detail::enumerate_devices_with_active_runtime(filter, true);
  // The session ends before anything else can go wrong, so no path leaves it open.
  session.end();
  if (!enumerated.ok()) {
    return enumerated.status();
  }

  // A DeviceInfo carries no vendor handle: every later operation finds its camera again.
  std::vector<DeviceInfo> devices;
  devices.reserve(enumerated.value().size());
  for (const win_detail::EnumeratedDevice& device : enumerated.value()) {
    devices.push_back(device.info);
  }
  return devices;
}

}  // namespace tovanel::uvc_stereo::detail::bridge
