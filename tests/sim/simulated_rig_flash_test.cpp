#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "simulated_rig_fixture.h"
#include "uvc_stereo/simulated_rig.h"

namespace tovanel::uvc_stereo::sim {
namespace {

using rig_testing::enumerate_records;
using rig_testing::LockedSession;
using rig_testing::reported_vendor_code;
using rig_testing::supported_camera;

constexpr std::uint32_t kUserSpace = 0x51000;

// A rig with one camera and an open session on it, as every flash operation of the SDK has.
class SimulatedFlashTest : public rig_testing::OneCameraSessionTest {
 protected:
  void SetUp() override { ASSERT_NO_FATAL_FAILURE(open_session_on(supported_camera("FL1"))); }

  void TearDown() override {
    session_.reset();
    EXPECT_TRUE(rig_.violations().empty()) << ::testing::PrintToString(rig_.violations());
    EXPECT_EQ(rig_.open_sessions(), 0);
  }

  std::vector<std::uint8_t> read(std::uint32_t address, std::uint32_t length) {
    std::vector<std::uint8_t> bytes(length, 0x00);
    EXPECT_TRUE(SonixCam_CstmReadFromSF(&record_, address, bytes.data(), length));
    return bytes;
  }

  bool write(std::uint32_t address, const std::vector<std::uint8_t>& bytes) {
    return SonixCam_WriteToSF(&record_, address, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
  }
};

TEST_F(SimulatedFlashTest, ChipStartsErased) {
  EXPECT_EQ(read(0, 64), std::vector<std::uint8_t>(64, 0xFF));
  EXPECT_EQ(read(0xFFFC0, 64), std::vector<std::uint8_t>(64, 0xFF));
  EXPECT_EQ(rig_.flash(camera_, kUserSpace, 8), std::vector<std::uint8_t>(8, 0xFF));
}

TEST_F(SimulatedFlashTest, ReadCopiesWhatTheChipHolds) {
  rig_.set_flash(camera_, kUserSpace + 2, {0x54, 0x4F, 0x56, 0x41});
  EXPECT_EQ(read(kUserSpace, 8), (std::vector<std::uint8_t>{0xFF, 0xFF, 0x54, 0x4F, 0x56, 0x41, 0xFF, 0xFF}));
}

TEST_F(SimulatedFlashTest, ReadUpToTheLastByteWorksAndBeyondTheChipFails) {
  EXPECT_EQ(read(0xFFFFF, 1), std::vector<std::uint8_t>{0xFF});
  std::uint8_t bytes[2] = {};
  EXPECT_FALSE(SonixCam_CstmReadFromSF(&record_, 0xFFFFF, bytes, 2));
  EXPECT_FALSE(SonixCam_CstmReadFromSF(&record_, 0x100000, bytes, 1));
  EXPECT_FALSE(SonixCam_CstmReadFromSF(&record_, 0xFFFFFFFF, bytes, 2));
}

TEST_F(SimulatedFlashTest, FlashIsWriteProtectedAtPlugIn) {
  EXPECT_TRUE(rig_.write_protected(camera_));
  EXPECT_FALSE(write(kUserSpace, {0x00}));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecWriteFlashFail);
  rig_.set_flash(camera_, kUserSpace, {0x12});
  EXPECT_FALSE(SonixCam_SectorEraseSF(&record_, kUserSpace, 0x20));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecSectorEraseFail);
  EXPECT_EQ(read(kUserSpace, 1), std::vector<std::uint8_t>{0x12});
}

TEST_F(SimulatedFlashTest, ProtectionStaysOnUntilBothUnlockStepsWereTaken) {
  ASSERT_TRUE(SonixCam_SetWriteProtectedSF(&record_, 1, 1));
  EXPECT_TRUE(rig_.write_protected(camera_));
  EXPECT_FALSE(write(kUserSpace, {0x00}));
  ASSERT_TRUE(SonixCam_SetStatusRegBitWP(&record_, 2, 5, 1, 6, 2, 3));
  EXPECT_FALSE(rig_.write_protected(camera_));
  EXPECT_TRUE(write(kUserSpace, {0x00}));
}

TEST_F(SimulatedFlashTest, UnlockCallsWithOtherConstantsSucceedButChangeNothing) {
  EXPECT_TRUE(SonixCam_SetStatusRegBitWP(&record_, 2, 5, 1, 6, 2, 4));
  EXPECT_TRUE(SonixCam_SetStatusRegBitWP(&record_, 3, 2, 6, 1, 5, 2));
  EXPECT_TRUE(SonixCam_SetWriteProtectedSF(&record_, 1, 1));
  EXPECT_TRUE(rig_.write_protected(camera_));
  EXPECT_TRUE(SonixCam_SetWriteProtectedSF(&record_, 0, 0));
  EXPECT_TRUE(SonixCam_SetStatusRegBitWP(&record_, 2, 5, 1, 6, 2, 3));
  EXPECT_FALSE(rig_.write_protected(camera_)) << "other constants do not switch protection back on either";
}

TEST_F(SimulatedFlashTest, ProgrammingOnlyClearsBits) {
  unlock_flash();
  rig_.set_flash(camera_, kUserSpace, {0xF0, 0x00, 0xFF});
  ASSERT_TRUE(write(kUserSpace, {0x3C, 0xFF, 0xA5}));
  EXPECT_EQ(read(kUserSpace, 3), (std::vector<std::uint8_t>{0x30, 0x00, 0xA5}));
  EXPECT_EQ(rig_.flash(camera_, kUserSpace, 3), (std::vector<std::uint8_t>{0x30, 0x00, 0xA5}));
}

TEST_F(SimulatedFlashTest, EraseSetsTheWholeSectorHoldingTheAddressTo0xFF) {
  unlock_flash();
  rig_.set_flash(camera_, kUserSpace + 0x0FFF, {0x11, 0x22});  // last byte of one sector, first of the next
  rig_.set_flash(camera_, kUserSpace, {0x33});
  ASSERT_TRUE(SonixCam_SectorEraseSF(&record_, kUserSpace + 0x0800, 0x20));
  EXPECT_EQ(read(kUserSpace, 1), std::vector<std::uint8_t>{0xFF});
  EXPECT_EQ(read(kUserSpace + 0x0FFF, 2), (std::vector<std::uint8_t>{0xFF, 0x22}));
}

TEST(SimulatedFlashSector, EraseFollowsTheChipsOwnSectorSize) {
  SimulatedRig rig;
  SimulatedCamera camera = supported_camera("FL2");
  camera.flash_sector_size = 0x10000;
  camera.user_space_address = 0x50000;
  camera.user_space_size = 0x20000;
  const int index = rig.add_camera(camera);
  rig.set_flash(index, 0x5FFFF, {0x01, 0x02});
  rig.set_flash(index, 0x50000, {0x03});
  {
    const LockedSession session;
    auto records = enumerate_records();
    ASSERT_TRUE(SonixCam_SetStatusRegBitWP(&records[0], 2, 5, 1, 6, 2, 3));
    ASSERT_TRUE(SonixCam_SetWriteProtectedSF(&records[0], 1, 1));
    ASSERT_TRUE(SonixCam_SectorEraseSF(&records[0], 0x51000, 0x20));
  }
  EXPECT_EQ(rig.flash(index, 0x50000, 1), std::vector<std::uint8_t>{0xFF});
  EXPECT_EQ(rig.flash(index, 0x5FFFF, 2), (std::vector<std::uint8_t>{0xFF, 0x02}));
  EXPECT_TRUE(rig.violations().empty()) << ::testing::PrintToString(rig.violations());
}

TEST_F(SimulatedFlashTest, EraseWithAnotherCommandFails) {
  unlock_flash();
  rig_.set_flash(camera_, kUserSpace, {0x00});
  EXPECT_FALSE(SonixCam_SectorEraseSF(&record_, kUserSpace, 0xD8));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecSectorEraseFail);
  EXPECT_EQ(read(kUserSpace, 1), std::vector<std::uint8_t>{0x00});
}

