#include <exception>
#include <vector>

#include "uvc_stereo/device.h"
#include "uvc_stereo/vendor_lock.h"
#include "bridge/device_enumeration.h"
#include "bridge/vendor_error_names.h"
#include "bridge/vendor_status.h"

namespace tovanel::uvc_stereo {
namespace {

Result<std::vector<DeviceInfo>> scan_in_vendor_session(const DeviceScanFilter& filter) {
  const win_detail::SonixGlobalLock lock;
  if (!SonixCam_Init()) {
    // The library refuses to start when no camera is attached; for a scan that is an empty list.
    if (win_detail::is_no_device_error(win_detail::get_vendor_error_code(nullptr))) {
      return std::vector<DeviceInfo>{};
    }
    return win_detail::make_vendor_status(ErrorCode::PlatformError, "SonixCam_Init", nullptr);
  }
  Result<std::vector<win_detail::EnumeratedDevice>> enumerated =
      win_detail::enumerate_devices_with_active_runtime(filter, true);
  // The session ends before anything else can go wrong, so no path leaves it open.
  SonixCam_UnInit();
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

}  // namespace

Result<std::vector<DeviceInfo>> scan_devices(const DeviceScanFilter& filter) {
  try {
    return scan_in_vendor_session(filter);
  } catch (const std::exception& e) {
    return Status(ErrorCode::InternalError, e.what());
  } catch (...) {
    return Status(ErrorCode::InternalError, "unknown exception during device scan");
  }
}

Result<std::vector<DeviceInfo>> scan_devices() { return scan_devices(DeviceScanFilter{}); }

}  // namespace tovanel::uvc_stereo
