#include <exception>
#include <vector>

#include "bridge/camera_scan.h"
#include "core/guard.h"
#include "uvc_stereo/device.h"

namespace tovanel::uvc_stereo {

Result<std::vector<DeviceInfo>> scan_devices(const DeviceScanFilter& filter) {
  return detail::guard_operation("unknown exception during device scan", [&]() -> Result<std::vector<DeviceInfo>> {
    return detail::bridge::scan_cameras(filter);
  });
}

Result<std::vector<DeviceInfo>> scan_devices() { return scan_devices(DeviceScanFilter{}); }

}  // namespace tovanel::uvc_stereo
