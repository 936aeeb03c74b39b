#include "bridge/flash_session.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "bridge/process_lock.h"
#include "flash_rig_support.h"
#include "uvc_stereo/simulated_rig.h"

namespace tovanel::uvc_stereo {
namespace {

using detail::bridge::FlashSession;
using test_support::args;
using test_support::calls_named;
using test_support::DebugCapture;
using test_support::expect_reported_failure;
using test_support::folded_call_names;
using test_support::supported_camera;

using FlashSessionSteps = test_support::FlashRigTest;

const std::string kErase = "SonixCam_SectorEraseSF";

// A camera and a configuration whose user space starts at the very first sectors.
class LowUserSpaceSession : public test_support::FlashRigTest {
 protected:
  void SetUp() override {
    FlashRigTest::SetUp();
    sim::SimulatedCamera low = supported_camera(1, "SN-LOW");
    low.user_space_address = 0x1000;
    low.user_space_size = 0x3000;
    low_ = rig_.add_camera(low);
    config_.serial_number = "SN-LOW";
    config_.user_space_address = 0x1000;
    config_.user_space_size = 0x3000;
    config_.erase_sector_size = 0;
  }

  std::vector<std::int64_t> erased_sectors() const {
    std::vector<std::int64_t> starts;
    for (const sim::VendorCall& call : calls_named(rig_.calls(), kErase)) {
      EXPECT_EQ(call.args.size(), 2u);
      if (call.args.size() == 2) {
        EXPECT_EQ(call.args[1], 32);
        starts.push_back(call.args[0]);
      }
    }
    return starts;
  }

