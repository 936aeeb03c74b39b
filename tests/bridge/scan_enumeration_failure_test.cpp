#include <gtest/gtest.h>

#include <vector>

#include "scripted_vendor_library.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/records.h"

namespace tovanel::uvc_stereo {
namespace {

// A library that counts a camera and then reports the enumeration as failed: the scan hands
// the enumeration's failure on unchanged, after closing its session.
TEST(ScanDevicesEnumerationFailure, IsReturnedUnchangedAfterTheSessionCloses) {
  enumeration_testing::ScriptedLibrary library;
  library.enum_succeeds = false;
  library.reported_count = 1;
  library.error_code = SonixLib::ecEnumDeviceFail;
  Result<std::vector<DeviceInfo>> devices = [&library] {
    const enumeration_testing::ScriptedLibraryInstall install(library);
    return scan_devices();
  }();

  ASSERT_FALSE(devices.ok());
  EXPECT_EQ(devices.status().code(), ErrorCode::PlatformError);
  EXPECT_EQ(devices.status().message(), "SonixCam_EnumCameras failed: vendor_code=ecEnumDeviceFail(3)");
  EXPECT_EQ(library.init_calls, 1);
  EXPECT_EQ(library.uninit_calls, 1);
  EXPECT_EQ(library.enum_calls, 1);
  EXPECT_TRUE(library.problems.empty()) << ::testing::PrintToString(library.problems);
}

}  // namespace
}  // namespace tovanel::uvc_stereo
