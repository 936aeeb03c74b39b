#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "simulated_rig_fixture.h"
#include "uvc_stereo/simulated_rig.h"

namespace tovanel::uvc_stereo::sim {
namespace {

using rig_testing::calls_named;
using rig_testing::enumerate_records;
using rig_testing::LockedSession;
using rig_testing::reported_vendor_code;
using rig_testing::supported_camera;

class SimulatedRigFaultTest : public ::testing::Test {
 protected:
  void SetUp() override { camera_ = rig_.add_camera(supported_camera("F1")); }

  // Asks for the flash type once; true when the call succeeded.
  static bool flash_type_call(SonixLib::scDevice_t& record) {
    SonixLib::SERIAL_FLASH_TYPE type = 0;
    return SonixCam_GetSerialFlashType(&record, &type);
  }

  SimulatedRig rig_;
  int camera_ = -1;
};

TEST_F(SimulatedRigFaultTest, FaultFailsTheNthUseCountedFromWhenItWasAdded) {
  const LockedSession session;
  auto records = enumerate_records();
  ASSERT_TRUE(flash_type_call(records[0]));  // before the fault: not counted
  rig_.add_fault({"SonixCam_GetSerialFlashType", 2, 1, SonixLib::ecSyncTransTimeOut, false});
  EXPECT_TRUE(flash_type_call(records[0]));
  EXPECT_FALSE(flash_type_call(records[0]));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecSyncTransTimeOut);
  EXPECT_TRUE(flash_type_call(records[0]));
}

TEST_F(SimulatedRigFaultTest, FaultFailsAsManyConsecutiveUsesAsItsTimes) {
  const LockedSession session;
  auto records = enumerate_records();
  rig_.add_fault({"SonixCam_GetSerialFlashType", 1, 3, SonixLib::ecGetKsControlFail, false});
  EXPECT_FALSE(flash_type_call(records[0]));
  EXPECT_FALSE(flash_type_call(records[0]));
  EXPECT_FALSE(flash_type_call(records[0]));
  EXPECT_TRUE(flash_type_call(records[0]));
}

TEST_F(SimulatedRigFaultTest, FaultWithTimesZeroFailsEveryUseFromItsNth) {
  const LockedSession session;
  auto records = enumerate_records();
  rig_.add_fault({"SonixCam_GetSerialFlashType", 2, 0, SonixLib::ecGetKsControlFail, false});
  EXPECT_TRUE(flash_type_call(records[0]));
  for (int i = 0; i < 20; ++i) {
    EXPECT_FALSE(flash_type_call(records[0])) << "use " << i + 2;
  }
}

TEST_F(SimulatedRigFaultTest, FaultOnOneCallLeavesOtherCallsAlone) {
  const LockedSession session;
  auto records = enumerate_records();
  rig_.add_fault({"SonixCam_XuRead", 1, 0, SonixLib::ecGetKsControlFail, false});
  EXPECT_TRUE(flash_type_call(records[0]));
  std::uint8_t buffer[64] = {};
  EXPECT_FALSE(SonixCam_XuRead(&records[0], buffer, 64, 11, 4));
}

TEST_F(SimulatedRigFaultTest, WildcardFaultCountsEveryCall) {
  const LockedSession session;
  auto records = enumerate_records();
  rig_.add_fault({"*", 3, 1, SonixLib::ecBurnCheckFail, false});
  std::uint8_t buffer[64] = {};
  EXPECT_TRUE(SonixCam_XuRead(&records[0], buffer, 64, 11, 4));   // use 1
  EXPECT_TRUE(flash_type_call(records[0]));                       // use 2
  EXPECT_FALSE(SonixCam_XuRead(&records[0], buffer, 64, 11, 4));  // use 3
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecBurnCheckFail);   // use 4, outside the window
}

TEST_F(SimulatedRigFaultTest, FaultedCallDoesNothing) {
  rig_.add_fault({"SonixCam_Init", 1, 1, SonixLib::ecCoInitializeEx, false});
  const LockedSession failed;
  EXPECT_FALSE(failed.opened());
  EXPECT_EQ(rig_.open_sessions(), 0);
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecCoInitializeEx);

  const LockedSession session;
  ASSERT_TRUE(session.opened());
  auto records = enumerate_records();
  std::uint8_t capability[64];
  std::memset(capability, 0x5A, sizeof(capability));
  rig_.add_fault({"SonixCam_XuRead", 1, 1, SonixLib::ecGetKsControlFail, false});
  EXPECT_FALSE(SonixCam_XuRead(&records[0], capability, 64, 11, 4));
  EXPECT_EQ(capability[0], 0x5A) << "a faulted read writes nothing";
}

