#include "bridge/platform_table.h"
#include "bridge/vendor_backend.h"
#include "uvc_stereo/platform_info.h"

#ifndef UVC_STEREO_LIBRARY_VERSION
#error "the build passes the project version as UVC_STEREO_LIBRARY_VERSION"
#endif

namespace tovanel::uvc_stereo {

const char* library_version() noexcept { return UVC_STEREO_LIBRARY_VERSION; }

std::string vendor_library_version() {
  // A replaced backend (the simulated rig, a test's stand-in) serves every operation
  // instead of the platform's library, so that library is not what cameras are reached by.
  const detail::bridge::VendorBackend* replacement = detail::bridge::installed_platform().vendor_backend;
  if (replacement != nullptr) {
    return std::string("none (the ") + replacement->name + " backend)";
  }
  return detail::bridge::platform_vendor_library_version();
}

}  // namespace tovanel::uvc_stereo
