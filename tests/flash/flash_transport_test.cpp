#include "bridge/flash_transport.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "flash_rig_support.h"
#include "uvc_stereo/checksum.h"
#include "uvc_stereo/flash.h"
#include "uvc_stereo/simulated_rig.h"

namespace tovanel::uvc_stereo {
namespace {

using test_support::args;
using test_support::bytes_of;
using test_support::calls_named;
using test_support::DebugCapture;
using test_support::expect_reported_failure;
using test_support::folded_call_names;
using test_support::make_record;
using test_support::put_le16;
using test_support::put_le32;
using test_support::supported_camera;

using FlashProbe = test_support::FlashRigTest;
using FlashRead = test_support::FlashRigTest;
using FirmwareVersionRead = test_support::FlashRigTest;

const std::string kInit = "SonixCam_Init";
const std::string kLookup = "<lookup>";
const std::string kFlashType = "SonixCam_GetSerialFlashType";
const std::string kRead = "SonixCam_CstmReadFromSF";
const std::string kVersion = "SonixCam_GetVersion";
const std::string kErrorCode = "SonixCam_GetErrorCode";
const std::string kUnInit = "SonixCam_UnInit";

const std::string kJson = R"({"baseline_mm":120.5,"serial":"SN-FLASH-0001","rectified":true})";

// ---- probe_flash_transport ----

TEST_F(FlashProbe, ReadsOneByteAtTheUserSpaceStartThroughTheWholeChain) {
  const Status status = probe_flash_transport(config_);

  EXPECT_TRUE(status.ok()) << status.message();
  EXPECT_TRUE(status.message().empty());
  const auto calls = rig_.calls();
  EXPECT_EQ(folded_call_names(calls), (std::vector<std::string>{kInit, kLookup, kFlashType, kRead, kUnInit}));
  const auto reads = calls_named(calls, kRead);
  ASSERT_EQ(reads.size(), 1u);
  EXPECT_EQ(reads[0].args, args({0x51000, 1}));
  EXPECT_EQ(reads[0].camera, camera_);
  expect_calls_under_lock();
}

TEST_F(FlashProbe, RefusesACameraWhoseFlashTypeIsUnknown) {
  sim::SimulatedCamera unknown_flash = supported_camera(1, "SN-NO-FLASH");
  unknown_flash.flash_type = 0;
  rig_.add_camera(unknown_flash);
  config_.serial_number = "SN-NO-FLASH";

  const Status status = probe_flash_transport(config_);

  EXPECT_EQ(status.code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(status.message(), "SonixCam_GetSerialFlashType returned SF_UNKNOW");
  EXPECT_EQ(folded_call_names(rig_.calls()), (std::vector<std::string>{kInit, kLookup, kFlashType, kUnInit}));
}

TEST_F(FlashProbe, ReportsAFailedInitAsDeviceUnavailableAndNeverUninitialises) {
  rig_.add_fault({"SonixCam_Init", 1, 1, 2, false});

  const Status status = probe_flash_transport(config_);

  EXPECT_EQ(status.code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(status.message(), "SonixCam_Init failed: vendor_code=ecLibInitFail(2)");
  EXPECT_TRUE(calls_named(rig_.calls(), kUnInit).empty());
  EXPECT_TRUE(calls_named(rig_.calls(), kRead).empty());
}

TEST_F(FlashProbe, ReportsALibraryWithNoCameraAsDeviceUnavailable) {
  rig_.unplug(camera_);

  const Status status = probe_flash_transport(config_);

  EXPECT_EQ(status.code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(status.message(), "SonixCam_Init failed: vendor_code=ecNotFindDevice(4)");
  EXPECT_TRUE(calls_named(rig_.calls(), kUnInit).empty());
}

TEST_F(FlashProbe, ReportsAFailedFlashTypeQueryAndStillUninitialises) {
  rig_.add_fault({"SonixCam_GetSerialFlashType", 1, 1, 7, false});

  const Status status = probe_flash_transport(config_);

  EXPECT_EQ(status.code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(status.message(), "SonixCam_GetSerialFlashType failed: vendor_code=ecDeviceDisconnect(7)");
  const auto names = folded_call_names(rig_.calls());
  ASSERT_FALSE(names.empty());
  EXPECT_EQ(names.back(), kUnInit);
  EXPECT_TRUE(calls_named(rig_.calls(), kRead).empty());
}

TEST_F(FlashProbe, ShowsAnUnanswerableErrorQueryAsUnknownCodeZero) {
  rig_.add_fault({"SonixCam_GetSerialFlashType", 1, 1, 7, true});

  const Status status = probe_flash_transport(config_);

  EXPECT_EQ(status.code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(status.message(), "SonixCam_GetSerialFlashType failed: vendor_code=ecUnknow(0)");
}

TEST_F(FlashProbe, PassesADeviceResolutionFailureOnUnchanged) {
  config_.vidpid = "0c450001";

  const Status status = probe_flash_transport(config_);

  EXPECT_EQ(status.code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(status.message(), "no device matched the requested vidpid/filter");
  EXPECT_EQ(folded_call_names(rig_.calls()), (std::vector<std::string>{kInit, kLookup, kUnInit}));
}

TEST_F(FlashProbe, RefusesAConfigurationWithoutAnySelector) {
  config_.auto_select = false;

  const Status status = probe_flash_transport(config_);

  EXPECT_EQ(status.code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(status.message(), "no device selector available (check config.vidpid or auto_select filter)");
  EXPECT_EQ(folded_call_names(rig_.calls()), (std::vector<std::string>{kInit, kUnInit}));
}

TEST_F(FlashProbe, ReportsAFailedReadWithItsAddressAndLengthAndTellsTheDebugger) {
  DebugCapture debug;
  rig_.add_fault({"SonixCam_CstmReadFromSF", 1, 1, 8, false});

  const Status status = probe_flash_transport(config_);

  const std::string expected =
      "SonixCam_CstmReadFromSF failed: vendor_code=ecSyncTransTimeOut(8) (address=0x00051000, length=1)";
  expect_reported_failure(status, ErrorCode::ReadFailed, expected, debug);
  EXPECT_EQ(folded_call_names(rig_.calls()).back(), kUnInit);
}

// ---- read_blob_from_device ----

TEST_F(FlashRead, ReadsTheHeaderPreviewThenTheWholeRecord) {
  const std::vector<std::uint8_t> payload = bytes_of(kJson);
  const std::vector<std::uint8_t> record = make_record(payload, 16, 3);
  rig_.set_flash(camera_, 0x51000, record);

  Result<FlashBlob> result = read_blob_from_device(config_);

  ASSERT_TRUE(result.ok()) << result.status().message();
  const FlashBlob& blob = result.value();
  EXPECT_EQ(blob.magic, 0x41564F54u);
  EXPECT_EQ(blob.format_version, 3);
  EXPECT_EQ(blob.header_size, 16);
  EXPECT_EQ(blob.payload_length, payload.size());
  EXPECT_EQ(blob.crc32, crc32_ieee(payload));
  EXPECT_EQ(blob.payload, payload);
  EXPECT_EQ(blob.raw, record);

  const auto calls = rig_.calls();
  EXPECT_EQ(folded_call_names(calls), (std::vector<std::string>{kInit, kLookup, kFlashType, kRead, kRead, kUnInit}));
  const auto reads = calls_named(calls, kRead);
  ASSERT_EQ(reads.size(), 2u);
  EXPECT_EQ(reads[0].args, args({0x51000, 16}));
  EXPECT_EQ(reads[1].args, args({0x51000, static_cast<std::int64_t>(record.size())}));
  expect_calls_under_lock();
}

TEST_F(FlashRead, ReturnsARecordThatTheHeaderPreviewHoldsWholeFromOneRead) {
  const std::vector<std::uint8_t> record = make_record({}, 16, 9);
  rig_.set_flash(camera_, 0x51000, record);

  Result<FlashBlob> result = read_blob_from_device(config_);

  ASSERT_TRUE(result.ok()) << result.status().message();
  EXPECT_TRUE(result.value().payload.empty());
  EXPECT_EQ(result.value().format_version, 9);
  EXPECT_EQ(result.value().raw, record);
  const auto reads = calls_named(rig_.calls(), kRead);
  ASSERT_EQ(reads.size(), 1u);
  EXPECT_EQ(reads[0].args, args({0x51000, 16}));
}

TEST_F(FlashRead, RefusesAWrongMagicWithoutASecondRead) {
  std::vector<std::uint8_t> record = make_record(bytes_of(kJson));
  record[3] = 'B';
  rig_.set_flash(camera_, 0x51000, record);

  Result<FlashBlob> result = read_blob_from_device(config_);

  EXPECT_FALSE(result.ok());
  EXPECT_EQ(result.status().code(), ErrorCode::BadMagic);
  EXPECT_EQ(result.status().message(), "flash magic mismatch");
  EXPECT_EQ(calls_named(rig_.calls(), kRead).size(), 1u);
  EXPECT_EQ(folded_call_names(rig_.calls()).back(), kUnInit);
}

TEST_F(FlashRead, ReportsErasedFlashAsAWrongMagic) {
  Result<FlashBlob> result = read_blob_from_device(config_);

  EXPECT_EQ(result.status().code(), ErrorCode::BadMagic);
  EXPECT_EQ(result.status().message(), "flash magic mismatch");
  EXPECT_EQ(calls_named(rig_.calls(), kRead).size(), 1u);
}

TEST_F(FlashRead, RefusesAnOutOfRangeHeaderSizeWithoutASecondRead) {
  std::vector<std::uint8_t> record = make_record(bytes_of(kJson));
  put_le16(record, 6, 300);
  rig_.set_flash(camera_, 0x51000, record);

  Result<FlashBlob> result = read_blob_from_device(config_);

  EXPECT_EQ(result.status().code(), ErrorCode::InvalidHeader);
  EXPECT_EQ(result.status().message(), "header_size out of range");
  EXPECT_EQ(calls_named(rig_.calls(), kRead).size(), 1u);
}

TEST_F(FlashRead, RefusesAHeaderWhoseTotalExceedsTheUserSpace) {
  std::vector<std::uint8_t> header = make_record({});
  put_le32(header, 8, 0x10000 - 16 + 1);
  rig_.set_flash(camera_, 0x51000, header);

  Result<FlashBlob> result = read_blob_from_device(config_);

  EXPECT_EQ(result.status().code(), ErrorCode::InvalidLength);
  EXPECT_EQ(result.status().message(), "flash header total length is invalid");
  EXPECT_EQ(calls_named(rig_.calls(), kRead).size(), 1u);
}

TEST_F(FlashRead, ReadsARecordThatFillsTheWholeUserSpace) {
  const std::vector<std::uint8_t> payload(0x10000 - 16, 'x');
  const std::vector<std::uint8_t> record = make_record(payload);
  rig_.set_flash(camera_, 0x51000, record);

  Result<FlashBlob> result = read_blob_from_device(config_);

  ASSERT_TRUE(result.ok()) << result.status().message();
  EXPECT_EQ(result.value().raw, record);
  const auto reads = calls_named(rig_.calls(), kRead);
  ASSERT_EQ(reads.size(), 2u);
  EXPECT_EQ(reads[1].args, args({0x51000, 0x10000}));
}

TEST_F(FlashRead, ReadsARecordWithHeaderPaddingAndIgnoresThePadding) {
  const std::vector<std::uint8_t> payload = bytes_of(kJson);
  std::vector<std::uint8_t> record = make_record(payload, 32);
  record[20] = 0xAA;
  rig_.set_flash(camera_, 0x51000, record);

  Result<FlashBlob> result = read_blob_from_device(config_);

  ASSERT_TRUE(result.ok()) << result.status().message();
  EXPECT_EQ(result.value().header_size, 32);
  EXPECT_EQ(result.value().payload, payload);
  const auto reads = calls_named(rig_.calls(), kRead);
  ASSERT_EQ(reads.size(), 2u);
  EXPECT_EQ(reads[1].args, args({0x51000, static_cast<std::int64_t>(32 + payload.size())}));
}

TEST_F(FlashRead, ReportsACorruptPayloadAfterReadingTheWholeRecord) {
  std::vector<std::uint8_t> record = make_record(bytes_of(kJson));
  record[16 + 5] ^= 0x01;
  rig_.set_flash(camera_, 0x51000, record);

  Result<FlashBlob> result = read_blob_from_device(config_);

  EXPECT_EQ(result.status().code(), ErrorCode::ChecksumMismatch);
  EXPECT_EQ(result.status().message(), "crc32 mismatch");
  EXPECT_EQ(calls_named(rig_.calls(), kRead).size(), 2u);
}

TEST_F(FlashRead, KeepsTheStoredCrcOfACorruptPayloadWhenCrcCheckingIsOff) {
  const std::vector<std::uint8_t> payload = bytes_of(kJson);
  std::vector<std::uint8_t> record = make_record(payload);
  record[16 + 5] ^= 0x01;
  rig_.set_flash(camera_, 0x51000, record);
  config_.verify_crc = false;

  Result<FlashBlob> result = read_blob_from_device(config_);

  ASSERT_TRUE(result.ok()) << result.status().message();
  EXPECT_EQ(result.value().crc32, crc32_ieee(payload));
  EXPECT_EQ(result.value().raw, record);
}

TEST_F(FlashRead, ReportsAHeaderPreviewShorterThanTheFixedHeader) {
  rig_.set_flash(camera_, 0x51000, make_record(bytes_of(kJson)));
  config_.min_header_size = 8;

  Result<FlashBlob> result = read_blob_from_device(config_);

  EXPECT_EQ(result.status().code(), ErrorCode::InvalidHeader);
  EXPECT_EQ(result.status().message(), "header preview is too short");
  const auto reads = calls_named(rig_.calls(), kRead);
  ASSERT_EQ(reads.size(), 1u);
  EXPECT_EQ(reads[0].args, args({0x51000, 8}));
}

TEST_F(FlashRead, MakesNoFlashCallForAnEmptyHeaderPreview) {
  config_.min_header_size = 0;

  Result<FlashBlob> result = read_blob_from_device(config_);

  EXPECT_EQ(result.status().code(), ErrorCode::InvalidHeader);
  EXPECT_EQ(result.status().message(), "header preview is too short");
  EXPECT_EQ(folded_call_names(rig_.calls()), (std::vector<std::string>{kInit, kLookup, kFlashType, kUnInit}));
}

TEST_F(FlashRead, RefusesAPreviewOutsideTheUserSpaceBeforeTouchingTheFlash) {
  config_.user_space_size = 8;

  Result<FlashBlob> result = read_blob_from_device(config_);

  EXPECT_EQ(result.status().code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(result.status().message(),
            "Flash read range is outside Flash user space (address=0x00051000, length=16, "
            "allowed=[0x00051000,0x51008))");
  EXPECT_TRUE(calls_named(rig_.calls(), kRead).empty());
  EXPECT_EQ(folded_call_names(rig_.calls()).back(), kUnInit);
}

TEST_F(FlashRead, ReportsAFailedPreviewReadAndTellsTheDebugger) {
  rig_.set_flash(camera_, 0x51000, make_record(bytes_of(kJson)));
  DebugCapture debug;
  rig_.add_fault({"SonixCam_CstmReadFromSF", 1, 1, 8, false});

  Result<FlashBlob> result = read_blob_from_device(config_);

  const std::string expected =
      "SonixCam_CstmReadFromSF failed: vendor_code=ecSyncTransTimeOut(8) (address=0x00051000, length=16)";
  expect_reported_failure(result.status(), ErrorCode::ReadFailed, expected, debug);
  EXPECT_EQ(folded_call_names(rig_.calls()),
            (std::vector<std::string>{kInit, kLookup, kFlashType, kRead, kErrorCode, kUnInit}));
}

TEST_F(FlashRead, ReportsAFailedWholeReadWithTheRecordLength) {
  const std::vector<std::uint8_t> record = make_record(bytes_of(kJson));
  rig_.set_flash(camera_, 0x51000, record);
  DebugCapture debug;
  rig_.add_fault({"SonixCam_CstmReadFromSF", 2, 1, 7, false});

  Result<FlashBlob> result = read_blob_from_device(config_);

  const std::string expected =
      "SonixCam_CstmReadFromSF failed: vendor_code=ecDeviceDisconnect(7) (address=0x00051000, "
      "length=" +
      std::to_string(record.size()) + ")";
  expect_reported_failure(result.status(), ErrorCode::ReadFailed, expected, debug);
  EXPECT_EQ(folded_call_names(rig_.calls()).back(), kUnInit);
}

TEST_F(FlashRead, ReadsTheCameraThatTheSerialNumberSelects) {
  rig_.set_flash(camera_, 0x51000, make_record(bytes_of(kJson)));
  const int second = rig_.add_camera(supported_camera(1, "SN-FLASH-0002"));
  const std::vector<std::uint8_t> second_payload = bytes_of(R"({"camera":2})");
  rig_.set_flash(second, 0x51000, make_record(second_payload));
  config_.serial_number = "SN-FLASH-0002";

  Result<FlashBlob> result = read_blob_from_device(config_);

  ASSERT_TRUE(result.ok()) << result.status().message();
  EXPECT_EQ(result.value().payload, second_payload);
  const auto reads = calls_named(rig_.calls(), kRead);
  ASSERT_EQ(reads.size(), 2u);
  EXPECT_EQ(reads[0].camera, second);
  EXPECT_EQ(reads[1].camera, second);
}

TEST_F(FlashRead, ReadsAtTheConfiguredUserSpaceAddress) {
  sim::SimulatedCamera moved = supported_camera(2, "SN-MOVED");
  moved.user_space_address = 0x80000;
  moved.user_space_size = 0x2000;
  const int camera = rig_.add_camera(moved);
  const std::vector<std::uint8_t> payload = bytes_of(kJson);
  rig_.set_flash(camera, 0x80000, make_record(payload));
  config_.serial_number = "SN-MOVED";
  config_.user_space_address = 0x80000;
  config_.user_space_size = 0x2000;

  Result<FlashBlob> result = read_blob_from_device(config_);

  ASSERT_TRUE(result.ok()) << result.status().message();
  EXPECT_EQ(result.value().payload, payload);
  const auto reads = calls_named(rig_.calls(), kRead);
  ASSERT_EQ(reads.size(), 2u);
  EXPECT_EQ(reads[0].args, args({0x80000, 16}));
}

TEST_F(FlashRead, OpensAFreshSessionForEveryCall) {
  rig_.set_flash(camera_, 0x51000, make_record(bytes_of(kJson)));

  ASSERT_TRUE(read_blob_from_device(config_).ok());
  ASSERT_TRUE(read_blob_from_device(config_).ok());

  EXPECT_EQ(calls_named(rig_.calls(), kInit).size(), 2u);
  EXPECT_EQ(calls_named(rig_.calls(), kUnInit).size(), 2u);
  for (const sim::VendorCall& call : calls_named(rig_.calls(), kRead)) {
    EXPECT_EQ(call.open_sessions, 1);
  }
}

// ---- detail::read_firmware_version_from_device ----

TEST_F(FirmwareVersionRead, DropsTrailingBlanksAndKeepsLeadingOnes) {
  rig_.set_firmware_version(camera_, "  V1.2 \r\n");

  Result<std::string> result = detail::read_firmware_version_from_device(config_);

  ASSERT_TRUE(result.ok()) << result.status().message();
  EXPECT_EQ(result.value(), "  V1.2");
  const auto calls = rig_.calls();
  EXPECT_EQ(folded_call_names(calls), (std::vector<std::string>{kInit, kLookup, kFlashType, kVersion, kUnInit}));
  const auto versions = calls_named(calls, kVersion);
  ASSERT_EQ(versions.size(), 1u);
  EXPECT_EQ(versions[0].args, args({256, 0}));
}

TEST_F(FirmwareVersionRead, ReturnsAPlainVersionAsItIs) {
  rig_.set_firmware_version(camera_, "V2.4.1-260416");

  Result<std::string> result = detail::read_firmware_version_from_device(config_);

  ASSERT_TRUE(result.ok()) << result.status().message();
  EXPECT_EQ(result.value(), "V2.4.1-260416");
}

TEST_F(FirmwareVersionRead, ReportsAnEmptyVersion) {
  rig_.set_firmware_version(camera_, "");

  Result<std::string> result = detail::read_firmware_version_from_device(config_);

  EXPECT_EQ(result.status().code(), ErrorCode::ReadFailed);
  EXPECT_EQ(result.status().message(), "SonixCam_GetVersion returned empty firmware version");
  EXPECT_EQ(folded_call_names(rig_.calls()).back(), kUnInit);
}

TEST_F(FirmwareVersionRead, ReportsAVersionOfOnlyBlanksAsEmpty) {
  rig_.set_firmware_version(camera_, " \t\r\n ");

  Result<std::string> result = detail::read_firmware_version_from_device(config_);

  EXPECT_EQ(result.status().code(), ErrorCode::ReadFailed);
  EXPECT_EQ(result.status().message(), "SonixCam_GetVersion returned empty firmware version");
}

TEST_F(FirmwareVersionRead, ReportsAFailedVersionQueryWithoutTellingTheDebugger) {
  DebugCapture debug;
  rig_.add_fault({"SonixCam_GetVersion", 1, 1, 8, false});

  Result<std::string> result = detail::read_firmware_version_from_device(config_);

  EXPECT_EQ(result.status().code(), ErrorCode::ReadFailed);
  EXPECT_EQ(result.status().message(), "SonixCam_GetVersion failed: vendor_code=ecSyncTransTimeOut(8)");
  EXPECT_TRUE(debug.texts().empty());
  EXPECT_EQ(folded_call_names(rig_.calls()).back(), kUnInit);
}

TEST_F(FirmwareVersionRead, ReportsAFailedInitWithoutAskingForTheVersion) {
  rig_.set_library_present(false);

  Result<std::string> result = detail::read_firmware_version_from_device(config_);

  EXPECT_EQ(result.status().code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(result.status().message(), "SonixCam_Init failed: vendor_code=ecLibInitFail(2)");
  EXPECT_TRUE(calls_named(rig_.calls(), kVersion).empty());
  EXPECT_TRUE(calls_named(rig_.calls(), kUnInit).empty());
}

}  // namespace
}  // namespace tovanel::uvc_stereo