TEST_F(SimulatedRigFaultTest, FaultedUnInitLeavesTheSessionOpen) {
  const win_detail::SonixGlobalLock lock;
  ASSERT_TRUE(SonixCam_Init());
  rig_.add_fault({"SonixCam_UnInit", 1, 1, SonixLib::ecUnknowPowerOnAreaInSF, false});
  EXPECT_FALSE(SonixCam_UnInit());
  EXPECT_EQ(rig_.open_sessions(), 1);
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecUnknowPowerOnAreaInSF);
  EXPECT_TRUE(SonixCam_UnInit());
  EXPECT_EQ(rig_.open_sessions(), 0);
}

TEST_F(SimulatedRigFaultTest, FaultedErrorCodeQueryFailsButStillWritesTheFaultsCode) {
  const win_detail::SonixGlobalLock lock;
  rig_.add_fault({"SonixCam_GetErrorCode", 1, 1, 17, false});
  SonixLib::scErrorCode_t code = SonixLib::ecUnknow;
  EXPECT_FALSE(SonixCam_GetErrorCode(nullptr, &code));
  EXPECT_EQ(code, 17);
}

TEST_F(SimulatedRigFaultTest, ErrorCodeQueryFailsAfterAFaultThatBreaksIt) {
  const LockedSession session;
  auto records = enumerate_records();
  rig_.add_fault({"SonixCam_GetSerialFlashType", 1, 1, SonixLib::ecDeviceDisconnect, true});
  EXPECT_FALSE(flash_type_call(records[0]));
  SonixLib::scErrorCode_t code = SonixLib::ecUnknow;
  EXPECT_FALSE(SonixCam_GetErrorCode(&records[0], &code));
  EXPECT_EQ(code, SonixLib::ecDeviceDisconnect);

  // The next ordinary failure makes the query work again.
  std::uint8_t buffer[64] = {};
  EXPECT_FALSE(SonixCam_XuRead(&records[0], buffer, 64, 99, 4));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecGetKsControlFail);
}

TEST_F(SimulatedRigFaultTest, ErrorCodeReportsTheMostRecentFailureAndSurvivesSuccesses) {
  const LockedSession session;
  auto records = enumerate_records();
  std::uint8_t buffer[64] = {};
  EXPECT_FALSE(SonixCam_XuRead(&records[0], buffer, 64, 99, 4));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecGetKsControlFail);
  EXPECT_TRUE(flash_type_call(records[0]));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecGetKsControlFail);
  EXPECT_FALSE(SonixCam_SectorEraseSF(&records[0], 0x51000, 0x20));  // still write-protected
  EXPECT_EQ(reported_vendor_code(&records[0]), SonixLib::ecSectorEraseFail);
}

TEST_F(SimulatedRigFaultTest, ClearFaultsDisarmsThemAll) {
  const LockedSession session;
  auto records = enumerate_records();
  rig_.add_fault({"*", 1, 0, SonixLib::ecGetKsControlFail, false});
  EXPECT_FALSE(flash_type_call(records[0]));
  rig_.clear_faults();
  EXPECT_TRUE(flash_type_call(records[0]));
}

