#pragma once

#include <string>

#include "linux/fake_kernel.h"

namespace tovanel::uvc_stereo::linux_testing {

// A camera of the first supported model with the capability report the rig's cameras carry: a BMI088 read through
// extension unit 4, selector 10, 17 bytes a read.
[[nodiscard]] FakeUvcCamera supported_camera(const std::string& serial, const std::string& bus_name, int capture_node);

// The supported camera "SN0001" whose nodes this account may not open: opening them fails with EACCES.
[[nodiscard]] FakeUvcCamera forbidden_camera(const std::string& bus_name, int capture_node);

// A USB webcam of another maker (046d:0825, serial "WEB01"): a video device, but not one of the SDK's cameras.
[[nodiscard]] FakeUvcCamera other_makers_webcam(const std::string& bus_name, int capture_node);

}  // namespace tovanel::uvc_stereo::linux_testing
