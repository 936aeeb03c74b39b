#pragma once

#include <vector>

#include "uvc_stereo/records.h"
#include "win/backend_candidate.h"

namespace tovanel::uvc_stereo::detail::bridge {

// Joins one capture backend's listing to the cameras the vendor library found: each camera
// that can be tied to exactly one listed device gets that device's index under the backend
// in its `backend_indices`. Four passes, from the strongest evidence to the weakest: the
// canonical path, the USB identity (vid/pid with serial, interface or collection), the
// serial number, the display name. A camera with two or more equally good candidates in a
// pass is left for the next pass, never decided by list order, and a candidate serves at
// most one camera. `devices` are non-null and in enumeration order.
void match_backend_candidates(const std::vector<DeviceInfo*>& devices,
                              const std::vector<win_detail::WinOpenCvCameraCandidate>& candidates);

}  // namespace tovanel::uvc_stereo::detail::bridge
