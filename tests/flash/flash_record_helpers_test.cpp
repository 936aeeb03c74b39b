#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "flash/firmware_version_text.h"
#include "flash/readback_verify.h"
#include "flash/record_preview.h"
#include "flash/write_record.h"
#include "flash_rig_support.h"
#include "uvc_stereo/flash.h"

namespace tovanel::uvc_stereo {
namespace {

using test_support::bytes_of;
using test_support::DebugCapture;
using test_support::expect_reported_failure;
using test_support::make_record;
using test_support::put_le16;
using test_support::put_le32;

const std::string kJson = R"({"rig":"left","exposure_us":8000})";

// ---- is_record_header_failure ----

TEST(RecordHeaderFailure, CoversExactlyBadMagicUnsupportedVersionAndInvalidHeader) {
  for (int value = 0; value <= 14; ++value) {
    const auto code = static_cast<ErrorCode>(value);
    EXPECT_EQ(detail::is_record_header_failure(code), value >= 7 && value <= 9) << value;
  }
}

// ---- declared_record_length ----

TEST(DeclaredRecordLength, AddsHeaderSizeAndPayloadLength) {
  std::vector<std::uint8_t> preview = make_record({});
  put_le16(preview, 6, 40);
  put_le32(preview, 8, 1000);

  Result<std::uint64_t> total = detail::declared_record_length(preview, FlashConfig());

  ASSERT_TRUE(total.ok()) << total.status().message();
  EXPECT_EQ(total.value(), 1040u);
}

TEST(DeclaredRecordLength, RefusesAPreviewOfFifteenBytes) {
  const std::vector<std::uint8_t> preview(15, 0);

  Result<std::uint64_t> total = detail::declared_record_length(preview, FlashConfig());

  EXPECT_EQ(total.status().code(), ErrorCode::InvalidHeader);
  EXPECT_EQ(total.status().message(), "header preview is too short");
}

TEST(DeclaredRecordLength, AllowsATotalOfExactlyTheUserSpace) {
  std::vector<std::uint8_t> preview = make_record({});
  put_le32(preview, 8, 0x10000 - 16);

  Result<std::uint64_t> total = detail::declared_record_length(preview, FlashConfig());

  ASSERT_TRUE(total.ok()) << total.status().message();
  EXPECT_EQ(total.value(), 0x10000u);
}

TEST(DeclaredRecordLength, RefusesOneByteMoreThanTheUserSpace) {
  std::vector<std::uint8_t> preview = make_record({});
  put_le32(preview, 8, 0x10000 - 16 + 1);

  Result<std::uint64_t> total = detail::declared_record_length(preview, FlashConfig());

  EXPECT_EQ(total.status().code(), ErrorCode::InvalidLength);
  EXPECT_EQ(total.status().message(), "flash header total length is invalid");
}

TEST(DeclaredRecordLength, RefusesTheLargestPayloadLengthWithoutWrapping) {
  std::vector<std::uint8_t> preview = make_record({});
  put_le16(preview, 6, 0xFFFF);
  put_le32(preview, 8, 0xFFFFFFFF);
  FlashConfig config;
  config.user_space_size = 0xFFFFFFFF;

  Result<std::uint64_t> total = detail::declared_record_length(preview, config);

  EXPECT_EQ(total.status().code(), ErrorCode::InvalidLength);
  EXPECT_EQ(total.status().message(), "flash header total length is invalid");
}

// ---- verify_readback ----

TEST(ReadbackVerify, AcceptsAnIdenticalReadBackSilently) {
  DebugCapture debug;
  const std::vector<std::uint8_t> record = make_record(bytes_of(kJson));

  const Status status = detail::verify_readback(record, record);

  EXPECT_TRUE(status.ok());
  EXPECT_TRUE(status.message().empty());
  EXPECT_TRUE(debug.texts().empty());
}

// The comparison only reports; the flash transport tells the debugger (see FlashWrite's worn-cell tests).
TEST(ReadbackVerify, ReportsTheFirstDifferingByteAndLeavesTheDebuggerToItsCaller) {
  DebugCapture debug;
  const std::vector<std::uint8_t> record{0x00, 0x11, 0x22, 0x33, 0x44};
  const std::vector<std::uint8_t> readback{0x00, 0x11, 0x20, 0x30, 0x44};

  const Status status = detail::verify_readback(record, readback);

  EXPECT_EQ(status.code(), ErrorCode::WriteFailed);
  EXPECT_EQ(status.message(),
            "verify_after_write failed: readback mismatch at offset 0x2 (expected=0x22, actual=0x20)");
  EXPECT_TRUE(debug.texts().empty());
}

TEST(ReadbackVerify, PrintsLargeOffsetsInUpperCaseHexadecimal) {
  std::vector<std::uint8_t> record(0xABCD + 1, 0xFF);
  std::vector<std::uint8_t> readback = record;
  readback[0xABCD] = 0x0E;

  const Status status = detail::verify_readback(record, readback);

  EXPECT_EQ(status.message(),
            "verify_after_write failed: readback mismatch at offset 0xABCD (expected=0xFF, actual=0x0E)");
}

TEST(ReadbackVerify, ReportsAShortReadBackAtItsEndWithZeroForTheMissingByte) {
  const std::vector<std::uint8_t> record{0x54, 0x4F, 0x56, 0x41};
  const std::vector<std::uint8_t> readback{0x54, 0x4F};

  const Status status = detail::verify_readback(record, readback);

  EXPECT_EQ(status.code(), ErrorCode::WriteFailed);
  EXPECT_EQ(status.message(),
            "verify_after_write failed: readback mismatch at offset 0x2 (expected=0x56, actual=0x00)");
}

TEST(ReadbackVerify, ReportsALongReadBackAtTheRecordEndWithZeroForTheMissingByte) {
  const std::vector<std::uint8_t> record{0x54, 0x4F};
  const std::vector<std::uint8_t> readback{0x54, 0x4F, 0xFF};

  const Status status = detail::verify_readback(record, readback);

  EXPECT_EQ(status.code(), ErrorCode::WriteFailed);
  EXPECT_EQ(status.message(),
            "verify_after_write failed: readback mismatch at offset 0x2 (expected=0x00, actual=0xFF)");
}

TEST(ReadbackVerify, PrefersAnEarlierDifferenceOverASizeDifference) {
  const std::vector<std::uint8_t> record{0x01, 0x02, 0x03};
  const std::vector<std::uint8_t> readback{0x01, 0x09};

  const Status status = detail::verify_readback(record, readback);

  EXPECT_EQ(status.message(),
            "verify_after_write failed: readback mismatch at offset 0x1 (expected=0x02, actual=0x09)");
}

// ---- prepare_write_record ----

TEST(PrepareWriteRecord, BuildsARecordFromThePayloadAndFormatVersion) {
  FlashBlob blob;
  blob.format_version = 0x0102;
  blob.payload = bytes_of(kJson);

  Result<std::vector<std::uint8_t>> record = detail::prepare_write_record(FlashConfig(), blob);

  ASSERT_TRUE(record.ok()) << record.status().message();
  EXPECT_EQ(record.value(), make_record(bytes_of(kJson), 16, 0x0102));
}

TEST(PrepareWriteRecord, BuildsWithTheConfiguredMinimumHeaderSize) {
  FlashConfig config;
  config.min_header_size = 48;
  FlashBlob blob;
  blob.payload = bytes_of(kJson);

  Result<std::vector<std::uint8_t>> record = detail::prepare_write_record(config, blob);

  ASSERT_TRUE(record.ok()) << record.status().message();
  EXPECT_EQ(record.value(), make_record(bytes_of(kJson), 48));
}

TEST(PrepareWriteRecord, KeepsOnlyTheDeclaredRecordOfARawBlob) {
  const std::vector<std::uint8_t> record = make_record(bytes_of(kJson), 24, 5);
  FlashBlob blob;
  blob.raw = record;
  blob.raw.insert(blob.raw.end(), {1, 2, 3});
  blob.payload = bytes_of("ignored");

  Result<std::vector<std::uint8_t>> prepared = detail::prepare_write_record(FlashConfig(), blob);

  ASSERT_TRUE(prepared.ok()) << prepared.status().message();
  EXPECT_EQ(prepared.value(), record);
}

TEST(PrepareWriteRecord, RefusesARawBlobWithAStaleChecksum) {
  FlashBlob blob;
  blob.raw = make_record(bytes_of(kJson));
  blob.raw.back() ^= 0x20;

  Result<std::vector<std::uint8_t>> prepared = detail::prepare_write_record(FlashConfig(), blob);

  EXPECT_EQ(prepared.status().code(), ErrorCode::ChecksumMismatch);
  EXPECT_EQ(prepared.status().message(), "crc32 mismatch");
}

TEST(PrepareWriteRecord, RefusesARawBlobTooLargeForTheUserSpace) {
  FlashConfig config;
  config.user_space_size = 32;
  FlashBlob blob;
  blob.raw = make_record(bytes_of(kJson));

  Result<std::vector<std::uint8_t>> prepared = detail::prepare_write_record(config, blob);

  EXPECT_EQ(prepared.status().code(), ErrorCode::InvalidLength);
  EXPECT_EQ(prepared.status().message(), "total length is invalid");
}

TEST(PrepareWriteRecord, RefusesABlobWithNeitherRawNorPayload) {
  FlashBlob blob;
  blob.format_version = 4;

  Result<std::vector<std::uint8_t>> prepared = detail::prepare_write_record(FlashConfig(), blob);

  EXPECT_EQ(prepared.status().code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(prepared.status().message(), "blob is missing raw and payload for write");
}

TEST(PrepareWriteRecord, RefusesAPayloadOneByteOverTheUserSpace) {
  FlashBlob blob;
  blob.payload.assign(0x10000 - 16 + 1, 'x');

  Result<std::vector<std::uint8_t>> prepared = detail::prepare_write_record(FlashConfig(), blob);

  EXPECT_EQ(prepared.status().code(), ErrorCode::InvalidLength);
  EXPECT_EQ(prepared.status().message(), "payload is too large");
}

// ---- firmware_version_from_buffer ----

TEST(FirmwareVersionText, DropsTrailingBlanksAndKeepsLeadingOnes) {
  const char buffer[16] = "  V1.2 \r\n";

  EXPECT_EQ(detail::firmware_version_from_buffer(buffer, sizeof(buffer)), "  V1.2");
}

TEST(FirmwareVersionText, StopsAtTheFirstNul) {
  const char buffer[12] = {'V', '2', '\0', 'j', 'u', 'n', 'k', '\0', '\0', '\0', '\0', '\0'};

  EXPECT_EQ(detail::firmware_version_from_buffer(buffer, sizeof(buffer)), "V2");
}

TEST(FirmwareVersionText, TakesAWholeBufferWithoutNul) {
  const char buffer[4] = {'V', '3', '.', '1'};

  EXPECT_EQ(detail::firmware_version_from_buffer(buffer, sizeof(buffer)), "V3.1");
}

TEST(FirmwareVersionText, KeepsBlanksInsideTheText) {
  const char buffer[32] = "Build 7\t260416\t \n";

  EXPECT_EQ(detail::firmware_version_from_buffer(buffer, sizeof(buffer)), "Build 7\t260416");
}

TEST(FirmwareVersionText, GivesNothingForBlanksOnly) {
  const char buffer[8] = " \t\r\n ";

  EXPECT_EQ(detail::firmware_version_from_buffer(buffer, sizeof(buffer)), "");
}

}  // namespace
}  // namespace tovanel::uvc_stereo
