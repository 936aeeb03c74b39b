#pragma once

#include <vector>

#include "uvc_stereo/records.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::detail::bridge {

// The supported cameras the vendor library sees, filtered, in its order, each with its
// capture-backend indices, from a vendor session of its own. A library that will not
// start because no camera is attached gives an empty list; any other refusal is a
// PlatformError naming SonixCam_Init. Exceptions pass to the caller, the session
// already closed.
[[nodiscard]] Result<std::vector<DeviceInfo>> scan_cameras(const DeviceScanFilter& filter);

}  // namespace tovanel::uvc_stereo::detail::bridge
