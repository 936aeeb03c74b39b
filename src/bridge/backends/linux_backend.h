#pragma once

#include "bridge/vendor_backend.h"

namespace tovanel::uvc_stereo::detail::bridge {

// The vendor operations on the Linux kernel's UVC driver (through active_linux_kernel()):
// scanning, descriptors, the extension unit and so the capability report and the IMU.
// The serial flash and the firmware version are reached only through the vendor's own
// library; here they fail with kLinuxNoVendorLibraryCode.
[[nodiscard]] const VendorBackend& linux_vendor_backend() noexcept;

// What GetErrorCode reports after a firmware-version or serial-flash call on Linux:
// "ecGetKsControlFail", as when the vendor library cannot reach the chip's control.
inline constexpr SonixLib::scErrorCode_t kLinuxNoVendorLibraryCode = SonixLib::ecGetKsControlFail;

}  // namespace tovanel::uvc_stereo::detail::bridge
