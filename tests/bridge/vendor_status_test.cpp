#include "bridge/vendor_status.h"

#include <gtest/gtest.h>

#include <string>

#include "bridge/vendor_error_names.h"
#include "sim/simulated_rig_fixture.h"
#include "uvc_stereo/simulated_rig.h"

namespace tovanel::uvc_stereo::win_detail {
namespace {

using sim::rig_testing::enumerate_records;
using sim::rig_testing::LockedSession;
using sim::rig_testing::supported_camera;

// The library is made to report a chosen code by failing one SonixCam_Init with it.
class VendorStatusTest : public ::testing::Test {
 protected:
  void SetUp() override { rig_.add_camera(supported_camera("VS1")); }

  void fail_init_with(std::int32_t vendor_code, bool error_code_query_fails = false) {
    rig_.add_fault({"SonixCam_Init", 1, 1, vendor_code, error_code_query_fails});
    ASSERT_FALSE(SonixCam_Init());
  }

  void TearDown() override {
    EXPECT_TRUE(rig_.violations().empty()) << ::testing::PrintToString(rig_.violations());
    EXPECT_EQ(rig_.open_sessions(), 0);
  }

  sim::SimulatedRig rig_;
};

TEST_F(VendorStatusTest, NamesTheCallAndTheVendorsErrorAndKeepsTheCallersCode) {
  const SonixGlobalLock lock;
  fail_init_with(SonixLib::ecLibInitFail);
  const Status status = make_vendor_status(ErrorCode::DeviceUnavailable, "SonixCam_Init", nullptr);
  EXPECT_EQ(status.code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(status.message(), "SonixCam_Init failed: vendor_code=ecLibInitFail(2)");
}

TEST_F(VendorStatusTest, NoCameraReadsAsNotFindDeviceWhateverCodeTheCallerChose) {
  rig_.unplug(0);
  const SonixGlobalLock lock;
  ASSERT_FALSE(SonixCam_Init());
  const Status status = make_vendor_status(ErrorCode::PlatformError, "SonixCam_Init", nullptr);
  EXPECT_EQ(status.code(), ErrorCode::PlatformError);
  EXPECT_EQ(status.message(), "SonixCam_Init failed: vendor_code=ecNotFindDevice(4)");
  EXPECT_TRUE(is_no_device_error(get_vendor_error_code(nullptr)));
}

TEST_F(VendorStatusTest, NoCallNameAndNoDeviceWithCode21ReadsSonixApi) {
  const SonixGlobalLock lock;
  fail_init_with(21);
  const Status status = make_vendor_status(ErrorCode::DeviceUnavailable, nullptr, nullptr);
  EXPECT_EQ(status.code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(status.message(), "Sonix API failed: vendor_code=ecUnknowPowerOnAreaInSF(21)");
}

TEST_F(VendorStatusTest, CodeJustPastTheTableReadsUnknownWithItsNumber) {
  const SonixGlobalLock lock;
  fail_init_with(22);
  EXPECT_EQ(get_vendor_error_code(nullptr), 22);
  EXPECT_EQ(make_vendor_status(ErrorCode::DeviceUnavailable, "SonixCam_Init", nullptr).message(),
            "SonixCam_Init failed: vendor_code=unknown(22)");
}

TEST_F(VendorStatusTest, NegativeCodeReadsUnknownWithItsSign) {
  const SonixGlobalLock lock;
  fail_init_with(-1);
  EXPECT_EQ(get_vendor_error_code(nullptr), -1);
  EXPECT_EQ(make_vendor_status(ErrorCode::DeviceUnavailable, "SonixCam_Init", nullptr).message(),
            "SonixCam_Init failed: vendor_code=unknown(-1)");
}

TEST_F(VendorStatusTest, FailedErrorCodeQueryReadsZeroWhateverTheLibraryWrote) {
  const SonixGlobalLock lock;
  fail_init_with(SonixLib::ecDeviceDisconnect, true);
  SonixLib::scErrorCode_t written = SonixLib::ecUnknow;
  ASSERT_FALSE(SonixCam_GetErrorCode(nullptr, &written));
  ASSERT_EQ(written, SonixLib::ecDeviceDisconnect) << "the library did write a code";
  EXPECT_EQ(get_vendor_error_code(nullptr), SonixLib::ecUnknow);
  EXPECT_EQ(make_vendor_status(ErrorCode::DeviceUnavailable, "SonixCam_Init", nullptr).message(),
            "SonixCam_Init failed: vendor_code=ecUnknow(0)");
}

TEST_F(VendorStatusTest, FaultedErrorCodeQueryItselfAlsoReadsZero) {
  const SonixGlobalLock lock;
  fail_init_with(SonixLib::ecSyncTransTimeOut);
  rig_.add_fault({"SonixCam_GetErrorCode", 1, 1, SonixLib::ecBurnCheckFail, false});
  EXPECT_EQ(get_vendor_error_code(nullptr), SonixLib::ecUnknow);
}

TEST_F(VendorStatusTest, ErrorCodeIsAskedForTheGivenDevice) {
  {
    const LockedSession session;
    auto records = enumerate_records();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_FALSE(SonixCam_SectorEraseSF(&records[0], 0x51000, 0x20));  // still write-protected
    const Status status = make_vendor_status(ErrorCode::EraseFailed, "SonixCam_SectorEraseSF", &records[0]);
    EXPECT_EQ(status.code(), ErrorCode::EraseFailed);
    EXPECT_EQ(status.message(), "SonixCam_SectorEraseSF failed: vendor_code=ecSectorEraseFail(10)");
    EXPECT_EQ(get_vendor_error_code(nullptr), SonixLib::ecSectorEraseFail);
  }
  const auto queries = sim::rig_testing::calls_named(rig_, "SonixCam_GetErrorCode");
  ASSERT_EQ(queries.size(), 2u);
  EXPECT_EQ(queries[0].camera, 0);
  EXPECT_EQ(queries[1].camera, -1);
}

TEST_F(VendorStatusTest, DisconnectIsReportedButIsNotNoDevice) {
  const LockedSession session;
  auto records = enumerate_records();
  rig_.unplug(0);
  SonixLib::SERIAL_FLASH_TYPE type = 0;
  EXPECT_FALSE(SonixCam_GetSerialFlashType(&records[0], &type));
  const SonixLib::scErrorCode_t code = get_vendor_error_code(&records[0]);
  EXPECT_EQ(code, SonixLib::ecDeviceDisconnect);
  EXPECT_FALSE(is_no_device_error(code));
  EXPECT_EQ(make_vendor_status(ErrorCode::DeviceUnavailable, "SonixCam_GetSerialFlashType", &records[0]).message(),
            "SonixCam_GetSerialFlashType failed: vendor_code=ecDeviceDisconnect(7)");
}

TEST_F(VendorStatusTest, MessageIsCutAt255Characters) {
  const SonixGlobalLock lock;
  fail_init_with(SonixLib::ecLibInitFail);
  const std::string long_name(300, 'N');
  const Status status = make_vendor_status(ErrorCode::PlatformError, long_name.c_str(), nullptr);
  EXPECT_EQ(status.message(), std::string(255, 'N'));

  // Near the edge: the tail of the text is what is lost.
  const std::string edge_name(230, 'E');
  const std::string full = edge_name + " failed: vendor_code=ecLibInitFail(2)";
  ASSERT_GT(full.size(), 255u);
  EXPECT_EQ(make_vendor_status(ErrorCode::PlatformError, edge_name.c_str(), nullptr).message(), full.substr(0, 255));
}

}  // namespace
}  // namespace tovanel::uvc_stereo::win_detail
