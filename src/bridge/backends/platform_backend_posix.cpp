#include "bridge/vendor_backend.h"

namespace tovanel::uvc_stereo::vendor {

// The camera vendor ships its library for Windows only.
const VendorBackend& platform_vendor_backend() noexcept { return unavailable_vendor_backend(); }

}  // namespace tovanel::uvc_stereo::vendor
