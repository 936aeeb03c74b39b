#include "uvc-stereo/version_output.h"

#include "uvc_stereo/platform_info.h"
#include "uvc_stereo/version.h"

namespace tovanel::uvc_stereo::cli {

void print_versions(std::ostream& out) {
  out << "uvc-stereo " << UVC_STEREO_VERSION_STRING << "\n"
      << "SDK library " << library_version() << "\n"
      << "vendor library: " << vendor_library_version() << "\n";
}

}  // namespace tovanel::uvc_stereo::cli
