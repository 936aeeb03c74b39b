#include "linux/fake_kernel_platform.h"

#include <chrono>

namespace tovanel::uvc_stereo::linux_testing {
namespace {

void no_pause(std::chrono::milliseconds, void*) {}
constexpr detail::bridge::PauseHook kNoPause = {no_pause, nullptr};

}  // namespace

detail::bridge::PlatformTable fake_kernel_platform(const detail::bridge::LinuxKernel& kernel,
                                                   const detail::bridge::VendorBackend& backend) {
  detail::bridge::PlatformTable table;
  table.pause = &kNoPause;
  table.vendor_backend = &backend;
  table.linux_kernel = &kernel;
  return table;
}

}  // namespace tovanel::uvc_stereo::linux_testing
