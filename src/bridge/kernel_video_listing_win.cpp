#include "bridge/kernel_video_listing.h"

namespace tovanel::uvc_stereo::detail::bridge {

// Windows grants every account its cameras; the vendor library reaches them through the
// system's own drivers, so there is no node to list.
KernelVideoListing kernel_video_listing() {
  KernelVideoListing listing;
  listing.note = "the kernel's video device listing is Linux-only";
  return listing;
}

}  // namespace tovanel::uvc_stereo::detail::bridge
