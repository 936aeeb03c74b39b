#include "capability/capability_probe_result.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "capability/capability_report_builder.h"

namespace tovanel::uvc_stereo {
namespace {

using detail::interpret_xu_capability_bytes;
using detail::XuCapabilityProbeResult;
using testing::CapabilityReportBuilder;
using Bytes = std::array<std::uint8_t, 64>;

static_assert(std::is_nothrow_move_constructible_v<XuCapabilityProbeResult>);
static_assert(std::is_nothrow_move_assignable_v<XuCapabilityProbeResult>);

void ExpectInvariant(const XuCapabilityProbeResult& result) {
  EXPECT_EQ(result.legacy_fallback, !(result.report.has_value() && result.status.ok()));
}

TEST(XuCapabilityProbeResult, StartsAsALegacyFallbackWithNoReportAndOkStatus) {
  const XuCapabilityProbeResult result;
  EXPECT_TRUE(result.legacy_fallback);
  EXPECT_FALSE(result.report.has_value());
  EXPECT_EQ(result.status.code(), ErrorCode::Ok);
  EXPECT_TRUE(result.status.message().empty());
}

TEST(XuCapabilityProbeResult, AllZeroBytesMeanNoCapabilityReporting) {
  const XuCapabilityProbeResult result = interpret_xu_capability_bytes(Bytes{});
  EXPECT_TRUE(result.legacy_fallback);
  EXPECT_FALSE(result.report.has_value());
  EXPECT_EQ(static_cast<int>(result.status.code()), 7);
  EXPECT_EQ(result.status.message(), "capability XU returned an all-zero report");
  ExpectInvariant(result);
}

TEST(XuCapabilityProbeResult, OneStrayLastByteIsJudgedByTheReportChecks) {
  Bytes bytes{};
  bytes[63] = 0x01;
  const XuCapabilityProbeResult result = interpret_xu_capability_bytes(bytes);
  EXPECT_TRUE(result.legacy_fallback);
  EXPECT_FALSE(result.report.has_value());
  EXPECT_EQ(static_cast<int>(result.status.code()), 7);
  EXPECT_EQ(result.status.message(), "capability magic must be ASCII TOVA");
  ExpectInvariant(result);
}

TEST(XuCapabilityProbeResult, ValidReportWithFlashAndImuBitsIsKept) {
  const XuCapabilityProbeResult result =
      interpret_xu_capability_bytes(CapabilityReportBuilder().minor_version(2).bits(0x06).valid_fields().build());
  EXPECT_FALSE(result.legacy_fallback);
  EXPECT_TRUE(result.status.ok());
  EXPECT_TRUE(result.status.message().empty());
  ASSERT_TRUE(result.report.has_value());
  EXPECT_EQ(result.report->minor_version, 2);
  EXPECT_EQ(result.report->capability_bits, 0x06u);
  ASSERT_TRUE(result.report->flash_user_space.has_value());
  EXPECT_EQ(result.report->flash_user_space->start, 0x1F0000u);
  EXPECT_EQ(result.report->flash_user_space->size, 0x10000u);
  ASSERT_TRUE(result.report->imu.has_value());
  EXPECT_EQ(result.report->imu->model, "BMI088");
  EXPECT_EQ(result.report->imu->gyro_lsb_per_dps, 16.4);
  ExpectInvariant(result);
}

TEST(XuCapabilityProbeResult, ValidReportWithoutBitsIsKeptWithoutOptionalParts) {
  const XuCapabilityProbeResult result = interpret_xu_capability_bytes(CapabilityReportBuilder().build());
  EXPECT_FALSE(result.legacy_fallback);
  EXPECT_TRUE(result.status.ok());
  ASSERT_TRUE(result.report.has_value());
  EXPECT_FALSE(result.report->flash_user_space.has_value());
  EXPECT_FALSE(result.report->imu.has_value());
  ExpectInvariant(result);
}

TEST(XuCapabilityProbeResult, BadCrcFallsBackWithTheChecksumStatus) {
  Bytes bytes = CapabilityReportBuilder().bits(0x06).valid_fields().build();
  bytes[61] ^= 0x10;
  const XuCapabilityProbeResult result = interpret_xu_capability_bytes(bytes);
  EXPECT_TRUE(result.legacy_fallback);
  EXPECT_FALSE(result.report.has_value());
  EXPECT_EQ(static_cast<int>(result.status.code()), 11);
  EXPECT_EQ(result.status.message(), "capability CRC32C mismatch");
  ExpectInvariant(result);
}

TEST(XuCapabilityProbeResult, MalformedReportKeepsTheParsersCodeAndMessage) {
  const XuCapabilityProbeResult result =
      interpret_xu_capability_bytes(CapabilityReportBuilder().bits(0x04).valid_fields().exponent(4).build());
  EXPECT_TRUE(result.legacy_fallback);
  EXPECT_FALSE(result.report.has_value());
  EXPECT_EQ(result.status.code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(result.status.message(), "capability IMU decimal exponent must be 1, 2, or 3");
  ExpectInvariant(result);
}

TEST(XuCapabilityProbeResult, UnsupportedVersionIsNotMistakenForAnAllZeroReport) {
  const XuCapabilityProbeResult result = interpret_xu_capability_bytes(CapabilityReportBuilder().byte(4, 2).build());
  EXPECT_TRUE(result.legacy_fallback);
  EXPECT_EQ(result.status.code(), ErrorCode::UnsupportedVersion);
  EXPECT_EQ(result.status.message(), "capability major_version is not supported");
}

TEST(XuCapabilityProbeResult, MovingLeavesTheSourceWithAnEmptyStatusMessage) {
  XuCapabilityProbeResult source = interpret_xu_capability_bytes(Bytes{});
  ASSERT_FALSE(source.status.message().empty());
  const XuCapabilityProbeResult target(std::move(source));
  EXPECT_EQ(target.status.message(), "capability XU returned an all-zero report");
  EXPECT_EQ(target.status.code(), ErrorCode::BadMagic);
  EXPECT_TRUE(target.legacy_fallback);
  EXPECT_TRUE(source.status.message().empty());  // NOLINT(bugprone-use-after-move)
}

TEST(XuCapabilityProbeResult, MoveAssignmentTakesTheReportAndTheStatusMessage) {
  XuCapabilityProbeResult valid =
      interpret_xu_capability_bytes(CapabilityReportBuilder().bits(0x04).valid_fields().build());
  XuCapabilityProbeResult target = interpret_xu_capability_bytes(Bytes{});
  target = std::move(valid);
  EXPECT_FALSE(target.legacy_fallback);
  EXPECT_TRUE(target.status.ok());
  ASSERT_TRUE(target.report.has_value());
  ASSERT_TRUE(target.report->imu.has_value());
  EXPECT_EQ(target.report->imu->model, "BMI088");

  XuCapabilityProbeResult failed = interpret_xu_capability_bytes(CapabilityReportBuilder().bits(0x80).build());
  target = std::move(failed);
  EXPECT_TRUE(target.legacy_fallback);
  EXPECT_EQ(target.status.message(), "capability_bits contains unsupported bits");
  EXPECT_TRUE(failed.status.message().empty());  // NOLINT(bugprone-use-after-move)
}

}  // namespace
}  // namespace tovanel::uvc_stereo
