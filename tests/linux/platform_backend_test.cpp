// The Linux backend is the platform's own on Linux, and how its session starts.
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "bridge/backends/linux_backend.h"
#include "bridge/platform.h"
#include "bridge/vendor_status.h"
#include "linux/fake_kernel.h"
#include "linux/fake_kernel_platform.h"
#include "linux/linux_fixture.h"
#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/vendor_lock.h"

namespace tovanel::uvc_stereo::linux_testing {
namespace {

TEST(LinuxPlatformBackend, IsThePlatformBackendOnLinux) {
  EXPECT_EQ(&detail::bridge::platform_vendor_backend(), &detail::bridge::linux_vendor_backend());
  EXPECT_STREQ(detail::bridge::active_vendor_backend().name, "Linux UVC");
}

TEST(LinuxPlatformBackend, ASimulatedRigStillReplacesIt) {
  {
    const sim::SimulatedRig rig;
    EXPECT_STREQ(detail::bridge::active_vendor_backend().name, "simulated");
  }
  EXPECT_STREQ(detail::bridge::active_vendor_backend().name, "Linux UVC");
}

class LinuxSessionStart : public ::testing::Test {
 protected:
  void install(const detail::bridge::LinuxKernel& kernel) { override_.emplace(fake_kernel_platform(kernel)); }
  [[nodiscard]] static std::string init_failure() {
    const win_detail::SonixGlobalLock lock;
    if (SonixCam_Init()) {
      EXPECT_TRUE(SonixCam_UnInit());
      return "started";
    }
    return win_detail::make_vendor_status(ErrorCode::DeviceUnavailable, "SonixCam_Init", nullptr).message();
  }

  FakeKernel kernel_;
  std::optional<detail::bridge::PlatformOverride> override_;
};

TEST_F(LinuxSessionStart, NoCameraIsNotFindDevice) {
  install(kernel_.table());
  EXPECT_EQ(init_failure(), "SonixCam_Init failed: vendor_code=ecNotFindDevice(4)");
}

TEST_F(LinuxSessionStart, NoVideoClassIsNotFindDeviceToo) {
  kernel_.remove_video_class();
  install(kernel_.table());
  EXPECT_EQ(init_failure(), "SonixCam_Init failed: vendor_code=ecNotFindDevice(4)");
}

TEST_F(LinuxSessionStart, NoSysfsAtAllIsLibInitFail) {
  detail::bridge::LinuxKernel without_sysfs = kernel_.table();
  const std::string missing = (kernel_.sysfs_root() / "not-mounted").string();
  without_sysfs.sysfs_root = missing.c_str();
  install(without_sysfs);
  EXPECT_EQ(init_failure(), "SonixCam_Init failed: vendor_code=ecLibInitFail(2)");
}

TEST_F(LinuxSessionStart, ASupportedCameraStartsASessionThatNests) {
  kernel_.add_camera(supported_camera("SN0001", "1-2", 0));
  install(kernel_.table());
  const win_detail::SonixGlobalLock lock;
  ASSERT_TRUE(SonixCam_Init());
  ASSERT_TRUE(SonixCam_Init());
  EXPECT_TRUE(SonixCam_UnInit());
  EXPECT_TRUE(SonixCam_UnInit());
  EXPECT_FALSE(SonixCam_UnInit());  // no session left to end
}

TEST_F(LinuxSessionStart, DeviceOperationsOutsideASessionFail) {
  kernel_.add_camera(supported_camera("SN0001", "1-2", 0));
  install(kernel_.table());
  const win_detail::SonixGlobalLock lock;
  SonixLib::scDevice_t devices[2] = {};
  std::int32_t count = 7;
  EXPECT_FALSE(SonixCam_EnumCameras(&count, devices, 2));
  EXPECT_EQ(count, 0);
  std::uint8_t bytes[4] = {};
  EXPECT_FALSE(SonixCam_GetDevDescriptor(&devices[0], 0, bytes, 4, 0, 0));
  EXPECT_EQ(win_detail::make_vendor_status(ErrorCode::PlatformError, nullptr, nullptr).message(),
            "Sonix API failed: vendor_code=ecLibInitFail(2)");
}

}  // namespace
}  // namespace tovanel::uvc_stereo::linux_testing
