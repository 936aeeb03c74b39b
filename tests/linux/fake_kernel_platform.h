#pragma once

#include "bridge/backends/linux_backend.h"
#include "bridge/linux_kernel.h"
#include "bridge/platform_table.h"
#include "bridge/vendor_backend.h"

// How the tests and benchmarks of the Linux backend put it on a fake kernel: one platform table, installed with a
// detail::bridge::PlatformOverride for as long as the fake lives.
namespace tovanel::uvc_stereo::linux_testing {

// The platform that runs `backend` (the Linux backend, or a wrapper that audits it) over `kernel`, with the camera's
// settling pauses observed rather than spent. Every other entry stays the platform's own.
[[nodiscard]] detail::bridge::PlatformTable fake_kernel_platform(
    const detail::bridge::LinuxKernel& kernel,
    const detail::bridge::VendorBackend& backend = detail::bridge::linux_vendor_backend());

}  // namespace tovanel::uvc_stereo::linux_testing
