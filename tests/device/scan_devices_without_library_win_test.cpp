#include <gtest/gtest.h>

#include <vector>

#include "bridge/process_lock.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/records.h"

namespace tovanel::uvc_stereo {
namespace {

// This program runs without SonixCamera.dll beside it or on the search path: a scan finds
// the vendor library unable to start, which is an error of the scan, not "no camera".
TEST(ScanDevicesWithoutVendorLibrary, IsAPlatformErrorNamingLibInitFail) {
  Result<std::vector<DeviceInfo>> devices = scan_devices();
  ASSERT_FALSE(devices.ok());
  EXPECT_EQ(devices.status().code(), ErrorCode::PlatformError);
  EXPECT_EQ(devices.status().message(), "SonixCam_Init failed: vendor_code=ecLibInitFail(2)");
  EXPECT_FALSE(detail::bridge::process_lock_held_by_this_thread());
}

}  // namespace
}  // namespace tovanel::uvc_stereo
