#include "bridge/camera_session.h"

#include <utility>

#include "bridge/device_resolution.h"
#include "bridge/device_selector.h"
#include "bridge/extension_unit.h"
#include "bridge/vendor_status.h"

namespace tovanel::uvc_stereo::detail::bridge {

CameraSession::CameraSession() { session_.emplace(); }

Result<std::string> CameraSession::start_and_resolve(const FlashConfig& config) {
  if (!session_->start()) {
    return session_->start_failure(ErrorCode::DeviceUnavailable);
  }
  Result<win_detail::EnumeratedDevice> resolved = win_detail::resolve_device_with_active_runtime(config, false);
  if (!resolved.ok()) {
    return resolved.status();
  }
  device_ = resolved.value().device;
  resolved_ = true;
  const DeviceInfo& info = resolved.value().info;
  return camera_lock_key(info.device_path, info.vendor_id, info.product_id, info.serial_number);
}

Status CameraSession::open(const FlashConfig& config) { return start_and_resolve(config).status(); }

Status CameraSession::open_and_hold(const FlashConfig& config, CameraUse use, std::chrono::milliseconds busy_wait) {
  Result<std::string> key = start_and_resolve(config);
  if (!key.ok()) {
    return key.status();
  }
  const CameraLockPlace& place = active_camera_lock_place();
  Result<CameraLock> held = CameraLock::take(place, key.value(), use, std::chrono::milliseconds(0));
  if (!held.ok() && is_camera_busy(held.status()) && busy_wait.count() != 0) {
    session_.reset();
    resolved_ = false;
    held = CameraLock::take(place, key.value(), use, busy_wait);
    if (!held.ok()) {
      return held.status();
    }
    session_.emplace();
    Result<std::string> again = start_and_resolve(config);
    if (!again.ok()) {
      return again.status();
    }
    if (again.value() != key.value()) {
      return Status(ErrorCode::DeviceUnavailable, "the selected camera changed while waiting for it");
    }
  }
  if (!held.ok()) {
    return held.status();
  }
  hold_ = std::move(held).value();
  return Status();
}

Status CameraSession::open(const DeviceInfo& device) { return open(make_device_selector_config(device)); }

Status CameraSession::select_extension_unit(std::uint8_t node_id) {
  if (!SonixCam_SetNodeID(&device_, node_id, kExtensionUnitGuid.data())) {
    return win_detail::make_vendor_status(ErrorCode::PlatformError, "SonixCam_SetNodeID", &device_);
  }
  return Status();
}

}  // namespace tovanel::uvc_stereo::detail::bridge