TEST(SimulatedFlashBounds, EraseAndWriteBeyondTheChipFail) {
  SimulatedRig rig;
  SimulatedCamera camera = supported_camera("FL3");
  // A user space that runs past the end of a small chip, so only the chip's edge refuses.
  camera.flash_size = 0x2000;
  camera.user_space_address = 0x1000;
  camera.user_space_size = 0x2000;
  rig.add_camera(camera);
  const LockedSession session;
  auto records = enumerate_records();
  ASSERT_TRUE(SonixCam_SetStatusRegBitWP(&records[0], 2, 5, 1, 6, 2, 3));
  ASSERT_TRUE(SonixCam_SetWriteProtectedSF(&records[0], 1, 1));
  EXPECT_TRUE(SonixCam_SectorEraseSF(&records[0], 0x1FFF, 0x20));
  EXPECT_FALSE(SonixCam_SectorEraseSF(&records[0], 0x2000, 0x20));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecSectorEraseFail);
  const std::uint8_t bytes[2] = {0x00, 0x00};
  EXPECT_TRUE(SonixCam_WriteToSF(&records[0], 0x1FFE, bytes, 2));
  EXPECT_FALSE(SonixCam_WriteToSF(&records[0], 0x1FFF, bytes, 2));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecWriteFlashFail);
  EXPECT_EQ(rig.flash(0, 0x1FFE, 2), (std::vector<std::uint8_t>{0x00, 0x00}));
}

