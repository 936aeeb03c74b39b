#include "win/backend_candidate.h"

#include <utility>

namespace tovanel::uvc_stereo::win_detail {

WinOpenCvCameraCandidate make_backend_candidate(OpenCvBackend backend, int index, std::string friendly_name,
                                                std::string device_path) {
  WinOpenCvCameraCandidate candidate;
  candidate.backend = backend;
  candidate.index = index;
  candidate.friendly_name = std::move(friendly_name);
  candidate.device_path = std::move(device_path);
  candidate.normalized_path = normalize_windows_device_path(candidate.device_path);
  candidate.identity = parse_windows_usb_identity(candidate.normalized_path);
  return candidate;
}

}  // namespace tovanel::uvc_stereo::win_detail
