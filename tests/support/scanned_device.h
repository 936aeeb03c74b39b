#pragma once

#include <string>

#include "uvc_stereo/records.h"

namespace tovanel::uvc_stereo::test_support {

// The record a scan gives for the camera with serial number `serial`; the test fails when the scan fails or does
// not list that camera.
[[nodiscard]] DeviceInfo scanned_device(const std::string& serial);

}  // namespace tovanel::uvc_stereo::test_support
