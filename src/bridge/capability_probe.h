#pragma once

#include "capability/capability_probe_result.h"
#include "uvc_stereo/records.h"

namespace tovanel::uvc_stereo::detail {

// Reads the 64-byte capability report of `device` in a vendor session of its own and classifies it. Every
// failure, exceptions included, comes back as a result with legacy_fallback set and the reason in its status.
[[nodiscard]] XuCapabilityProbeResult probe_xu_capability(const DeviceInfo& device);

}  // namespace tovanel::uvc_stereo::detail
