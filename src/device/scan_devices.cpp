#include <exception>
#include <vector>

#include "bridge/camera_scan.h"
#include "uvc_stereo/device.h"

namespace tovanel::uvc_stereo {

Result<std::vector<DeviceInfo>> scan_devices(const DeviceScanFilter& filter) {
  try {
    return vendor::scan_cameras(filter);
  } catch (const std::exception& e) {
    return Status(ErrorCode::InternalError, e.what());
  } catch (...) {
    return Status(ErrorCode::InternalError, "unknown exception during device scan");
  }
}

Result<std::vector<DeviceInfo>> scan_devices() { return scan_devices(DeviceScanFilter{}); }

}  // namespace tovanel::uvc_stereo
