#include "imu/firmware_version.h"

#include <gtest/gtest.h>

#include <string_view>

namespace tovanel::uvc_stereo {
namespace {

using detail::firmware_version_allows_imu;
using detail::firmware_version_disables_imu;

TEST(FirmwareVersionAllowsImu, EmptyRequirementAllowsAnyFirmware) {
  EXPECT_TRUE(firmware_version_allows_imu("", ""));
  EXPECT_TRUE(firmware_version_allows_imu("", "A1"));
  EXPECT_TRUE(firmware_version_allows_imu("", "V260416-b"));
  EXPECT_TRUE(firmware_version_allows_imu("", " "));
}

TEST(FirmwareVersionAllowsImu, ExactFirmwareIsAllowed) { EXPECT_TRUE(firmware_version_allows_imu("A1", "A1")); }

TEST(FirmwareVersionAllowsImu, TrailingBlankIsNotTrimmed) { EXPECT_FALSE(firmware_version_allows_imu("A1", "A1 ")); }

TEST(FirmwareVersionAllowsImu, LeadingBlankIsNotTrimmed) { EXPECT_FALSE(firmware_version_allows_imu("A1", " A1")); }

TEST(FirmwareVersionAllowsImu, ComparisonIsCaseSensitive) { EXPECT_FALSE(firmware_version_allows_imu("A1", "a1")); }

TEST(FirmwareVersionAllowsImu, PrefixesAndExtensionsAreNotEqual) {
  EXPECT_FALSE(firmware_version_allows_imu("A1", "A"));
  EXPECT_FALSE(firmware_version_allows_imu("A1", "A12"));
  EXPECT_FALSE(firmware_version_allows_imu("A1", ""));
}

TEST(FirmwareVersionAllowsImu, TrailingNulMakesTheTextDifferent) {
  const char firmware[] = {'A', '1', '\0'};
  EXPECT_FALSE(firmware_version_allows_imu("A1", std::string_view(firmware, sizeof firmware)));
}

TEST(FirmwareVersionDisablesImu, EmptyDisablingTextDisablesNothing) {
  EXPECT_FALSE(firmware_version_disables_imu("", ""));
  EXPECT_FALSE(firmware_version_disables_imu("", "260416"));
  EXPECT_FALSE(firmware_version_disables_imu("", "anything"));
}

TEST(FirmwareVersionDisablesImu, DisablingTextLongerThanFirmwareDisablesNothing) {
  EXPECT_FALSE(firmware_version_disables_imu("123", "12"));
  EXPECT_FALSE(firmware_version_disables_imu("123", ""));
}

TEST(FirmwareVersionDisablesImu, DisablingTextInsideTheFirmwareDisables) {
  EXPECT_TRUE(firmware_version_disables_imu("12", "x12y"));
}

TEST(FirmwareVersionDisablesImu, DisablingTextAtEitherEndOrWholeDisables) {
  EXPECT_TRUE(firmware_version_disables_imu("260416", "260416"));
  EXPECT_TRUE(firmware_version_disables_imu("260416", "260416-b"));
  EXPECT_TRUE(firmware_version_disables_imu("260416", "V260416"));
  EXPECT_TRUE(firmware_version_disables_imu("260416", "V260416-b"));
}

TEST(FirmwareVersionDisablesImu, IsASubstringTestNotAVersionComparison) {
  EXPECT_FALSE(firmware_version_disables_imu("260416", "260415"));
  EXPECT_FALSE(firmware_version_disables_imu("260416", "260417"));
  EXPECT_FALSE(firmware_version_disables_imu("260416", "2604-16"));
  EXPECT_TRUE(firmware_version_disables_imu("260416", "1260416999"));
}

TEST(FirmwareVersionDisablesImu, MatchIsCaseSensitiveAndContiguous) {
  EXPECT_FALSE(firmware_version_disables_imu("ab", "AB"));
  EXPECT_FALSE(firmware_version_disables_imu("ab", "a-b"));
  EXPECT_TRUE(firmware_version_disables_imu("ab", "xaab"));
}

TEST(FirmwareVersionDisablesImu, MatchesAcrossEmbeddedNulBytes) {
  const char firmware[] = {'\0', '1', '2'};
  EXPECT_TRUE(firmware_version_disables_imu("12", std::string_view(firmware, sizeof firmware)));
}

}  // namespace
}  // namespace tovanel::uvc_stereo
