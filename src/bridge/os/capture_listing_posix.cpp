#include "bridge/os/capture_listing.h"

namespace tovanel::uvc_stereo::win_detail {

Result<std::vector<WinOpenCvCameraCandidate>> enumerate_dshow_backend_candidates() {
  return std::vector<WinOpenCvCameraCandidate>{};
}

Result<std::vector<WinOpenCvCameraCandidate>> enumerate_msmf_backend_candidates() {
  return std::vector<WinOpenCvCameraCandidate>{};
}

}  // namespace tovanel::uvc_stereo::win_detail
