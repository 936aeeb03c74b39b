#include <gtest/gtest.h>

#include "uvc_stereo/vendor_lock.h"
#include "bridge/vendor_backend.h"
#include "bridge/vendor_status.h"

namespace tovanel::uvc_stereo::vendor {
namespace {

// Without the vendor's Windows library there is nothing to open, with no rig installed.
TEST(PlatformVendorBackend, IsUnavailableOffWindows) {
  EXPECT_STREQ(platform_vendor_backend().name, "unavailable");
  EXPECT_STREQ(active_vendor_backend().name, "unavailable");
  const win_detail::SonixGlobalLock lock;
  EXPECT_FALSE(SonixCam_Init());
  EXPECT_EQ(win_detail::make_vendor_status(ErrorCode::DeviceUnavailable, "SonixCam_Init", nullptr).message(),
            "SonixCam_Init failed: vendor_code=ecLibInitFail(2)");
}

}  // namespace
}  // namespace tovanel::uvc_stereo::vendor
