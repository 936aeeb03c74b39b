#include "sim/capture_listing.h"

#include <string>

#include "core/format.h"
#include "sim/registry.h"

namespace tovanel::uvc_stereo::sim {
namespace {

Result<std::vector<win_detail::WinOpenCvCameraCandidate>> list_simulated(OpenCvBackend backend) {
  std::vector<win_detail::WinOpenCvCameraCandidate> candidates;
  const RigAccess access;
  const SimulatedRig::State* rig = access.state();
  // Only the two Windows capture backends list devices.
  if (rig == nullptr || (backend != OpenCvBackend::Msmf && backend != OpenCvBackend::Dshow)) {
    return candidates;
  }
  if (rig->failing_listings.count(backend) != 0) {
    const std::string_view name = opencv_backend_name(backend);
    return Status(ErrorCode::PlatformError, detail::format_fixed<256>("simulated %.*s device listing failed",
                                                                      static_cast<int>(name.size()), name.data()));
  }
  const auto devices = rig->capture_devices.find(backend);
  if (devices == rig->capture_devices.end()) {
    return candidates;
  }
  candidates.reserve(devices->second.size());
  for (const SimulatedCaptureDevice& device : devices->second) {
    candidates.push_back(win_detail::make_backend_candidate(backend, static_cast<int>(candidates.size()),
                                                            device.friendly_name, device.device_path));
  }
  return candidates;
}

constexpr detail::bridge::CaptureListingSource kSimulatedListing = {list_simulated};

}  // namespace

const detail::bridge::CaptureListingSource& simulated_capture_listing_source() noexcept { return kSimulatedListing; }

}  // namespace tovanel::uvc_stereo::sim
