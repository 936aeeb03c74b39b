#include "device/capability_not_supported.h"

#include <gtest/gtest.h>

#include <string>

namespace tovanel::uvc_stereo {
namespace {

TEST(CapabilityNotSupported, ImuHasItsOwnSentence) {
  const Status status = detail::capability_not_supported("IMU");
  EXPECT_EQ(status.code(), ErrorCode::NotSupported);
  EXPECT_EQ(status.message(), "IMU is not supported on this device");
}

TEST(CapabilityNotSupported, OtherNamesAreReportedAsMissingFromTheReport) {
  const Status flash = detail::capability_not_supported("Flash");
  EXPECT_EQ(flash.code(), ErrorCode::NotSupported);
  EXPECT_EQ(flash.message(), "valid capability XU report does not declare Flash");
  EXPECT_EQ(detail::capability_not_supported("imu").message(), "valid capability XU report does not declare imu");
}

TEST(CapabilityNotSupported, NoNameReadsAsTheRequestedCapability) {
  const Status status = detail::capability_not_supported();
  EXPECT_EQ(status.code(), ErrorCode::NotSupported);
  EXPECT_EQ(status.message(), "valid capability XU report does not declare the requested capability");
}

TEST(CapabilityNotSupported, AnEmptyNameIsStillAName) {
  EXPECT_EQ(detail::capability_not_supported(std::string_view()).message(),
            "valid capability XU report does not declare ");
}

}  // namespace
}  // namespace tovanel::uvc_stereo
