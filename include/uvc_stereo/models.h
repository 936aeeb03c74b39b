#pragma once

#include <cstdint>
#include <vector>

#include "uvc_stereo/export.h"

namespace tovanel::uvc_stereo {

/// The USB identity of one supported camera model.
struct CameraModelId {
  std::uint16_t vendor_id = 0;   ///< USB vendor id
  std::uint16_t product_id = 0;  ///< USB product id
};

/// The camera models this SDK supports, in the order scans check them: exactly the cameras
/// that scan_devices lists and open_device accepts.
[[nodiscard]] UVC_STEREO_API std::vector<CameraModelId> supported_camera_models();

}  // namespace tovanel::uvc_stereo
