#include "bridge/backends/linux_video_devices.h"
#include "bridge/kernel_video_listing.h"
#include "bridge/vendor_backend.h"
#include "uvc_stereo/vendor_lock.h"

namespace tovanel::uvc_stereo::detail::bridge {

KernelVideoListing kernel_video_listing() {
  // Another backend (a simulated rig) serves cameras of its own, which the kernel knows
  // nothing of.
  const VendorBackend& backend = active_vendor_backend();
  if (!backend.serves_kernel_nodes) {
    KernelVideoListing listing;
    listing.note = std::string("the cameras are served by the ") + backend.name + " backend, not by the kernel";
    return listing;
  }
  const win_detail::SonixGlobalLock lock;
  return list_linux_video_devices(active_linux_kernel());
}

}  // namespace tovanel::uvc_stereo::detail::bridge
