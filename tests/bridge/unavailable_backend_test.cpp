#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "bridge/platform.h"
#include "bridge/vendor_backend.h"
#include "bridge/vendor_status.h"
#include "uvc_stereo/vendor_lock.h"

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

// Makes the unavailable backend the active one for a test, whatever the platform's own is.
class UnavailableBackendTest : public ::testing::Test {
 protected:
  void SetUp() override { installed_.emplace(replacing_vendor_backend(unavailable_vendor_backend())); }
  void TearDown() override { installed_.reset(); }

  std::optional<PlatformOverride> installed_;
};

TEST_F(UnavailableBackendTest, InitFailsAndTheStatusNamesLibInitFail) {
  const win_detail::SonixGlobalLock lock;
  EXPECT_STREQ(active_vendor_backend().name, "unavailable");
  EXPECT_FALSE(SonixCam_Init());
  const Status status = win_detail::make_vendor_status(ErrorCode::DeviceUnavailable, "SonixCam_Init", nullptr);
  EXPECT_EQ(status.code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(status.message(), "SonixCam_Init failed: vendor_code=ecLibInitFail(2)");
}

TEST_F(UnavailableBackendTest, EveryDeviceOperationFails) {
  const win_detail::SonixGlobalLock lock;
  SonixLib::scDevice_t device{};
  std::vector<SonixLib::scDevice_t> devices(2);
  std::int32_t count = 5;
  EXPECT_FALSE(SonixCam_EnumCameras(&count, devices.data(), 2));
  EXPECT_EQ(count, 0);
  std::uint8_t buffer[64] = {};
  char text[16] = {};
  SonixLib::SERIAL_FLASH_TYPE type = 0;
  const std::uint8_t guid[16] = {};
  EXPECT_FALSE(SonixCam_UnInit());
  EXPECT_FALSE(SonixCam_GetDevDescriptor(&device, 0, buffer, 4, 0, 0));
  EXPECT_FALSE(SonixCam_SetNodeID(&device, 4, guid));
  EXPECT_FALSE(SonixCam_XuRead(&device, buffer, 64, 11, 4));
  EXPECT_FALSE(SonixCam_GetVersion(&device, text, sizeof(text), 0));
  EXPECT_FALSE(SonixCam_GetSerialFlashType(&device, &type));
  EXPECT_FALSE(SonixCam_CstmReadFromSF(&device, 0, buffer, 1));
  EXPECT_FALSE(SonixCam_WriteToSF(&device, 0, buffer, 1));
  EXPECT_FALSE(SonixCam_SectorEraseSF(&device, 0, 0x20));
  EXPECT_FALSE(SonixCam_SetWriteProtectedSF(&device, 1, 1));
  EXPECT_FALSE(SonixCam_SetStatusRegBitWP(&device, 2, 5, 1, 6, 2, 3));
  EXPECT_EQ(win_detail::get_vendor_error_code(&device), SonixLib::ecLibInitFail);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::detail::bridge
