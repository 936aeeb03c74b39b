#include "bridge/os/capture_listing.h"

#include "bridge/platform_table.h"

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

Result<std::vector<win_detail::WinOpenCvCameraCandidate>> list_platform(OpenCvBackend backend) {
  if (backend == OpenCvBackend::V4l2) {
    return enumerate_v4l2_backend_candidates();
  }
  return backend == OpenCvBackend::Dshow ? win_detail::enumerate_dshow_backend_candidates()
                                         : win_detail::enumerate_msmf_backend_candidates();
}

constexpr CaptureListingSource kPlatformListing = {list_platform};

}  // namespace

const CaptureListingSource& platform_capture_listing_source() noexcept { return kPlatformListing; }

Result<std::vector<win_detail::WinOpenCvCameraCandidate>> list_capture_candidates(OpenCvBackend backend) {
  const CaptureListingSource* source = installed_platform().capture_listing;
  return (source != nullptr ? *source : kPlatformListing).list(backend);
}

}  // namespace tovanel::uvc_stereo::detail::bridge
