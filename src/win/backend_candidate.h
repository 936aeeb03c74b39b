#pragma once

#include <string>

#include "uvc_stereo/backend.h"
#include "win/device_path.h"

namespace tovanel::uvc_stereo::win_detail {

// One video-capture device as a capture backend lists it, with the index that backend gives it
// and the canonical path and USB identity used to match it against the vendor library's devices.
struct WinOpenCvCameraCandidate {
  // A default candidate names no backend and no index, so a field left unset never reads as a
  // real capture slot.
  OpenCvBackend backend{};
  int index = -1;
  std::string friendly_name;    ///< display name, UTF-8
  std::string device_path;      ///< exactly as the backend reported it, UTF-8
  std::string normalized_path;  ///< normalize_windows_device_path(device_path)
  WindowsUsbIdentity identity;  ///< parse_windows_usb_identity(normalized_path)
};

// Builds a candidate from what a backend listing reports, deriving the canonical path and the
// identity, so every listing (real or simulated) derives them the same way.
[[nodiscard]] WinOpenCvCameraCandidate make_backend_candidate(OpenCvBackend backend, int index,
                                                              std::string friendly_name, std::string device_path);

}  // namespace tovanel::uvc_stereo::win_detail
