#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "bridge/os/camera_lock.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::vendor {

// Holds, for `use`, the camera `key` names that an operation has just found in its library
// session: at once when the camera is free. Otherwise the operation's session is ended
// (`end_session`), since waiting under the vendor lock would stall every camera user of the
// process, the holder too; the camera is waited for up to `wait`; then the session is
// started again and the camera found afresh (`find_again`, giving its key), which must be
// the same camera. With `wait` 0 a busy camera is refused at once, the session left open.
[[nodiscard]] Result<CameraLock> hold_found_camera(const std::string& key, CameraUse use,
                                                   std::chrono::milliseconds wait,
                                                   const std::function<void()>& end_session,
                                                   const std::function<Result<std::string>()>& find_again);

}  // namespace tovanel::uvc_stereo::vendor