TEST_F(SimulatedRigFaultTest, RecordsEveryCallWithItsArgumentsCameraOutcomeLockAndSessions) {
  {
    const LockedSession session;
    auto records = enumerate_records();
    std::uint8_t buffer[64] = {};
    EXPECT_TRUE(SonixCam_XuRead(&records[0], buffer, 64, 11, 4));
    EXPECT_FALSE(SonixCam_XuRead(&records[0], buffer, 17, 10, 9));
    EXPECT_TRUE(SonixCam_CstmReadFromSF(&records[0], 0x51000, buffer, 16));
  }
  const std::vector<VendorCall> calls = rig_.calls();
  ASSERT_EQ(rig_.call_names(),
            (std::vector<std::string>{"SonixCam_Init", "SonixCam_EnumCameras", "SonixCam_XuRead", "SonixCam_XuRead",
                                      "SonixCam_CstmReadFromSF", "SonixCam_UnInit"}));
  EXPECT_TRUE(calls[0].args.empty());
  EXPECT_EQ(calls[0].camera, -1);
  EXPECT_EQ(calls[0].open_sessions, 0);
  EXPECT_EQ(calls[1].args, (std::vector<std::int64_t>{64}));
  EXPECT_EQ(calls[1].open_sessions, 1);
  EXPECT_EQ(calls[2].args, (std::vector<std::int64_t>{64, 11, 4}));
  EXPECT_EQ(calls[2].camera, camera_);
  EXPECT_TRUE(calls[2].succeeded);
  EXPECT_EQ(calls[3].args, (std::vector<std::int64_t>{17, 10, 9}));
  EXPECT_FALSE(calls[3].succeeded);
  EXPECT_EQ(calls[4].args, (std::vector<std::int64_t>{0x51000, 16}));
  EXPECT_EQ(calls[5].open_sessions, 1);
  for (const VendorCall& call : calls) {
    EXPECT_TRUE(call.lock_held) << call.name;
  }
  EXPECT_TRUE(rig_.violations().empty());

  rig_.clear_calls();
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(SimulatedRigFaultTest, RecordsTheSixWriteProtectConstantsInOrder) {
  {
    const LockedSession session;
    auto records = enumerate_records();
    EXPECT_TRUE(SonixCam_SetStatusRegBitWP(&records[0], 2, 5, 1, 6, 2, 3));
    EXPECT_TRUE(SonixCam_SetWriteProtectedSF(&records[0], 1, 1));
    std::uint8_t descriptor[4] = {};
    EXPECT_TRUE(SonixCam_GetDevDescriptor(&records[0], 0, descriptor, 4, 0, 0));
  }
  EXPECT_EQ(calls_named(rig_, "SonixCam_SetStatusRegBitWP").at(0).args, (std::vector<std::int64_t>{2, 5, 1, 6, 2, 3}));
  EXPECT_EQ(calls_named(rig_, "SonixCam_SetWriteProtectedSF").at(0).args, (std::vector<std::int64_t>{1, 1}));
  EXPECT_EQ(calls_named(rig_, "SonixCam_GetDevDescriptor").at(0).args, (std::vector<std::int64_t>{0, 4, 0, 0}));
}

TEST_F(SimulatedRigFaultTest, CallWithoutTheVendorLockIsAViolation) {
  std::thread unlocked([] { static_cast<void>(SonixCam_Init()); });
  unlocked.join();
  const std::vector<VendorCall> calls = rig_.calls();
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_FALSE(calls[0].lock_held);
  ASSERT_EQ(rig_.violations().size(), 1u);
  EXPECT_EQ(rig_.violations()[0], "SonixCam_Init called without the vendor lock held");
  const win_detail::SonixGlobalLock lock;
  EXPECT_TRUE(SonixCam_UnInit());
}

TEST_F(SimulatedRigFaultTest, CallOutsideASessionIsAViolationAndFails) {
  const win_detail::SonixGlobalLock lock;
  std::int32_t count = 0;
  std::vector<SonixLib::scDevice_t> records(4);
  EXPECT_FALSE(SonixCam_EnumCameras(&count, records.data(), 4));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecLibInitFail);
  ASSERT_EQ(rig_.violations().size(), 1u) << "SonixCam_GetErrorCode needs no session";
  EXPECT_EQ(rig_.violations()[0], "SonixCam_EnumCameras called with no open session");
}

TEST_F(SimulatedRigFaultTest, UnInitWithoutInitIsAViolation) {
  const win_detail::SonixGlobalLock lock;
  EXPECT_FALSE(SonixCam_UnInit());
  EXPECT_EQ(rig_.open_sessions(), 0);
  ASSERT_EQ(rig_.violations().size(), 1u);
  EXPECT_EQ(rig_.violations()[0], "SonixCam_UnInit called without a matching SonixCam_Init");
}

TEST_F(SimulatedRigFaultTest, EraseOutsideTheUserSpaceIsAViolation) {
  const LockedSession session;
  auto records = enumerate_records();
  // 0x50000 is the sector just below the user space at 0x51000.
  static_cast<void>(SonixCam_SectorEraseSF(&records[0], 0x50FFF, 0x20));
  ASSERT_EQ(rig_.violations().size(), 1u);
  EXPECT_EQ(rig_.violations()[0],
            "SonixCam_SectorEraseSF on camera 0 touches [0x00050000, 0x00051000) outside its user space "
            "[0x00051000, 0x00061000)");
  static_cast<void>(SonixCam_SectorEraseSF(&records[0], 0x51000, 0x20));
  static_cast<void>(SonixCam_SectorEraseSF(&records[0], 0x60FFF, 0x20));
  EXPECT_EQ(rig_.violations().size(), 1u) << "the first and last user-space sectors are allowed";
  static_cast<void>(SonixCam_SectorEraseSF(&records[0], 0x61000, 0x20));
  EXPECT_EQ(rig_.violations().size(), 2u);
}

TEST_F(SimulatedRigFaultTest, WriteOutsideTheUserSpaceIsAViolation) {
  const LockedSession session;
  auto records = enumerate_records();
  const std::vector<std::uint8_t> bytes(16, 0x00);
  static_cast<void>(SonixCam_WriteToSF(&records[0], 0x60FF0, bytes.data(), 16));
  EXPECT_TRUE(rig_.violations().empty()) << "the last 16 bytes of the user space";
  static_cast<void>(SonixCam_WriteToSF(&records[0], 0x60FF1, bytes.data(), 16));
  ASSERT_EQ(rig_.violations().size(), 1u);
  EXPECT_EQ(rig_.violations()[0],
            "SonixCam_WriteToSF on camera 0 touches [0x00060FF1, 0x00061001) outside its user space "
            "[0x00051000, 0x00061000)");
  static_cast<void>(SonixCam_WriteToSF(&records[0], 0x50FFF, bytes.data(), 2));
  EXPECT_EQ(rig_.violations().size(), 2u);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::sim
