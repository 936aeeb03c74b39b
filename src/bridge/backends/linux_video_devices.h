#pragma once

#include "bridge/linux_kernel.h"
#include "uvc_stereo/camera_access.h"

namespace tovanel::uvc_stereo::detail::bridge {

// What `kernel` shows of the USB video devices: every USB device with a video node under
// a video interface, its nodes' ownership and whether each opens as the backend opens it
// (each is closed again at once), and where udev's directories below the kernel's system
// root hold the SDK's rule. Not available (with the note) when sysfs cannot be read.
// Called with the vendor lock held, as every use of the kernel table is.
[[nodiscard]] KernelVideoListing list_linux_video_devices(const LinuxKernel& kernel);

}  // namespace tovanel::uvc_stereo::detail::bridge
