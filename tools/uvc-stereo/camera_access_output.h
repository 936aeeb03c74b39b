#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "uvc_stereo/camera_access.h"

namespace tovanel::uvc_stereo::cli {

// One warning line per camera among `problems` (which name each node on its own), in the
// order the cameras first appear: the camera's path, the nodes this account cannot open
// with the system's reason, and the fix, device text escaped for the terminal. Ends in
// "\n".
[[nodiscard]] std::vector<std::string> camera_access_warnings(const std::vector<CameraAccessProblem>& problems);

// Writes the warnings for the cameras this account cannot open now to `err`; nothing when
// every camera opens or the SDK cannot tell.
void warn_of_camera_access_problems(std::ostream& err);

}  // namespace tovanel::uvc_stereo::cli
