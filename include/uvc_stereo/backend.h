#pragma once

#include <cstdint>
#include <string_view>

#include "uvc_stereo/export.h"

namespace tovanel::uvc_stereo {

/// Capture backends, numbered as OpenCV's capture-API constants of the same names,
/// so a value can be passed straight to cv::VideoCapture.
enum class OpenCvBackend : std::int32_t {
  V4l2 = 200,
  Dshow = 700,
  Msmf = 1400,
  Gstreamer = 1800,
};

/// "CAP_V4L2", "CAP_DSHOW", "CAP_MSMF", "CAP_GSTREAMER"; "CAP_UNKNOWN" for anything else.
[[nodiscard]] UVC_STEREO_API std::string_view opencv_backend_name(OpenCvBackend backend) noexcept;

}  // namespace tovanel::uvc_stereo
