#include <gtest/gtest.h>

#include <vector>

#include "bridge/platform.h"
#include "bridge/process_lock.h"
#include "bridge/vendor_backend.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/records.h"

namespace tovanel::uvc_stereo {
namespace {

// A platform whose vendor library cannot start (Windows without SonixCamera.dll): a scan
// finds the library unable to start. Linux's own backend replaced by the unavailable one.
class ScanDevicesWithoutLibrary : public ::testing::Test {
 protected:
  const detail::bridge::PlatformOverride unavailable_{
      detail::bridge::replacing_vendor_backend(detail::bridge::unavailable_vendor_backend())};
};

TEST_F(ScanDevicesWithoutLibrary, IsAPlatformErrorNamingLibInitFail) {
  Result<std::vector<DeviceInfo>> devices = scan_devices();
  ASSERT_FALSE(devices.ok());
  EXPECT_EQ(devices.status().code(), ErrorCode::PlatformError);
  EXPECT_EQ(devices.status().message(), "SonixCam_Init failed: vendor_code=ecLibInitFail(2)");
  EXPECT_FALSE(detail::bridge::process_lock_held_by_this_thread());
}

TEST_F(ScanDevicesWithoutLibrary, FailsTheSameWayWithAFilter) {
  DeviceScanFilter filter;
  filter.require_serial_number = true;
  Result<std::vector<DeviceInfo>> devices = scan_devices(filter);
  ASSERT_FALSE(devices.ok());
  EXPECT_EQ(devices.status().code(), ErrorCode::PlatformError);
  EXPECT_EQ(devices.status().message(), "SonixCam_Init failed: vendor_code=ecLibInitFail(2)");
}

}  // namespace
}  // namespace tovanel::uvc_stereo
