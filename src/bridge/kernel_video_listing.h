#pragma once

#include "uvc_stereo/camera_access.h"

namespace tovanel::uvc_stereo::detail::bridge {

// What the platform's kernel shows of the video devices, when the kernel is what serves
// the cameras: on Linux, with the platform's own backend or a kernel table installed in
// its place; not available (with the note) on Windows and while another backend (a
// simulated rig) serves them. Takes the vendor lock, under which the kernel table is used.
[[nodiscard]] KernelVideoListing kernel_video_listing();

}  // namespace tovanel::uvc_stereo::detail::bridge
