#include "bridge/camera_hold.h"

#include <utility>

namespace tovanel::uvc_stereo::vendor {

Result<CameraLock> hold_found_camera(const std::string& key, CameraUse use, std::chrono::milliseconds wait,
                                     const std::function<void()>& end_session,
                                     const std::function<Result<std::string>()>& find_again) {
  const CameraLockPlace& place = active_camera_lock_place();
  Result<CameraLock> held = CameraLock::take(place, key, use, std::chrono::milliseconds(0));
  if (held.ok() || !is_camera_busy(held.status()) || wait.count() == 0) {
    return held;
  }
  end_session();
  held = CameraLock::take(place, key, use, wait);
  if (!held.ok()) {
    return held;
  }
  Result<std::string> again = find_again();
  if (!again.ok()) {
    return again.status();
  }
  if (again.value() != key) {
    return Status(ErrorCode::DeviceUnavailable, "the selected camera changed while waiting for it");
  }
  return held;
}

}  // namespace tovanel::uvc_stereo::vendor
