#include <gtest/gtest.h>

#include <vector>

#include "uvc_stereo/device.h"
#include "uvc_stereo/records.h"
#include "bridge/process_lock.h"

namespace tovanel::uvc_stereo {
namespace {

// Off Windows the camera vendor ships no library, so with no simulated rig plugged in a scan
// finds the library unable to start.
TEST(ScanDevicesWithoutLibrary, IsAPlatformErrorNamingLibInitFail) {
  Result<std::vector<DeviceInfo>> devices = scan_devices();
  ASSERT_FALSE(devices.ok());
  EXPECT_EQ(devices.status().code(), ErrorCode::PlatformError);
  EXPECT_EQ(devices.status().message(), "SonixCam_Init failed: vendor_code=ecLibInitFail(2)");
  EXPECT_FALSE(vendor::process_lock_held_by_this_thread());
}

TEST(ScanDevicesWithoutLibrary, FailsTheSameWayWithAFilter) {
  DeviceScanFilter filter;
  filter.require_serial_number = true;
  Result<std::vector<DeviceInfo>> devices = scan_devices(filter);
  ASSERT_FALSE(devices.ok());
  EXPECT_EQ(devices.status().code(), ErrorCode::PlatformError);
  EXPECT_EQ(devices.status().message(), "SonixCam_Init failed: vendor_code=ecLibInitFail(2)");
}

}  // namespace
}  // namespace tovanel::uvc_stereo
