#pragma once

#include "bridge/os/capture_listing.h"

namespace tovanel::uvc_stereo::sim {

// Stands in for the DirectShow and Media Foundation listings with the active rig's
// capture devices, so scans get backend indices without Windows.
[[nodiscard]] const detail::bridge::CaptureListingSource& simulated_capture_listing_source() noexcept;

}  // namespace tovanel::uvc_stereo::sim