TEST_F(SimulatedFlashTest, PowerCutDuringWriteProgramsOnlyThePrefixAndProtectsAgain) {
  unlock_flash();
  rig_.cut_power_during_write(camera_, 3);
  EXPECT_FALSE(write(kUserSpace, {0x01, 0x02, 0x03, 0x04, 0x05}));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecWriteFlashFail);
  EXPECT_EQ(read(kUserSpace, 5), (std::vector<std::uint8_t>{0x01, 0x02, 0x03, 0xFF, 0xFF}));
  EXPECT_TRUE(rig_.write_protected(camera_));
  EXPECT_FALSE(write(kUserSpace + 3, {0x04, 0x05})) << "protected again after the power cycle";
  unlock_flash();
  EXPECT_TRUE(write(kUserSpace + 3, {0x04, 0x05})) << "the cut happens once";
  EXPECT_EQ(read(kUserSpace, 5), (std::vector<std::uint8_t>{0x01, 0x02, 0x03, 0x04, 0x05}));
}

TEST_F(SimulatedFlashTest, PowerCutDuringEraseClearsOnlyThePrefixAndProtectsAgain) {
  rig_.set_flash(camera_, kUserSpace, std::vector<std::uint8_t>(4096, 0x00));
  unlock_flash();
  rig_.cut_power_during_erase(camera_, 100);
  EXPECT_FALSE(SonixCam_SectorEraseSF(&record_, kUserSpace, 0x20));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecSectorEraseFail);
  const std::vector<std::uint8_t> sector = read(kUserSpace, 4096);
  EXPECT_EQ(std::vector<std::uint8_t>(sector.begin(), sector.begin() + 100), std::vector<std::uint8_t>(100, 0xFF));
  EXPECT_EQ(std::vector<std::uint8_t>(sector.begin() + 100, sector.end()), std::vector<std::uint8_t>(3996, 0x00));
  EXPECT_TRUE(rig_.write_protected(camera_));
  unlock_flash();
  ASSERT_TRUE(SonixCam_SectorEraseSF(&record_, kUserSpace, 0x20));
  EXPECT_EQ(read(kUserSpace, 4096), std::vector<std::uint8_t>(4096, 0xFF));
}

TEST_F(SimulatedFlashTest, StuckZeroBitsReadZeroWhateverIsErasedOrWritten) {
  unlock_flash();
  rig_.set_stuck_zero_bits(camera_, kUserSpace + 1, 0x81);
  EXPECT_EQ(read(kUserSpace, 3), (std::vector<std::uint8_t>{0xFF, 0x7E, 0xFF}));
  ASSERT_TRUE(SonixCam_SectorEraseSF(&record_, kUserSpace, 0x20));
  ASSERT_TRUE(write(kUserSpace, {0xAA, 0xFF, 0x55}));
  EXPECT_EQ(read(kUserSpace, 3), (std::vector<std::uint8_t>{0xAA, 0x7E, 0x55}));
  EXPECT_EQ(rig_.flash(camera_, kUserSpace + 1, 1), std::vector<std::uint8_t>{0x7E});
  rig_.set_stuck_zero_bits(camera_, kUserSpace + 1, 0x10);
  EXPECT_EQ(read(kUserSpace + 1, 1), std::vector<std::uint8_t>{0x6E}) << "worn bits add up";
}

TEST_F(SimulatedFlashTest, ReplugTurnsProtectionBackOn) {
  unlock_flash();
  rig_.unplug(camera_);
  EXPECT_FALSE(write(kUserSpace, {0x00}));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecDeviceDisconnect);
  rig_.plug(camera_);
  EXPECT_TRUE(rig_.write_protected(camera_));
  EXPECT_FALSE(write(kUserSpace, {0x00}));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecWriteFlashFail);
}

TEST_F(SimulatedFlashTest, SetFlashStoresExactBytesAndStopsAtTheChipsEnd) {
  rig_.set_flash(camera_, kUserSpace, {0x00, 0x0F});
  rig_.set_flash(camera_, kUserSpace, {0xF0, 0xFF});
  EXPECT_EQ(rig_.flash(camera_, kUserSpace, 2), (std::vector<std::uint8_t>{0xF0, 0xFF}));
  rig_.set_flash(camera_, 0xFFFFE, {0x01, 0x02, 0x03, 0x04});
  EXPECT_EQ(rig_.flash(camera_, 0xFFFFE, 4), (std::vector<std::uint8_t>{0x01, 0x02}));
  EXPECT_TRUE(rig_.flash(camera_, 0x100000, 4).empty());
}

}  // namespace
}  // namespace tovanel::uvc_stereo::sim
