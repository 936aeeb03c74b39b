#include <atomic>

#include "win/capture_listing.h"

namespace tovanel::uvc_stereo::win_detail {
namespace {

std::atomic<const CaptureListingSource*> g_source{nullptr};

}  // namespace

void install_capture_listing_source(const CaptureListingSource* source) noexcept {
  g_source.store(source, std::memory_order_release);
}

Result<std::vector<WinOpenCvCameraCandidate>> list_capture_candidates(OpenCvBackend backend) {
  if (const CaptureListingSource* source = g_source.load(std::memory_order_acquire); source != nullptr) {
    return source->list(backend);
  }
  return backend == OpenCvBackend::Dshow ? enumerate_dshow_backend_candidates() : enumerate_msmf_backend_candidates();
}

}  // namespace tovanel::uvc_stereo::win_detail
