// The V4L2 capture listing: each UVC camera's capture node, numbered as OpenCV's V4L2 backend numbers it.
#include "bridge/backends/linux_sysfs.h"
#include "bridge/linux_kernel.h"
#include "bridge/os/capture_listing.h"
#include "core/guard.h"

namespace tovanel::uvc_stereo::detail::bridge {

namespace {
using Candidates = std::vector<win_detail::WinOpenCvCameraCandidate>;
}  // namespace

Result<Candidates> enumerate_v4l2_backend_candidates() {
  return guard_operation("unknown exception during V4L2 backend enumeration", [&]() -> Result<Candidates> {
    const LinuxUvcListing listing = list_linux_uvc_cameras(active_linux_kernel());
    Candidates candidates;
    candidates.reserve(listing.cameras.size());
    // The path is the USB device's, the same the vendor operations give the camera, so the
    // scan matches the two through the device itself rather than by name.
    for (const LinuxUvcCamera& camera : listing.cameras) {
      candidates.push_back(win_detail::make_backend_candidate(OpenCvBackend::V4l2, camera.capture_index,
                                                              camera.node_name, camera.device_path));
    }
    return candidates;
  });
}

}  // namespace tovanel::uvc_stereo::detail::bridge
