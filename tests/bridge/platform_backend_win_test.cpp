#include <gtest/gtest.h>

#include "bridge/os/windows_api_win.h"
#include "bridge/vendor_backend.h"
#include "bridge/vendor_status.h"
#include "uvc_stereo/vendor_lock.h"

// This program is built without SonixCamera.dll beside it or on the search path, as on a
// machine where the camera vendor's library was never installed.
namespace tovanel::uvc_stereo::detail::bridge {
namespace {

TEST(PlatformVendorBackendOnWindows, WithoutTheVendorLibraryIsTheUnavailableBackend) {
  EXPECT_EQ(&platform_vendor_backend(), &unavailable_vendor_backend());
  EXPECT_STREQ(platform_vendor_backend().name, "unavailable");
  EXPECT_EQ(GetModuleHandleW(L"SonixCamera.dll"), nullptr) << "nothing of that name was loaded";
}

TEST(PlatformVendorBackendOnWindows, WithoutTheVendorLibraryInitFailsWithLibInitFail) {
  const win_detail::SonixGlobalLock lock;
  EXPECT_FALSE(SonixCam_Init());
  EXPECT_EQ(win_detail::get_vendor_error_code(nullptr), SonixLib::ecLibInitFail);
  EXPECT_EQ(win_detail::make_vendor_status(ErrorCode::DeviceUnavailable, "SonixCam_Init", nullptr).message(),
            "SonixCam_Init failed: vendor_code=ecLibInitFail(2)");
}

}  // namespace
}  // namespace tovanel::uvc_stereo::detail::bridge