  int low_ = -1;
};

TEST_F(FlashSessionSteps, HoldsTheVendorLockFromConstructionToDestruction) {
  {
    FlashSession session(config_);
    EXPECT_TRUE(detail::bridge::process_lock_held_by_this_thread());
  }
  EXPECT_FALSE(detail::bridge::process_lock_held_by_this_thread());
  EXPECT_TRUE(rig_.calls().empty()) << "an unopened session makes no vendor call, UnInit included";
}

TEST_F(FlashSessionSteps, UninitialisesOnceWhenClosedAfterOpening) {
  {
    FlashSession session(config_);
    ASSERT_TRUE(session.open().ok());
    EXPECT_EQ(rig_.open_sessions(), 1);
  }
  EXPECT_EQ(folded_call_names(rig_.calls()),
            (std::vector<std::string>{"SonixCam_Init", "<lookup>", "SonixCam_GetSerialFlashType", "SonixCam_UnInit"}));
  const auto uninit = calls_named(rig_.calls(), "SonixCam_UnInit");
  ASSERT_EQ(uninit.size(), 1u);
  EXPECT_TRUE(uninit[0].lock_held) << "UnInit comes before the lock is released";
}

TEST_F(FlashSessionSteps, KeepsAPrivateCopyOfTheConfiguration) {
  FlashSession session(config_);
  config_.user_space_address = 0x70000;
  EXPECT_EQ(session.config().user_space_address, 0x51000u);
}

TEST_F(FlashSessionSteps, RefusesTheFirmwareVersionBeforeADeviceIsReady) {
  FlashSession session(config_);

  Result<std::string> version = session.firmware_version();

  EXPECT_EQ(version.status().code(), ErrorCode::InternalError);
  EXPECT_EQ(version.status().message(), "device handle is not ready");
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(FlashSessionSteps, RefusesToUnprotectBeforeADeviceIsReady) {
  FlashSession session(config_);

  const Status status = session.disable_write_protection();

  EXPECT_EQ(status.code(), ErrorCode::InternalError);
  EXPECT_EQ(status.message(), "device handle is not ready");
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(FlashSessionSteps, RefusesAReadOutsideTheUserSpaceWithoutAVendorCall) {
  FlashSession session(config_);
  ASSERT_TRUE(session.open().ok());
  rig_.clear_calls();
  std::vector<std::uint8_t> bytes{1, 2, 3};

  const Status status = session.read_at(0x61000, 1, bytes);

  EXPECT_EQ(status.code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(status.message(),
            "Flash read range is outside Flash user space (address=0x00061000, length=1, "
            "allowed=[0x00051000,0x61000))");
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(FlashSessionSteps, ReadsNothingForALengthOfZero) {
  FlashSession session(config_);
  ASSERT_TRUE(session.open().ok());
  rig_.clear_calls();
  std::vector<std::uint8_t> bytes{1, 2, 3};

  const Status status = session.read_at(0x51000, 0, bytes);

  EXPECT_TRUE(status.ok()) << status.message();
  EXPECT_TRUE(bytes.empty());
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(FlashSessionSteps, ReadsExactlyTheRequestedBytesInOneCall) {
  rig_.set_flash(camera_, 0x51100, {0x10, 0x20, 0x30, 0x40, 0x50});
  FlashSession session(config_);
  ASSERT_TRUE(session.open().ok());
  rig_.clear_calls();
  std::vector<std::uint8_t> bytes(100, 0x77);

  const Status status = session.read_at(0x51101, 3, bytes);

  EXPECT_TRUE(status.ok()) << status.message();
  EXPECT_EQ(bytes, (std::vector<std::uint8_t>{0x20, 0x30, 0x40}));
  EXPECT_EQ(folded_call_names(rig_.calls()), std::vector<std::string>{"SonixCam_CstmReadFromSF"});
  EXPECT_EQ(rig_.calls().at(0).args, args({0x51101, 3}));
}

TEST_F(FlashSessionSteps, RefusesAnEmptyWriteWithoutAVendorCall) {
  FlashSession session(config_);
  ASSERT_TRUE(session.open().ok());
  rig_.clear_calls();

  const Status status = session.write_at(0x51000, {});

  EXPECT_EQ(status.code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(status.message(), "write payload is empty");
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(FlashSessionSteps, RefusesAWriteOutsideTheUserSpaceBeforeUnprotecting) {
  FlashSession session(config_);
  ASSERT_TRUE(session.open().ok());
  rig_.clear_calls();

  const Status status = session.write_at(0x60FF0, std::vector<std::uint8_t>(17, 0));

  EXPECT_EQ(status.code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(status.message(),
            "Flash write range is outside Flash user space (address=0x00060FF0, length=17, "
            "allowed=[0x00051000,0x61000))");
  EXPECT_TRUE(rig_.calls().empty());
  EXPECT_TRUE(rig_.write_protected(camera_));
}

TEST_F(FlashSessionSteps, ErasesNothingForALengthOfZero) {
  FlashSession session(config_);
  ASSERT_TRUE(session.open().ok());
  rig_.clear_calls();

  const Status status = session.erase_range(0x51000, 0);

  EXPECT_TRUE(status.ok()) << status.message();
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(FlashSessionSteps, RefusesAnEraseOutsideTheUserSpaceWithoutAVendorCall) {
  FlashSession session(config_);
  ASSERT_TRUE(session.open().ok());
  rig_.clear_calls();

  const Status status = session.erase_range(0x50000, 16);

  EXPECT_EQ(status.code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(status.message(),
            "Flash erase request range is outside Flash user space (address=0x00050000, length=16, "
            "allowed=[0x00051000,0x61000))");
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(LowUserSpaceSession, ErasesTwoSectorsForFiveThousandBytesAtTheirStart) {
  FlashSession session(config_);
  ASSERT_TRUE(session.open().ok());
  ASSERT_TRUE(session.disable_write_protection().ok());

  const Status status = session.erase_range(0x1000, 5000);

  EXPECT_TRUE(status.ok()) << status.message();
  EXPECT_EQ(erased_sectors(), args({0x1000, 0x2000}));
}

TEST_F(LowUserSpaceSession, ErasesBothSectorsThatTwoBytesAcrossABoundaryTouch) {
  FlashSession session(config_);
  ASSERT_TRUE(session.open().ok());
  ASSERT_TRUE(session.disable_write_protection().ok());

  const Status status = session.erase_range(0x1FFF, 2);

  EXPECT_TRUE(status.ok()) << status.message();
  EXPECT_EQ(erased_sectors(), args({0x1000, 0x2000}));
}

TEST_F(LowUserSpaceSession, ErasesOneSectorForOneByte) {
  FlashSession session(config_);
  ASSERT_TRUE(session.open().ok());
  ASSERT_TRUE(session.disable_write_protection().ok());

  const Status status = session.erase_range(0x2FFF, 1);

  EXPECT_TRUE(status.ok()) << status.message();
  EXPECT_EQ(erased_sectors(), args({0x2000}));
}

TEST_F(LowUserSpaceSession, ErasesWithTheConfiguredSectorSize) {
  sim::SimulatedCamera small_sectors = supported_camera(2, "SN-SMALL-SECTORS");
  small_sectors.flash_sector_size = 0x800;
  small_sectors.user_space_address = 0x1000;
  small_sectors.user_space_size = 0x3000;
  rig_.add_camera(small_sectors);
  config_.serial_number = "SN-SMALL-SECTORS";
  config_.erase_sector_size = 0x800;
  FlashSession session(config_);
  ASSERT_TRUE(session.open().ok());
  ASSERT_TRUE(session.disable_write_protection().ok());

  const Status status = session.erase_range(0x1700, 0x1000);

  EXPECT_TRUE(status.ok()) << status.message();
  EXPECT_EQ(erased_sectors(), args({0x1000, 0x1800, 0x2000}));
}

TEST_F(LowUserSpaceSession, ReportsTheFailingSectorAndItsSizeAndTellsTheDebugger) {
  FlashSession session(config_);
  ASSERT_TRUE(session.open().ok());
  ASSERT_TRUE(session.disable_write_protection().ok());
  rig_.set_flash(low_, 0x1000, std::vector<std::uint8_t>(16, 0));
  DebugCapture debug;
  rig_.add_fault({"SonixCam_SectorEraseSF", 2, 1, 10, false});

  const Status status = session.erase_range(0x1000, 0x3000);

  const std::string expected =
      "SonixCam_SectorEraseSF failed: vendor_code=ecSectorEraseFail(10) (address=0x00002000, length=4096)";
  expect_reported_failure(status, ErrorCode::EraseFailed, expected, debug);
  EXPECT_EQ(erased_sectors(), args({0x1000, 0x2000})) << "no sector after the failing one";
  EXPECT_EQ(rig_.flash(low_, 0x1000, 16), std::vector<std::uint8_t>(16, 0xFF));
}

}  // namespace
}  // namespace tovanel::uvc_stereo
