#include "bridge/camera_session.h"

#include "bridge/device_resolution.h"
#include "bridge/device_selector.h"
#include "bridge/extension_unit.h"
#include "bridge/vendor_status.h"

namespace tovanel::uvc_stereo::vendor {

Status CameraSession::open(const FlashConfig& config) {
  if (!session_.start()) {
    return session_.start_failure(ErrorCode::DeviceUnavailable);
  }
  Result<win_detail::EnumeratedDevice> resolved = win_detail::resolve_device_with_active_runtime(config, false);
  if (!resolved.ok()) {
    return resolved.status();
  }
  device_ = resolved.value().device;
  resolved_ = true;
  return Status();
}

Status CameraSession::open(const DeviceInfo& device) { return open(detail::make_device_selector_config(device)); }

Status CameraSession::select_extension_unit(std::uint8_t node_id) {
  if (!SonixCam_SetNodeID(&device_, node_id, kExtensionUnitGuid.data())) {
    return win_detail::make_vendor_status(ErrorCode::PlatformError, "SonixCam_SetNodeID", &device_);
  }
  return Status();
}

}  // namespace tovanel::uvc_stereo::vendor
