#pragma once

#include "bridge/vendor_backend.h"

namespace tovanel::uvc_stereo::sim {

// The vendor backend that serves calls from the active simulated rig.
[[nodiscard]] const detail::bridge::VendorBackend& simulated_vendor_backend() noexcept;

}  // namespace tovanel::uvc_stereo::sim
