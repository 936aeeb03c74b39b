#include "capability/capability_report.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "capability/capability_report_builder.h"
#include "capability/capability_report_encoder.h"
#include "support/reported_imu.h"

namespace tovanel::uvc_stereo {
namespace {

using detail::parse_xu_capability_report;
using testing::CapabilityReportBuilder;
using Bytes = std::array<std::uint8_t, 64>;

void ExpectFailure(const Bytes& bytes, ErrorCode code, const std::string& message) {
  const Result<CapabilityReport> result = parse_xu_capability_report(bytes);
  EXPECT_FALSE(result.ok());
  EXPECT_EQ(result.status().code(), code);
  EXPECT_EQ(result.status().message(), message);
}

CapabilityReport ParseOrFail(const Bytes& bytes) {
  Result<CapabilityReport> result = parse_xu_capability_report(bytes);
  EXPECT_TRUE(result.ok()) << result.status().message();
  EXPECT_TRUE(result.status().message().empty());
  return result.ok() ? std::move(result).value() : CapabilityReport{};
}

// Magic, version 1, minor 0, size 64, everything else zero; CRC-32C 0xABDEFF68 computed outside this SDK.
// clang-format off
constexpr Bytes kMinimalReport = {
    0x54, 0x4F, 0x56, 0x41, 0x01, 0x00, 0x40, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x68, 0xFF, 0xDE, 0xAB};
// clang-format on

// Minor 3, bits 0x06, flash 0x1F0000 + 0x10000, model "BMI088", unit 4, selector 10, length 17, exponent 2,
// offset -10, scales 12800/2048/1640; CRC-32C 0xAF5AF752 computed outside this SDK.
// clang-format off
constexpr Bytes kFullReport = {
    0x54, 0x4F, 0x56, 0x41, 0x01, 0x03, 0x40, 0x06, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x1F, 0x00, 0x00, 0x00, 0x01, 0x00, 0x42, 0x4D, 0x49, 0x30, 0x38, 0x38, 0x00, 0x00, 0x04,
    0x0A, 0x11, 0x02, 0xF6, 0xFF, 0x00, 0x32, 0x00, 0x08, 0x68, 0x06, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x52, 0xF7, 0x5A, 0xAF};
// clang-format on

TEST(CapabilityReport, MinimalReportParsesWithNoOptionalParts) {
  const CapabilityReport report = ParseOrFail(kMinimalReport);
  EXPECT_EQ(report.major_version, 1);
  EXPECT_EQ(report.minor_version, 0);
  EXPECT_EQ(report.capability_bits, 0u);
  EXPECT_FALSE(report.flash_user_space.has_value());
  EXPECT_FALSE(report.imu.has_value());
}

TEST(CapabilityReport, BuilderAgreesWithTheIndependentlyComputedMinimalReport) {
  EXPECT_EQ(CapabilityReportBuilder().build(), kMinimalReport);
  EXPECT_EQ(CapabilityReportBuilder().minor_version(3).bits(0x06).valid_fields().build(), kFullReport);
}

TEST(CapabilityReport, FullReportParsesEveryField) {
  const CapabilityReport report = ParseOrFail(kFullReport);
  EXPECT_EQ(report.major_version, 1);
  EXPECT_EQ(report.minor_version, 3);
  EXPECT_EQ(report.capability_bits, 0x06u);
  ASSERT_TRUE(report.flash_user_space.has_value());
  EXPECT_EQ(report.flash_user_space->start, 0x1F0000u);
  EXPECT_EQ(report.flash_user_space->size, 0x10000u);
  ASSERT_TRUE(report.imu.has_value());
  EXPECT_EQ(report.imu->model, "BMI088");
  EXPECT_EQ(report.imu->xu_unit, 4);
  EXPECT_EQ(report.imu->xu_selector, 10);
  EXPECT_EQ(report.imu->xu_length, 17);
  EXPECT_EQ(report.imu->decimal_exponent, 2);
  EXPECT_EQ(report.imu->temperature_offset_c, -0.1);
  EXPECT_EQ(report.imu->temperature_lsb_per_c, 128.0);
  EXPECT_EQ(report.imu->accel_lsb_per_g, 2048.0);
  EXPECT_EQ(report.imu->gyro_lsb_per_dps, 16.4);
}

TEST(CapabilityReport, KeepsAnyMinorVersion) {
  EXPECT_EQ(ParseOrFail(CapabilityReportBuilder().minor_version(0xAB).build()).minor_version, 0xAB);
  EXPECT_EQ(ParseOrFail(CapabilityReportBuilder().minor_version(0xFF).build()).minor_version, 0xFF);
}

TEST(CapabilityReport, AllKnownBitsWithValidFieldsEngageBothOptionals) {
  const CapabilityReport report = ParseOrFail(CapabilityReportBuilder().bits(0x1F).valid_fields().build());
  EXPECT_EQ(report.capability_bits, 0x1Fu);
  EXPECT_TRUE(report.flash_user_space.has_value());
  EXPECT_TRUE(report.imu.has_value());
}

TEST(CapabilityReport, BitsWithoutFieldsArePassedOnUnchanged) {
  for (const std::uint64_t bits : {0x01u, 0x08u, 0x10u, 0x19u}) {
    const CapabilityReport report = ParseOrFail(CapabilityReportBuilder().bits(bits).build());
    EXPECT_EQ(report.capability_bits, bits);
    EXPECT_FALSE(report.flash_user_space.has_value());
    EXPECT_FALSE(report.imu.has_value());
  }
}

TEST(CapabilityReport, RejectsBitFive) {
  ExpectFailure(CapabilityReportBuilder().bits(0x20).valid_fields().build(), ErrorCode::InvalidArgument,
                "capability_bits contains unsupported bits");
}

TEST(CapabilityReport, RejectsEveryBitAboveFour) {
  for (int bit = 5; bit < 64; ++bit) {
    SCOPED_TRACE(bit);
    ExpectFailure(CapabilityReportBuilder().bits(0x1Full | (1ull << bit)).valid_fields().build(),
                  ErrorCode::InvalidArgument, "capability_bits contains unsupported bits");
  }
}

TEST(CapabilityReport, UnsupportedBitsAreCheckedBeforeTheFlashFields) {
  ExpectFailure(CapabilityReportBuilder().bits(0x22).flash(0, 15).build(), ErrorCode::InvalidArgument,
                "capability_bits contains unsupported bits");
}

TEST(CapabilityReport, RejectsReservedByteFiftyUnderACorrectCrc) {
  ExpectFailure(CapabilityReportBuilder().byte(50, 1).build(), ErrorCode::InvalidArgument,
                "capability reserved bytes must be zero");
}

TEST(CapabilityReport, RejectsEachReservedByteUnderACorrectCrc) {
  for (std::size_t offset = 43; offset < 60; ++offset) {
    SCOPED_TRACE(offset);
    ExpectFailure(CapabilityReportBuilder().byte(offset, 0x80).build(), ErrorCode::InvalidArgument,
                  "capability reserved bytes must be zero");
  }
}

TEST(CapabilityReport, ReservedBytesAreCheckedBeforeTheBits) {
  ExpectFailure(CapabilityReportBuilder().bits(0x40).byte(43, 1).build(), ErrorCode::InvalidArgument,
                "capability reserved bytes must be zero");
}

TEST(CapabilityReport, WrongCrcWinsOverAWrongReservedByte) {
  Bytes bytes = CapabilityReportBuilder().build();
  bytes[50] = 1;  // the CRC was sealed before this change
  ExpectFailure(bytes, ErrorCode::ChecksumMismatch, "capability CRC32C mismatch");
}

TEST(CapabilityReport, UnsealedReportFailsTheCrc) {
  ExpectFailure(CapabilityReportBuilder().unsealed(), ErrorCode::ChecksumMismatch, "capability CRC32C mismatch");
}

TEST(CapabilityReport, WrongMagicWinsOverAWrongSize) {
  ExpectFailure(CapabilityReportBuilder().byte(0, 't').byte(6, 63).build(), ErrorCode::BadMagic,
                "capability magic must be ASCII TOVA");
}

TEST(CapabilityReport, RejectsEachWrongMagicByte) {
  for (std::size_t offset = 0; offset < 4; ++offset) {
    SCOPED_TRACE(offset);
    ExpectFailure(CapabilityReportBuilder().byte(offset, 0).build(), ErrorCode::BadMagic,
                  "capability magic must be ASCII TOVA");
  }
}

TEST(CapabilityReport, RejectsMajorVersionsOtherThanOne) {
  for (const std::uint8_t version : {0, 2, 255}) {
    SCOPED_TRACE(static_cast<int>(version));
    ExpectFailure(CapabilityReportBuilder().byte(4, version).build(), ErrorCode::UnsupportedVersion,
                  "capability major_version is not supported");
  }
}

TEST(CapabilityReport, WrongVersionWinsOverAWrongSizeAndCrc) {
  ExpectFailure(CapabilityReportBuilder().byte(4, 2).byte(6, 0).unsealed(), ErrorCode::UnsupportedVersion,
                "capability major_version is not supported");
}

TEST(CapabilityReport, RejectsSizesOtherThanSixtyFour) {
  for (const std::uint8_t size : {0, 63, 65, 128}) {
    SCOPED_TRACE(static_cast<int>(size));
    ExpectFailure(CapabilityReportBuilder().byte(6, size).build(), ErrorCode::InvalidHeader,
                  "capability size must be 64 bytes");
  }
}

TEST(CapabilityReport, WrongSizeWinsOverAWrongCrc) {
  ExpectFailure(CapabilityReportBuilder().byte(6, 32).unsealed(), ErrorCode::InvalidHeader,
                "capability size must be 64 bytes");
}

TEST(CapabilityReport, FlippingAnyCoveredByteFailsWithTheFirstCheckItBreaks) {
  const Bytes valid = CapabilityReportBuilder().bits(0x1F).valid_fields().build();
  for (std::size_t offset = 0; offset < 60; ++offset) {
    SCOPED_TRACE(offset);
    Bytes bytes = valid;
    bytes[offset] ^= 0xFF;
    if (offset < 4) {
      ExpectFailure(bytes, ErrorCode::BadMagic, "capability magic must be ASCII TOVA");
    } else if (offset == 4) {
      ExpectFailure(bytes, ErrorCode::UnsupportedVersion, "capability major_version is not supported");
    } else if (offset == 6) {
      ExpectFailure(bytes, ErrorCode::InvalidHeader, "capability size must be 64 bytes");
    } else {
      ExpectFailure(bytes, ErrorCode::ChecksumMismatch, "capability CRC32C mismatch");
    }
  }
}

TEST(CapabilityReport, FlippingAnyBitOfTheStoredCrcFailsTheCrc) {
  const Bytes valid = CapabilityReportBuilder().bits(0x1F).valid_fields().build();
  for (std::size_t bit = 0; bit < 32; ++bit) {
    SCOPED_TRACE(bit);
    Bytes bytes = valid;
    bytes[60 + bit / 8] ^= static_cast<std::uint8_t>(1u << (bit % 8));
    ExpectFailure(bytes, ErrorCode::ChecksumMismatch, "capability CRC32C mismatch");
  }
}

TEST(CapabilityReport, FlashRangeEndingAtTwoToTheThirtyTwoOverflows) {
  ExpectFailure(CapabilityReportBuilder().bits(0x02).flash(0xFFFF0000, 0x10000).build(), ErrorCode::InvalidArgument,
                "capability Flash user-space range overflows uint32 address space");
}

TEST(CapabilityReport, FlashRangeEndingOneBelowTwoToTheThirtyTwoParses) {
  const CapabilityReport report = ParseOrFail(CapabilityReportBuilder().bits(0x02).flash(0xFFFF0000, 0xFFFF).build());
  ASSERT_TRUE(report.flash_user_space.has_value());
  EXPECT_EQ(report.flash_user_space->start, 0xFFFF0000u);
  EXPECT_EQ(report.flash_user_space->size, 0xFFFFu);
  EXPECT_FALSE(report.imu.has_value());
}

TEST(CapabilityReport, FlashRangeSumIsComputedWithoutWrapping) {
  ExpectFailure(CapabilityReportBuilder().bits(0x02).flash(0xFFFFFFFF, 0xFFFFFFFF).build(), ErrorCode::InvalidArgument,
                "capability Flash user-space range overflows uint32 address space");
  ExpectFailure(CapabilityReportBuilder().bits(0x02).flash(1, 0xFFFFFFFF).build(), ErrorCode::InvalidArgument,
                "capability Flash user-space range overflows uint32 address space");
  const CapabilityReport whole = ParseOrFail(CapabilityReportBuilder().bits(0x02).flash(0, 0xFFFFFFFF).build());
  ASSERT_TRUE(whole.flash_user_space.has_value());
  EXPECT_EQ(whole.flash_user_space->size, 0xFFFFFFFFu);
}

TEST(CapabilityReport, RejectsFlashUserSpaceOfFifteenBytes) {
  ExpectFailure(CapabilityReportBuilder().bits(0x02).flash(0x1000, 15).build(), ErrorCode::InvalidArgument,
                "capability Flash user space is smaller than the minimum header");
}

TEST(CapabilityReport, AcceptsFlashUserSpaceOfSixteenBytes) {
  const CapabilityReport report = ParseOrFail(CapabilityReportBuilder().bits(0x02).flash(0x1000, 16).build());
  ASSERT_TRUE(report.flash_user_space.has_value());
  EXPECT_EQ(report.flash_user_space->start, 0x1000u);
  EXPECT_EQ(report.flash_user_space->size, 16u);
}

TEST(CapabilityReport, FlashSizeIsCheckedBeforeTheRangeEnd) {
  ExpectFailure(CapabilityReportBuilder().bits(0x02).flash(0xFFFFFFFF, 15).build(), ErrorCode::InvalidArgument,
                "capability Flash user space is smaller than the minimum header");
}

TEST(CapabilityReport, IgnoresFlashBytesWhenBitOneIsClear) {
  const CapabilityReport small = ParseOrFail(CapabilityReportBuilder().bits(0x04).valid_fields().flash(0, 15).build());
  EXPECT_FALSE(small.flash_user_space.has_value());
  EXPECT_TRUE(small.imu.has_value());
  const CapabilityReport overflowing =
      ParseOrFail(CapabilityReportBuilder().bits(0x00).flash(0xFFFFFFFF, 0xFFFFFFFF).build());
  EXPECT_FALSE(overflowing.flash_user_space.has_value());
}

TEST(CapabilityReport, IgnoresImuBytesWhenBitTwoIsClear) {
  const CapabilityReport report = ParseOrFail(CapabilityReportBuilder()
                                                  .bits(0x02)
                                                  .valid_fields()
                                                  .model_bytes({0x41, 0x00, 0x7F, 0x01, 0xFF, 0x00, 0x00, 0x00})
                                                  .transport(0, 0, 0)
                                                  .exponent(9)
                                                  .scales(0, 0, 0)
                                                  .build());
  EXPECT_TRUE(report.flash_user_space.has_value());
  EXPECT_FALSE(report.imu.has_value());
}

TEST(CapabilityReport, RejectsModelWithTextAfterItsFirstNul) {
  ExpectFailure(CapabilityReportBuilder()
                    .bits(0x04)
                    .valid_fields()
                    .model_bytes({0x41, 0x42, 0x00, 0x43, 0x00, 0x00, 0x00, 0x00})
                    .build(),
                ErrorCode::InvalidArgument, "capability IMU model is not NUL padded");
}

TEST(CapabilityReport, RejectsModelWithAControlByteAfterItsFirstNulAsNotPadded) {
  ExpectFailure(CapabilityReportBuilder()
                    .bits(0x04)
                    .valid_fields()
                    .model_bytes({0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x7F})
                    .build(),
                ErrorCode::InvalidArgument, "capability IMU model is not NUL padded");
}

TEST(CapabilityReport, AcceptsEightPrintableModelBytesWithoutNul) {
  const CapabilityReport report =
      ParseOrFail(CapabilityReportBuilder().bits(0x04).valid_fields().model("ICM42688").build());
  ASSERT_TRUE(report.imu.has_value());
  EXPECT_EQ(report.imu->model, "ICM42688");
  EXPECT_EQ(report.imu->model.size(), 8u);
}

TEST(CapabilityReport, AcceptsTheOutermostPrintableBytes) {
  const CapabilityReport report = ParseOrFail(CapabilityReportBuilder()
                                                  .bits(0x04)
                                                  .valid_fields()
                                                  .model_bytes({0x20, 0x7E, 0x20, 0x00, 0x00, 0x00, 0x00, 0x00})
                                                  .build());
  ASSERT_TRUE(report.imu.has_value());
  EXPECT_EQ(report.imu->model, " ~ ");
}

TEST(CapabilityReport, AcceptsAnEmptyModel) {
  const CapabilityReport report = ParseOrFail(CapabilityReportBuilder().bits(0x04).valid_fields().model("").build());
  ASSERT_TRUE(report.imu.has_value());
  EXPECT_TRUE(report.imu->model.empty());
}

TEST(CapabilityReport, RejectsNonPrintableModelBytesBeforeTheFirstNul) {
  for (const std::uint8_t bad : {0x01, 0x1F, 0x7F, 0x80, 0xFF}) {
    SCOPED_TRACE(static_cast<int>(bad));
    ExpectFailure(CapabilityReportBuilder()
                      .bits(0x04)
                      .valid_fields()
                      .model_bytes({0x41, 0x42, bad, 0x00, 0x00, 0x00, 0x00, 0x00})
                      .build(),
                  ErrorCode::InvalidArgument, "capability IMU model contains non-printable ASCII");
  }
}

TEST(CapabilityReport, NonPrintableModelByteWinsOverMissingPadding) {
  ExpectFailure(CapabilityReportBuilder()
                    .bits(0x04)
                    .valid_fields()
                    .model_bytes({0x7F, 0x00, 0x43, 0x00, 0x00, 0x00, 0x00, 0x00})
                    .build(),
                ErrorCode::InvalidArgument, "capability IMU model contains non-printable ASCII");
}

TEST(CapabilityReport, ModelIsCheckedBeforeTheTransportFields) {
  ExpectFailure(CapabilityReportBuilder()
                    .bits(0x04)
                    .valid_fields()
                    .model_bytes({0x41, 0x00, 0x43, 0x00, 0x00, 0x00, 0x00, 0x00})
                    .transport(0, 0, 0)
                    .build(),
                ErrorCode::InvalidArgument, "capability IMU model is not NUL padded");
}

TEST(CapabilityReport, FlashFieldsAreCheckedBeforeTheImuFields) {
  ExpectFailure(CapabilityReportBuilder().bits(0x06).valid_fields().flash(0, 1).transport(0, 0, 0).build(),
                ErrorCode::InvalidArgument, "capability Flash user space is smaller than the minimum header");
}

TEST(CapabilityReport, RejectsZeroUnitOrSelector) {
  ExpectFailure(CapabilityReportBuilder().bits(0x04).valid_fields().transport(0, 10, 17).build(),
                ErrorCode::InvalidArgument, "capability IMU XU unit and selector must be non-zero");
  ExpectFailure(CapabilityReportBuilder().bits(0x04).valid_fields().transport(4, 0, 17).build(),
                ErrorCode::InvalidArgument, "capability IMU XU unit and selector must be non-zero");
}

TEST(CapabilityReport, RejectsXuLengthSixteen) {
  ExpectFailure(CapabilityReportBuilder().bits(0x04).valid_fields().transport(4, 10, 16).build(),
                ErrorCode::InvalidArgument, "capability IMU XU length must be at least 17 bytes");
}

TEST(CapabilityReport, AcceptsXuLengthsFromSeventeenUp) {
  for (const std::uint8_t length : {17, 64, 255}) {
    const CapabilityReport report =
        ParseOrFail(CapabilityReportBuilder().bits(0x04).valid_fields().transport(7, 3, length).build());
    ASSERT_TRUE(report.imu.has_value());
    EXPECT_EQ(report.imu->xu_unit, 7);
    EXPECT_EQ(report.imu->xu_selector, 3);
    EXPECT_EQ(report.imu->xu_length, length);
  }
}

TEST(CapabilityReport, RejectsExponentsZeroAndFour) {
  for (const std::uint8_t exponent : {0, 4, 255}) {
    SCOPED_TRACE(static_cast<int>(exponent));
    ExpectFailure(CapabilityReportBuilder().bits(0x04).valid_fields().exponent(exponent).build(),
                  ErrorCode::InvalidArgument, "capability IMU decimal exponent must be 1, 2, or 3");
  }
}

TEST(CapabilityReport, RejectsEachZeroScale) {
  ExpectFailure(CapabilityReportBuilder().bits(0x04).valid_fields().scales(0, 2048, 1640).build(),
                ErrorCode::InvalidArgument, "capability IMU conversion scale must be non-zero");
  ExpectFailure(CapabilityReportBuilder().bits(0x04).valid_fields().scales(12800, 0, 1640).build(),
                ErrorCode::InvalidArgument, "capability IMU conversion scale must be non-zero");
  ExpectFailure(CapabilityReportBuilder().bits(0x04).valid_fields().scales(12800, 2048, 0).build(),
                ErrorCode::InvalidArgument, "capability IMU conversion scale must be non-zero");
}

TEST(CapabilityReport, ImuFieldChecksRunInOrder) {
  ExpectFailure(CapabilityReportBuilder().bits(0x04).valid_fields().transport(0, 10, 16).build(),
                ErrorCode::InvalidArgument, "capability IMU XU unit and selector must be non-zero");
  ExpectFailure(CapabilityReportBuilder().bits(0x04).valid_fields().transport(4, 10, 16).exponent(0).build(),
                ErrorCode::InvalidArgument, "capability IMU XU length must be at least 17 bytes");
  ExpectFailure(CapabilityReportBuilder().bits(0x04).valid_fields().exponent(0).scales(0, 0, 0).build(),
                ErrorCode::InvalidArgument, "capability IMU decimal exponent must be 1, 2, or 3");
}

TEST(CapabilityReport, ExponentTwoScalesTemperatureAndGyroButNotAccel) {
  const CapabilityReport report = ParseOrFail(CapabilityReportBuilder()
                                                  .bits(0x04)
                                                  .valid_fields()
                                                  .exponent(2)
                                                  .temperature_offset(-10)
                                                  .scales(12800, 2048, 1640)
                                                  .build());
  ASSERT_TRUE(report.imu.has_value());
  EXPECT_EQ(report.imu->temperature_offset_c, -0.1);
  EXPECT_EQ(report.imu->temperature_lsb_per_c, 128.0);
  EXPECT_EQ(report.imu->accel_lsb_per_g, 2048.0);
  EXPECT_EQ(report.imu->gyro_lsb_per_dps, 16.4);
}

TEST(CapabilityReport, ExponentOneDividesByTen) {
  const CapabilityReport report = ParseOrFail(CapabilityReportBuilder()
                                                  .bits(0x04)
                                                  .valid_fields()
                                                  .exponent(1)
                                                  .temperature_offset(250)
                                                  .scales(1280, 4096, 164)
                                                  .build());
  ASSERT_TRUE(report.imu.has_value());
  EXPECT_EQ(report.imu->decimal_exponent, 1);
  EXPECT_EQ(report.imu->temperature_offset_c, 25.0);
  EXPECT_EQ(report.imu->temperature_lsb_per_c, 128.0);
  EXPECT_EQ(report.imu->accel_lsb_per_g, 4096.0);
  EXPECT_EQ(report.imu->gyro_lsb_per_dps, 16.4);
}

TEST(CapabilityReport, ExponentThreeDividesByAThousand) {
  const CapabilityReport report = ParseOrFail(CapabilityReportBuilder()
                                                  .bits(0x04)
                                                  .valid_fields()
                                                  .exponent(3)
                                                  .temperature_offset(-1)
                                                  .scales(65535, 65535, 16400)
                                                  .build());
  ASSERT_TRUE(report.imu.has_value());
  EXPECT_EQ(report.imu->decimal_exponent, 3);
  EXPECT_EQ(report.imu->temperature_offset_c, -0.001);
  EXPECT_EQ(report.imu->temperature_lsb_per_c, 65.535);
  EXPECT_EQ(report.imu->accel_lsb_per_g, 65535.0);
  EXPECT_EQ(report.imu->gyro_lsb_per_dps, 16.4);
}

TEST(CapabilityReport, TemperatureOffsetMayBeZeroOrAtItsSignedLimits) {
  for (const int offset : {0, -32768, 32767}) {
    SCOPED_TRACE(offset);
    const CapabilityReport report = ParseOrFail(CapabilityReportBuilder()
                                                    .bits(0x04)
                                                    .valid_fields()
                                                    .exponent(1)
                                                    .temperature_offset(static_cast<std::int16_t>(offset))
                                                    .build());
    ASSERT_TRUE(report.imu.has_value());
    EXPECT_EQ(report.imu->temperature_offset_c, offset / 10.0);
  }
}

TEST(CapabilityReport, ImuGuardTurnsAStandardExceptionIntoInternalErrorWithItsText) {
  const Status status =
      detail::guard_imu_model_step([]() -> Status { throw std::runtime_error("model buffer exhausted"); });
  EXPECT_EQ(status.code(), ErrorCode::InternalError);
  EXPECT_EQ(status.message(), "model buffer exhausted");
}

TEST(CapabilityReport, ImuGuardTurnsAnyOtherExceptionIntoInternalErrorWithItsFixedText) {
  const Status status = detail::guard_imu_model_step([]() -> Status { throw 42; });
  EXPECT_EQ(status.code(), ErrorCode::InternalError);
  EXPECT_EQ(status.message(), "unknown exception while parsing capability IMU model");
}

TEST(CapabilityReport, ImuGuardPassesTheStepsOwnStatusThrough) {
  const Status failed = detail::guard_imu_model_step([] { return Status(ErrorCode::InvalidArgument, "bad model"); });
  EXPECT_EQ(failed.code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(failed.message(), "bad model");
  EXPECT_TRUE(detail::guard_imu_model_step([] { return Status(); }).ok());
}

TEST(CapabilityReport, FailureCarriesNoValue) {
  Result<CapabilityReport> result = parse_xu_capability_report(CapabilityReportBuilder().bits(0x20).build());
  ASSERT_FALSE(result.ok());
  EXPECT_THROW(static_cast<void>(result.value()), std::bad_optional_access);
}

TEST(CapabilityReportEncoder, WritesTheIndependentlyComputedReports) {
  EXPECT_EQ(detail::encode_xu_capability_report(CapabilityReport{}), kMinimalReport);

  CapabilityReport full;
  full.minor_version = 3;
  full.capability_bits = 0x06;
  full.flash_user_space = FlashUserSpace{0x1F0000, 0x10000};
  full.imu = test_support::reported_imu("BMI088", 4, 10, 17, 2, -0.1, 128.0, 2048.0, 16.4);
  EXPECT_EQ(detail::encode_xu_capability_report(full), kFullReport);
}

TEST(CapabilityReportEncoder, ReencodesEveryBuiltReportToTheSameBytes) {
  const Bytes reports[] = {
      CapabilityReportBuilder().build(),
      CapabilityReportBuilder().minor_version(9).bits(0x1F).valid_fields().build(),
      CapabilityReportBuilder().bits(0x0B).flash(0, 0xFFFFFFFF).build(),
      CapabilityReportBuilder().bits(0x14).valid_imu().model("ICM42688").exponent(1).temperature_offset(-32768).build(),
      CapabilityReportBuilder()
          .bits(0x04)
          .valid_imu()
          .model("")
          .exponent(3)
          .temperature_offset(32767)
          .scales(1, 65535, 65535)
          .build(),
      CapabilityReportBuilder()
          .bits(0x06)
          .valid_fields()
          .transport(255, 255, 255)
          .exponent(3)
          .scales(12345, 1, 999)
          .build(),
  };
  for (const Bytes& bytes : reports) {
    const CapabilityReport parsed = ParseOrFail(bytes);
    EXPECT_EQ(detail::encode_xu_capability_report(parsed), bytes);
  }
}

TEST(CapabilityReportEncoder, ParsesBackToTheReportItEncoded) {
  CapabilityReport report;
  report.minor_version = 7;
  report.capability_bits = 0x1F;
  report.flash_user_space = FlashUserSpace{0x20000, 0x8000};
  report.imu = test_support::reported_imu("LSM6", 6, 2, 32, 3, -12.345, 32.768, 16384.0, 32.8);

  const CapabilityReport parsed = ParseOrFail(detail::encode_xu_capability_report(report));
  EXPECT_EQ(parsed.major_version, 1);
  EXPECT_EQ(parsed.minor_version, 7);
  EXPECT_EQ(parsed.capability_bits, 0x1Fu);
  ASSERT_TRUE(parsed.flash_user_space.has_value());
  EXPECT_EQ(parsed.flash_user_space->start, 0x20000u);
  EXPECT_EQ(parsed.flash_user_space->size, 0x8000u);
  ASSERT_TRUE(parsed.imu.has_value());
  EXPECT_EQ(parsed.imu->model, "LSM6");
  EXPECT_EQ(parsed.imu->xu_unit, 6);
  EXPECT_EQ(parsed.imu->xu_selector, 2);
  EXPECT_EQ(parsed.imu->xu_length, 32);
  EXPECT_EQ(parsed.imu->decimal_exponent, 3);
  EXPECT_EQ(parsed.imu->temperature_offset_c, -12.345);
  EXPECT_EQ(parsed.imu->temperature_lsb_per_c, 32.768);
  EXPECT_EQ(parsed.imu->accel_lsb_per_g, 16384.0);
  EXPECT_EQ(parsed.imu->gyro_lsb_per_dps, 32.8);
}

TEST(CapabilityReportEncoder, LeavesFieldsOfClearedBitsOutWhenTheirOptionalIsEmpty) {
  CapabilityReport report;
  report.capability_bits = 0x06;  // declared, but with nothing to write the fields would stay zero
  const Bytes bytes = detail::encode_xu_capability_report(report);
  for (std::size_t offset = 15; offset < 60; ++offset) {
    EXPECT_EQ(bytes[offset], 0) << offset;
  }
  ExpectFailure(bytes, ErrorCode::InvalidArgument, "capability Flash user space is smaller than the minimum header");
}

TEST(CapabilityReportEncoder, SaturatesValuesItsFieldsCannotHoldAndCutsLongModels) {
  CapabilityReport report;
  report.capability_bits = 0x04;
  ReportedImuInfo imu;
  imu.model = "ABCDEFGHIJ";
  imu.xu_unit = 1;
  imu.xu_selector = 1;
  imu.xu_length = 17;
  imu.decimal_exponent = 1;
  imu.temperature_offset_c = -5000.0;  // -50000 tenths: below the signed 16-bit field
  imu.temperature_lsb_per_c = 7000.0;  // 70000 tenths: above the unsigned 16-bit field
  imu.accel_lsb_per_g = -1.0;
  imu.gyro_lsb_per_dps = 1.0;
  report.imu = imu;

  const Bytes bytes = detail::encode_xu_capability_report(report);
  EXPECT_EQ(bytes[23], 'A');
  EXPECT_EQ(bytes[30], 'H');
  EXPECT_EQ(bytes[35], 0x00);
  EXPECT_EQ(bytes[36], 0x80);
  EXPECT_EQ(bytes[37], 0xFF);
  EXPECT_EQ(bytes[38], 0xFF);
  EXPECT_EQ(bytes[39], 0x00);
  EXPECT_EQ(bytes[40], 0x00);
  EXPECT_EQ(bytes[41], 10);
  EXPECT_EQ(bytes[42], 0);
}

}  // namespace
}  // namespace tovanel::uvc_stereo
