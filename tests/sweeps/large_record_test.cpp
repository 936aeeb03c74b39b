#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "device/device_rig_support.h"
#include "flash/flash_rig_support.h"
#include "support/call_views.h"
#include "support/rig_checks.h"
#include "sweeps/sweep_rig.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/flash.h"

// A record that fills the whole 64 KiB user space, written in one piece and found in the flash byte for byte.
namespace tovanel::uvc_stereo::sweeps {
namespace {

constexpr std::uint32_t kSixtyFourKiB = 0x10000;

// Every byte value, in an order that is not a simple count.
std::vector<std::uint8_t> mixed_bytes(std::size_t length) {
  std::vector<std::uint8_t> bytes(length);
  std::uint32_t state = 0x2545F491u;
  for (std::uint8_t& byte : bytes) {
    state = state * 1664525u + 1013904223u;
    byte = static_cast<std::uint8_t>(state >> 24);
  }
  return bytes;
}

void expect_one_piece_write_of(const std::vector<sim::VendorCall>& calls, std::uint32_t length) {
  const std::vector<sim::VendorCall> erases = test_support::calls_named(calls, "SonixCam_SectorEraseSF");
  ASSERT_EQ(erases.size(), length / kSector);
  for (std::size_t i = 0; i < erases.size(); ++i) {
    EXPECT_EQ(erases[i].args, test_support::args({kUserSpace + static_cast<std::int64_t>(i * kSector), 0x20}));
  }
  const std::vector<sim::VendorCall> writes = test_support::calls_named(calls, "SonixCam_WriteToSF");
  ASSERT_EQ(writes.size(), 1u) << "the record is written in one call";
  EXPECT_EQ(writes[0].args, test_support::args({kUserSpace, length}));
  const std::vector<sim::VendorCall> reads = test_support::calls_named(calls, "SonixCam_CstmReadFromSF");
  ASSERT_EQ(reads.size(), 1u) << "and read back in one call";
  EXPECT_EQ(reads[0].args, test_support::args({kUserSpace, length}));
}

class LargeRecord : public ::testing::Test {
 protected:
  void SetUp() override {
    plug_pair(rig_, target_camera(kGatedModelRow));
    // The neighbours of the user space hold something the write must leave alone.
    rig_.set_flash(kTarget, kUserSpace - kSector, std::vector<std::uint8_t>(kSector, 0x5A));
    rig_.set_flash(kTarget, kUserSpace + kSixtyFourKiB, std::vector<std::uint8_t>(kSector, 0xA5));
  }
  void TearDown() override {
    EXPECT_EQ(rig_.violations(), std::vector<std::string>{});
    EXPECT_EQ(rig_.open_sessions(), 0);
    EXPECT_EQ(test_support::session_balance(rig_.calls()), 0);
    EXPECT_TRUE(rig_.flash(kTarget, kUserSpace - kSector, kSector) == std::vector<std::uint8_t>(kSector, 0x5A))
        << "the sector before the user space changed";
    EXPECT_TRUE(rig_.flash(kTarget, kUserSpace + kSixtyFourKiB, kSector) == std::vector<std::uint8_t>(kSector, 0xA5))
        << "the sector after the user space changed";
    test_support::expect_vendor_lock_free();
  }

  sim::SimulatedRig rig_;
};

TEST_F(LargeRecord, RecordFillingTheWholeUserSpaceIsInTheFlashByteForByte) {
  const FlashConfig config = target_config(Selection::ByPath);
  FlashBlob blob;
  blob.payload = mixed_bytes(kSixtyFourKiB - 16);
  const std::vector<std::uint8_t> expected = test_support::make_record(blob.payload);
  ASSERT_EQ(expected.size(), kSixtyFourKiB);

  const Status written = write_blob_to_device(config, blob);

  ASSERT_TRUE(written.ok()) << written.message();
  expect_one_piece_write_of(rig_.calls(), kSixtyFourKiB);
  const std::vector<std::uint8_t> flash = rig_.flash(kTarget, kUserSpace, kSixtyFourKiB);
  ASSERT_EQ(flash.size(), expected.size());
  std::size_t differing = 0;
  for (std::size_t i = 0; i < flash.size(); ++i) {
    differing += flash[i] != expected[i] ? 1 : 0;
  }
  EXPECT_EQ(differing, 0u) << "bytes of the flash differ from the record";
  const Result<FlashBlob> read = read_blob_from_device(config);
  ASSERT_TRUE(read.ok()) << read.status().message();
  EXPECT_TRUE(read.value().raw == expected) << "the record read is not the one written";
}

TEST_F(LargeRecord, OneByteMoreThanTheUserSpaceHoldsIsRefusedWithoutContactingTheCamera) {
  const FlashConfig config = target_config(Selection::ByPath);
  FlashBlob blob;
  blob.payload = mixed_bytes(kSixtyFourKiB - 15);
  rig_.clear_calls();

  const Status written = write_blob_to_device(config, blob);

  EXPECT_EQ(written.code(), ErrorCode::InvalidLength);
  EXPECT_EQ(written.message(), "payload is too large");
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(LargeRecord, JsonFillingTheReportedUserSpaceIsInTheFlashByteForByte) {
  rig_.set_capability_report(kTarget, flash_and_imu_report());
  const device_testing::PauseRecorder pauses;
  Result<Device> opened = open_device(scan_target());
  ASSERT_TRUE(opened.ok()) << opened.status().message();
  Device device = std::move(opened).value();
  ASSERT_EQ(device.flash_config().user_space_size, kSixtyFourKiB);
  const std::string json = json_of_length(kSixtyFourKiB - 16, 64);
  rig_.clear_calls();

  const Status written = device.write_json(json);

  ASSERT_TRUE(written.ok()) << written.message();
  expect_one_piece_write_of(rig_.calls(), kSixtyFourKiB);
  EXPECT_TRUE(rig_.flash(kTarget, kUserSpace, kSixtyFourKiB) == test_support::text_record(json))
      << "the flash does not hold the record byte for byte";
  const Result<ReadJsonResult> read = device.read_json();
  ASSERT_TRUE(read.ok()) << read.status().message();
  EXPECT_EQ(read.value().json, json);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::sweeps
