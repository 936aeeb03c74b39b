#pragma once

#include <vector>

#include "uvc_stereo/backend.h"
#include "uvc_stereo/result.h"
#include "win/backend_candidate.h"

namespace tovanel::uvc_stereo::win_detail {

// Every video-capture device of one backend, in the backend's own order, with the
// index it would open it by. On Windows they come from DirectShow and Media
// Foundation; elsewhere those backends do not exist and the lists are empty.
// Called with the vendor lock held; they take no lock of their own.
[[nodiscard]] Result<std::vector<WinOpenCvCameraCandidate>> enumerate_dshow_backend_candidates();
[[nodiscard]] Result<std::vector<WinOpenCvCameraCandidate>> enumerate_msmf_backend_candidates();

}  // namespace tovanel::uvc_stereo::win_detail

namespace tovanel::uvc_stereo::detail::bridge {

// On Linux: the capture node of each UVC camera, with N of /dev/videoN as its index and
// the camera's USB device path as its path; empty elsewhere.
[[nodiscard]] Result<std::vector<win_detail::WinOpenCvCameraCandidate>> enumerate_v4l2_backend_candidates();

// A source of capture listings: the platform table's capture_listing entry (the
// simulated rig installs one so that scans report backend indices without Windows).
struct CaptureListingSource {
  Result<std::vector<win_detail::WinOpenCvCameraCandidate>> (*list)(OpenCvBackend backend);
};

// The platform's own listings, for a test that wants them back under a rig.
[[nodiscard]] const CaptureListingSource& platform_capture_listing_source() noexcept;

// The candidates of `backend` (Dshow, Msmf or V4l2) from the platform table's source, else
// from the platform listing.
[[nodiscard]] Result<std::vector<win_detail::WinOpenCvCameraCandidate>> list_capture_candidates(OpenCvBackend backend);

}  // namespace tovanel::uvc_stereo::detail::bridge
