#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "flash_rig_support.h"
#include "uvc_stereo/flash.h"
#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/vendor_lock.h"

namespace tovanel::uvc_stereo {
namespace {

using test_support::args;
using test_support::bytes_of;
using test_support::calls_named;
using test_support::DebugCapture;
using test_support::expect_reported_failure;
using test_support::folded_call_names;
using test_support::make_record;
using test_support::supported_camera;

using FlashWrite = test_support::FlashRigTest;

const std::string kInit = "SonixCam_Init";
const std::string kLookup = "<lookup>";
const std::string kFlashType = "SonixCam_GetSerialFlashType";
const std::string kStatusRegWp = "SonixCam_SetStatusRegBitWP";
const std::string kWriteProtect = "SonixCam_SetWriteProtectedSF";
const std::string kErase = "SonixCam_SectorEraseSF";
const std::string kWrite = "SonixCam_WriteToSF";
const std::string kRead = "SonixCam_CstmReadFromSF";
const std::string kUnInit = "SonixCam_UnInit";

const std::string kJson = R"({"baseline_mm":120.5,"fx":612.25,"fy":611.75,"cx":319.5,"cy":239.5})";

FlashBlob payload_blob(const std::string& text, std::uint16_t format_version = 0) {
  FlashBlob blob;
  blob.format_version = format_version;
  blob.payload = bytes_of(text);
  return blob;
}

FlashBlob raw_blob(const std::vector<std::uint8_t>& raw) {
  FlashBlob blob;
  blob.raw = raw;
  return blob;
}

std::vector<std::int64_t> sector_starts(const std::vector<sim::VendorCall>& erases) {
  std::vector<std::int64_t> starts;
  for (const sim::VendorCall& call : erases) {
    EXPECT_EQ(call.args.size(), 2u);
    if (call.args.size() == 2) {
      EXPECT_EQ(call.args[1], 32) << "sector-erase command";
      starts.push_back(call.args[0]);
    }
  }
  return starts;
}

TEST_F(FlashWrite, UnprotectsErasesWritesAndVerifiesInThatOrder) {
  const std::vector<std::uint8_t> record = make_record(bytes_of(kJson));

  const Status status = write_blob_to_device(config_, payload_blob(kJson));

  ASSERT_TRUE(status.ok()) << status.message();
  EXPECT_TRUE(status.message().empty());
  const auto calls = rig_.calls();
  EXPECT_EQ(folded_call_names(calls), (std::vector<std::string>{kInit, kLookup, kFlashType, kStatusRegWp, kWriteProtect,
                                                                kErase, kWrite, kRead, kUnInit}));
  const auto size = static_cast<std::int64_t>(record.size());
  EXPECT_EQ(calls_named(calls, kStatusRegWp).at(0).args, args({2, 5, 1, 6, 2, 3}));
  EXPECT_EQ(calls_named(calls, kWriteProtect).at(0).args, args({1, 1}));
  EXPECT_EQ(calls_named(calls, kErase).at(0).args, args({0x51000, 32}));
  EXPECT_EQ(calls_named(calls, kWrite).at(0).args, args({0x51000, size}));
  EXPECT_EQ(calls_named(calls, kRead).at(0).args, args({0x51000, size}));
  for (const std::string& name : {kFlashType, kStatusRegWp, kWriteProtect, kErase, kWrite, kRead}) {
    for (const sim::VendorCall& call : calls_named(calls, name)) {
      EXPECT_EQ(call.camera, camera_) << name;
    }
  }
  expect_calls_under_lock();
  EXPECT_EQ(rig_.flash(camera_, 0x51000, static_cast<std::uint32_t>(record.size())), record);
}

TEST_F(FlashWrite, WritesARecordThatReadsBackUnchanged) {
  ASSERT_TRUE(write_blob_to_device(config_, payload_blob(kJson, 7)).ok());

  Result<FlashBlob> read = read_blob_from_device(config_);

  ASSERT_TRUE(read.ok()) << read.status().message();
  EXPECT_EQ(read.value().payload, bytes_of(kJson));
  EXPECT_EQ(read.value().format_version, 7);
  EXPECT_EQ(read.value().header_size, 16);
  EXPECT_EQ(read.value().raw, make_record(bytes_of(kJson), 16, 7));
}

TEST_F(FlashWrite, ReplacesALongerRecordWithAShorterOne) {
  const std::string long_json = R"({"notes":")" + std::string(6000, 'n') + R"("})";
  ASSERT_TRUE(write_blob_to_device(config_, payload_blob(long_json)).ok());
  ASSERT_TRUE(write_blob_to_device(config_, payload_blob(kJson)).ok());

  Result<FlashBlob> read = read_blob_from_device(config_);

  ASSERT_TRUE(read.ok()) << read.status().message();
  EXPECT_EQ(read.value().payload, bytes_of(kJson));
}

TEST_F(FlashWrite, WritesOnlyTheValidatedRecordOfARawBlob) {
  const std::vector<std::uint8_t> record = make_record(bytes_of(kJson), 32, 2);
  std::vector<std::uint8_t> raw = record;
  raw.insert(raw.end(), {0xDE, 0xAD, 0xBE, 0xEF});

  const Status status = write_blob_to_device(config_, raw_blob(raw));

  ASSERT_TRUE(status.ok()) << status.message();
  const auto writes = calls_named(rig_.calls(), kWrite);
  ASSERT_EQ(writes.size(), 1u);
  EXPECT_EQ(writes[0].args, args({0x51000, static_cast<std::int64_t>(record.size())}));
  std::vector<std::uint8_t> expected = record;
  expected.insert(expected.end(), 4, 0xFF);
  EXPECT_EQ(rig_.flash(camera_, 0x51000, static_cast<std::uint32_t>(raw.size())), expected);
}

TEST_F(FlashWrite, PrefersTheRawRecordOverThePayload) {
  FlashBlob blob = raw_blob(make_record(bytes_of(kJson)));
  blob.payload = bytes_of(R"({"other":true})");

  ASSERT_TRUE(write_blob_to_device(config_, blob).ok());

  Result<FlashBlob> read = read_blob_from_device(config_);
  ASSERT_TRUE(read.ok()) << read.status().message();
  EXPECT_EQ(read.value().payload, bytes_of(kJson));
}

TEST_F(FlashWrite, RefusesAStaleRawRecordBeforeAnyVendorCall) {
  std::vector<std::uint8_t> stale = make_record(bytes_of(kJson));
  stale[20] ^= 0x04;

  const Status status = write_blob_to_device(config_, raw_blob(stale));

  EXPECT_EQ(status.code(), ErrorCode::ChecksumMismatch);
  EXPECT_EQ(status.message(), "crc32 mismatch");
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(FlashWrite, RefusesAForeignRawRecordBeforeAnyVendorCall) {
  std::vector<std::uint8_t> foreign = make_record(bytes_of(kJson));
  foreign[0] = 'X';

  const Status status = write_blob_to_device(config_, raw_blob(foreign));

  EXPECT_EQ(status.code(), ErrorCode::BadMagic);
  EXPECT_EQ(status.message(), "flash magic mismatch");
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(FlashWrite, RefusesAPayloadTooLargeForTheUserSpaceBeforeAnyVendorCall) {
  FlashBlob blob;
  blob.payload.assign(0x10000 - 16 + 1, 'x');

  const Status status = write_blob_to_device(config_, blob);

  EXPECT_EQ(status.code(), ErrorCode::InvalidLength);
  EXPECT_EQ(status.message(), "payload is too large");
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(FlashWrite, RefusesABlobWithNeitherRawNorPayloadWithoutTakingTheLock) {
  // Another thread holds the vendor lock throughout: a write that tried to take it would
  // block, so only an answer given before the lock lets the call finish.
  std::promise<void> holding;
  std::promise<void> release;
  std::thread holder([&] {
    win_detail::SonixGlobalLock lock;
    holding.set_value();
    release.get_future().wait();
  });
  holding.get_future().wait();

  std::future<Status> answer = std::async(std::launch::async, [this] { return write_blob_to_device(config_, {}); });
  const bool answered = answer.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
  release.set_value();
  holder.join();

  ASSERT_TRUE(answered) << "the empty blob waited for the vendor lock";
  const Status status = answer.get();
  EXPECT_EQ(status.code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(status.message(), "blob is missing raw and payload for write");
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(FlashWrite, ErasesEverySectorTheRecordTouches) {
  const std::string json = R"({"table":")" + std::string(9000, 't') + R"("})";
  const std::vector<std::uint8_t> record = make_record(bytes_of(json));
  ASSERT_GT(record.size(), 8192u);

  ASSERT_TRUE(write_blob_to_device(config_, payload_blob(json)).ok());

  EXPECT_EQ(sector_starts(calls_named(rig_.calls(), kErase)), args({0x51000, 0x52000, 0x53000}));
  const auto writes = calls_named(rig_.calls(), kWrite);
  ASSERT_EQ(writes.size(), 1u) << "one single write, no chunking";
  EXPECT_EQ(writes[0].args, args({0x51000, static_cast<std::int64_t>(record.size())}));
}

TEST_F(FlashWrite, ReadsASectorSizeOfZeroAsFourKibibytes) {
  sim::SimulatedCamera low = supported_camera(3, "SN-LOW");
  low.user_space_address = 0x1000;
  low.user_space_size = 0x3000;
  rig_.add_camera(low);
  config_.serial_number = "SN-LOW";
  config_.user_space_address = 0x1000;
  config_.user_space_size = 0x3000;
  config_.erase_sector_size = 0;
  FlashBlob blob;
  blob.payload.assign(5000 - 16, 'p');

  const Status status = write_blob_to_device(config_, blob);

  ASSERT_TRUE(status.ok()) << status.message();
  EXPECT_EQ(sector_starts(calls_named(rig_.calls(), kErase)), args({0x1000, 0x2000}));
  EXPECT_EQ(calls_named(rig_.calls(), kWrite).at(0).args, args({0x1000, 5000}));
}

TEST_F(FlashWrite, LeavesEverythingOutsideTheUserSpaceUntouched) {
  rig_.set_flash(camera_, 0x50FF0, std::vector<std::uint8_t>(16, 0x5A));
  rig_.set_flash(camera_, 0x61000, std::vector<std::uint8_t>(16, 0xA5));
  FlashBlob blob;
  blob.payload.assign(0x10000 - 16, 'f');

  const Status status = write_blob_to_device(config_, blob);

  ASSERT_TRUE(status.ok()) << status.message();
  EXPECT_EQ(calls_named(rig_.calls(), kErase).size(), 16u);
  EXPECT_EQ(rig_.flash(camera_, 0x50FF0, 16), std::vector<std::uint8_t>(16, 0x5A));
  EXPECT_EQ(rig_.flash(camera_, 0x61000, 16), std::vector<std::uint8_t>(16, 0xA5));
}

TEST_F(FlashWrite, RefusesAnEraseThatWouldSpillOverAnUnalignedUserSpace) {
  sim::SimulatedCamera unaligned = supported_camera(4, "SN-UNALIGNED");
  unaligned.user_space_address = 0x51008;
  rig_.add_camera(unaligned);
  config_.serial_number = "SN-UNALIGNED";
  config_.user_space_address = 0x51008;
  const std::vector<std::uint8_t> record = make_record(bytes_of(kJson));

  const Status status = write_blob_to_device(config_, payload_blob(kJson));

  EXPECT_EQ(status.code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(status.message(), "aligned Flash erase range crosses user-space boundary (address=0x00051008, length=" +
                                  std::to_string(record.size()) +
                                  ", erase=[0x51000,0x52000), allowed=[0x00051008,0x61008))");
  EXPECT_TRUE(calls_named(rig_.calls(), kErase).empty());
  EXPECT_TRUE(calls_named(rig_.calls(), kWrite).empty());
  EXPECT_EQ(folded_call_names(rig_.calls()).back(), kUnInit);
}

TEST_F(FlashWrite, LeavesWriteProtectionOffAfterwards) {
  ASSERT_TRUE(rig_.write_protected(camera_));

  ASSERT_TRUE(write_blob_to_device(config_, payload_blob(kJson)).ok());

  EXPECT_FALSE(rig_.write_protected(camera_));
  EXPECT_EQ(calls_named(rig_.calls(), kStatusRegWp).size(), 1u);
  EXPECT_EQ(calls_named(rig_.calls(), kWriteProtect).size(), 1u);
}

TEST_F(FlashWrite, SkipsTheReadBackWhenVerificationIsOff) {
  config_.verify_after_write = false;

  const Status status = write_blob_to_device(config_, payload_blob(kJson));

  ASSERT_TRUE(status.ok()) << status.message();
  EXPECT_EQ(folded_call_names(rig_.calls()), (std::vector<std::string>{kInit, kLookup, kFlashType, kStatusRegWp,
                                                                       kWriteProtect, kErase, kWrite, kUnInit}));
}

TEST_F(FlashWrite, ReportsAWornCellFoundByTheReadBackAndTellsTheDebugger) {
  // The first payload byte is '{' (0x7B); a cell stuck at zero in bit 0 reads it as 0x7A.
  rig_.set_stuck_zero_bits(camera_, 0x51000 + 16, 0x01);
  DebugCapture debug;

  const Status status = write_blob_to_device(config_, payload_blob(kJson));

  const std::string expected =
      "verify_after_write failed: readback mismatch at offset 0x10 (expected=0x7B, actual=0x7A)";
  expect_reported_failure(status, ErrorCode::WriteFailed, expected, debug);
  EXPECT_EQ(folded_call_names(rig_.calls()).back(), kUnInit);
}

TEST_F(FlashWrite, ReportsTheFirstOfSeveralWornCells) {
  const std::vector<std::uint8_t> record = make_record(bytes_of(kJson));
  rig_.set_stuck_zero_bits(camera_, 0x51000 + 0x2A, 0xFF);
  rig_.set_stuck_zero_bits(camera_, 0x51000 + 0x30, 0xFF);

  const Status status = write_blob_to_device(config_, payload_blob(kJson));

  char expected[160];
  std::snprintf(expected, sizeof(expected),
                "verify_after_write failed: readback mismatch at offset 0x2A (expected=0x%02X, actual=0x00)",
                static_cast<unsigned>(record.at(0x2A)));
  EXPECT_EQ(status.code(), ErrorCode::WriteFailed);
  EXPECT_EQ(status.message(), expected);
}

TEST_F(FlashWrite, MissesAWornCellWhenVerificationIsOff) {
  rig_.set_stuck_zero_bits(camera_, 0x51000 + 16, 0x01);
  config_.verify_after_write = false;

  EXPECT_TRUE(write_blob_to_device(config_, payload_blob(kJson)).ok());

  EXPECT_TRUE(calls_named(rig_.calls(), kRead).empty());
  EXPECT_EQ(rig_.flash(camera_, 0x51000 + 16, 1), std::vector<std::uint8_t>{0x7A});
}

TEST_F(FlashWrite, ReportsAFailedStatusRegisterUnlockBeforeErasing) {
  DebugCapture debug;
  rig_.add_fault({"SonixCam_SetStatusRegBitWP", 1, 1, 18, false});

  const Status status = write_blob_to_device(config_, payload_blob(kJson));

  EXPECT_EQ(status.code(), ErrorCode::WriteFailed);
  EXPECT_EQ(status.message(), "SonixCam_SetStatusRegBitWP failed: vendor_code=ecDisableWriteProtectFail(18)");
  EXPECT_TRUE(calls_named(rig_.calls(), kWriteProtect).empty());
  EXPECT_TRUE(calls_named(rig_.calls(), kErase).empty());
  EXPECT_TRUE(debug.texts().empty());
  EXPECT_EQ(folded_call_names(rig_.calls()).back(), kUnInit);
}

TEST_F(FlashWrite, ReportsAFailedWriteProtectionReleaseBeforeErasing) {
  rig_.add_fault({"SonixCam_SetWriteProtectedSF", 1, 1, 18, false});

  const Status status = write_blob_to_device(config_, payload_blob(kJson));

  EXPECT_EQ(status.code(), ErrorCode::WriteFailed);
  EXPECT_EQ(status.message(), "SonixCam_SetWriteProtectedSF failed: vendor_code=ecDisableWriteProtectFail(18)");
  EXPECT_TRUE(calls_named(rig_.calls(), kErase).empty());
  EXPECT_EQ(folded_call_names(rig_.calls()).back(), kUnInit);
}

TEST_F(FlashWrite, StopsAtTheFirstFailedSectorEraseAndKeepsEarlierSectorsErased) {
  const std::vector<std::uint8_t> old_record = make_record(std::vector<std::uint8_t>(6000, 'o'));
  rig_.set_flash(camera_, 0x51000, old_record);
  DebugCapture debug;
  rig_.add_fault({"SonixCam_SectorEraseSF", 2, 1, 10, false});
  FlashBlob blob;
  blob.payload.assign(5000, 'n');

  const Status status = write_blob_to_device(config_, blob);

  const std::string expected =
      "SonixCam_SectorEraseSF failed: vendor_code=ecSectorEraseFail(10) (address=0x00052000, length=4096)";
  expect_reported_failure(status, ErrorCode::EraseFailed, expected, debug);
  EXPECT_EQ(sector_starts(calls_named(rig_.calls(), kErase)), args({0x51000, 0x52000}));
  EXPECT_TRUE(calls_named(rig_.calls(), kWrite).empty());
  EXPECT_EQ(rig_.flash(camera_, 0x51000, 4096), std::vector<std::uint8_t>(4096, 0xFF));
  EXPECT_EQ(rig_.flash(camera_, 0x52000, 16),
            std::vector<std::uint8_t>(old_record.begin() + 0x1000, old_record.begin() + 0x1010));
  EXPECT_EQ(folded_call_names(rig_.calls()).back(), kUnInit);
}

TEST_F(FlashWrite, ReportsAFailedWriteWithItsAddressAndLengthAndTellsTheDebugger) {
  const std::vector<std::uint8_t> record = make_record(bytes_of(kJson));
  DebugCapture debug;
  rig_.add_fault({"SonixCam_WriteToSF", 1, 1, 12, false});

  const Status status = write_blob_to_device(config_, payload_blob(kJson));

  const std::string expected =
      "SonixCam_WriteToSF failed: vendor_code=ecWriteFlashFail(12) (address=0x00051000, length=" +
      std::to_string(record.size()) + ")";
  expect_reported_failure(status, ErrorCode::WriteFailed, expected, debug);
  EXPECT_TRUE(calls_named(rig_.calls(), kRead).empty());
  EXPECT_EQ(folded_call_names(rig_.calls()).back(), kUnInit);
}

TEST_F(FlashWrite, ReportsAFailedReadBackWithItsAddressAndLength) {
  const std::vector<std::uint8_t> record = make_record(bytes_of(kJson));
  DebugCapture debug;
  rig_.add_fault({"SonixCam_CstmReadFromSF", 1, 1, 8, false});

  const Status status = write_blob_to_device(config_, payload_blob(kJson));

  const std::string expected =
      "SonixCam_CstmReadFromSF failed: vendor_code=ecSyncTransTimeOut(8) (address=0x00051000, length=" +
      std::to_string(record.size()) + ")";
  expect_reported_failure(status, ErrorCode::ReadFailed, expected, debug);
  EXPECT_EQ(folded_call_names(rig_.calls()).back(), kUnInit);
}

TEST_F(FlashWrite, ReportsAFailedInitWithoutTouchingTheFlash) {
  rig_.add_fault({"SonixCam_Init", 1, 1, 4, false});

  const Status status = write_blob_to_device(config_, payload_blob(kJson));

  EXPECT_EQ(status.code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(status.message(), "SonixCam_Init failed: vendor_code=ecNotFindDevice(4)");
  EXPECT_TRUE(calls_named(rig_.calls(), kUnInit).empty());
  EXPECT_TRUE(calls_named(rig_.calls(), kErase).empty());
}

TEST_F(FlashWrite, PowerCutDuringTheWriteLeavesAPartialRecordThatReadsAsAFailure) {
  ASSERT_TRUE(write_blob_to_device(config_, payload_blob(R"({"generation":1})")).ok());
  const std::vector<std::uint8_t> record = make_record(bytes_of(kJson));
  rig_.cut_power_during_write(camera_, 24);

  const Status cut = write_blob_to_device(config_, payload_blob(kJson));

  EXPECT_EQ(cut.code(), ErrorCode::WriteFailed);
  EXPECT_EQ(cut.message(), "SonixCam_WriteToSF failed: vendor_code=ecWriteFlashFail(12) (address=0x00051000, length=" +
                               std::to_string(record.size()) + ")");
  std::vector<std::uint8_t> partial(record.begin(), record.begin() + 24);
  partial.resize(record.size(), 0xFF);
  EXPECT_EQ(rig_.flash(camera_, 0x51000, static_cast<std::uint32_t>(record.size())), partial);

  Result<FlashBlob> after_cut = read_blob_from_device(config_);
  EXPECT_FALSE(after_cut.ok());
  EXPECT_EQ(after_cut.status().code(), ErrorCode::ChecksumMismatch);
  EXPECT_EQ(after_cut.status().message(), "crc32 mismatch");

  ASSERT_TRUE(write_blob_to_device(config_, payload_blob(kJson)).ok());
  Result<FlashBlob> restored = read_blob_from_device(config_);
  ASSERT_TRUE(restored.ok()) << restored.status().message();
  EXPECT_EQ(restored.value().payload, bytes_of(kJson));
}

TEST_F(FlashWrite, PowerCutInsideTheHeaderLeavesALengthThatReadsAsAFailure) {
  rig_.cut_power_during_write(camera_, 10);

  const Status cut = write_blob_to_device(config_, payload_blob(kJson));

  EXPECT_EQ(cut.code(), ErrorCode::WriteFailed);
  Result<FlashBlob> after_cut = read_blob_from_device(config_);
  EXPECT_EQ(after_cut.status().code(), ErrorCode::InvalidLength);
  EXPECT_EQ(after_cut.status().message(), "flash header total length is invalid");
  EXPECT_EQ(calls_named(rig_.calls(), kRead).size(), 1u) << "only the header preview is read";
}

TEST_F(FlashWrite, PowerCutDuringTheEraseLeavesTheOldRecordUnreadableAndARewriteRestoresIt) {
  ASSERT_TRUE(write_blob_to_device(config_, payload_blob(R"({"generation":1})")).ok());
  const std::vector<std::uint8_t> old_flash = rig_.flash(camera_, 0x51000, 4096);
  DebugCapture debug;
  rig_.cut_power_during_erase(camera_, 8);

  const Status cut = write_blob_to_device(config_, payload_blob(kJson));

  const std::string expected =
      "SonixCam_SectorEraseSF failed: vendor_code=ecSectorEraseFail(10) (address=0x00051000, length=4096)";
  expect_reported_failure(cut, ErrorCode::EraseFailed, expected, debug);
  std::vector<std::uint8_t> partly_erased = old_flash;
  std::fill(partly_erased.begin(), partly_erased.begin() + 8, 0xFF);
  EXPECT_EQ(rig_.flash(camera_, 0x51000, 4096), partly_erased);

  Result<FlashBlob> after_cut = read_blob_from_device(config_);
  EXPECT_EQ(after_cut.status().code(), ErrorCode::BadMagic);
  EXPECT_EQ(after_cut.status().message(), "flash magic mismatch");

  ASSERT_TRUE(write_blob_to_device(config_, payload_blob(kJson)).ok());
  Result<FlashBlob> restored = read_blob_from_device(config_);
  ASSERT_TRUE(restored.ok()) << restored.status().message();
  EXPECT_EQ(restored.value().payload, bytes_of(kJson));
}

}  // namespace
}  // namespace tovanel::uvc_stereo
