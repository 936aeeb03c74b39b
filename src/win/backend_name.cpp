#include "uvc_stereo/backend.h"

namespace tovanel::uvc_stereo {

std::string_view opencv_backend_name(OpenCvBackend backend) noexcept {
  switch (backend) {
    case OpenCvBackend::V4l2:
      return "CAP_V4L2";
    case OpenCvBackend::Dshow:
      return "CAP_DSHOW";
    case OpenCvBackend::Msmf:
      return "CAP_MSMF";
    case OpenCvBackend::Gstreamer:
      return "CAP_GSTREAMER";
  }
  // Values arrive from callers and logs as plain integers, so anything unnamed is expected here.
  return "CAP_UNKNOWN";
}

}  // namespace tovanel::uvc_stereo
