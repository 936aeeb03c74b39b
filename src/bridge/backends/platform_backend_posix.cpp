#include "bridge/backends/linux_backend.h"
#include "bridge/vendor_backend.h"

namespace tovanel::uvc_stereo::detail::bridge {

// The camera vendor ships its library for Windows only; on Linux the kernel's UVC driver
// serves everything but the serial flash.
const VendorBackend& platform_vendor_backend() noexcept { return linux_vendor_backend(); }

std::string platform_vendor_library_version() { return "none (the kernel's UVC driver)"; }

}  // namespace tovanel::uvc_stereo::detail::bridge
