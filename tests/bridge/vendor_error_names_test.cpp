#include "bridge/vendor_error_names.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <limits>
#include <string_view>

namespace tovanel::uvc_stereo::win_detail {
namespace {

TEST(VendorErrorName, NamesEveryKnownCodeAsTheVendorSpellsIt) {
  constexpr std::string_view kExpected[] = {
      "ecUnknow",
      "ecCoInitializeEx",
      "ecLibInitFail",
      "ecEnumDeviceFail",
      "ecNotFindDevice",
      "ecGetKsControlFail",
      "ecMemoryMallocFail",
      "ecDeviceDisconnect",
      "ecSyncTransTimeOut",
      "ecBurnCheckFail",
      "ecSectorEraseFail",
      "ecBlockEraseFail",
      "ecWriteFlashFail",
      "ecChipEraseFail",
      "ecWriteFlashCheckFail",
      "ecGetParamTabFail",
      "ecGetChipArchTypeFail",
      "ecGetChipRomVersionFail",
      "ecDisableWriteProtectFail",
      "ecNoBootLoaderInSF",
      "ecNoCFUInSF",
      "ecUnknowPowerOnAreaInSF",
  };
  static_assert(std::size(kExpected) == 22);
  for (std::int32_t code = 0; code < 22; ++code) {
    EXPECT_EQ(detail::bridge::vendor_error_name(code), kExpected[code]) << "code " << code;
  }
}

TEST(VendorErrorName, KeepsTheVendorsMissingLetters) {
  EXPECT_EQ(detail::bridge::vendor_error_name(0), "ecUnknow");
  EXPECT_EQ(detail::bridge::vendor_error_name(21), "ecUnknowPowerOnAreaInSF");
}

TEST(VendorErrorName, CodeJustAboveTheTableIsUnknown) { EXPECT_EQ(detail::bridge::vendor_error_name(22), "unknown"); }

TEST(VendorErrorName, NegativeCodesAreUnknown) {
  EXPECT_EQ(detail::bridge::vendor_error_name(-1), "unknown");
  EXPECT_EQ(detail::bridge::vendor_error_name(std::numeric_limits<std::int32_t>::min()), "unknown");
}

TEST(VendorErrorName, LargestCodeIsUnknown) {
  EXPECT_EQ(detail::bridge::vendor_error_name(std::numeric_limits<std::int32_t>::max()), "unknown");
}

TEST(VendorNoDeviceError, NotFindDeviceMeansNoDevice) { EXPECT_TRUE(is_no_device_error(4)); }

TEST(VendorNoDeviceError, DisconnectIsNotNoDevice) { EXPECT_FALSE(is_no_device_error(7)); }

TEST(VendorNoDeviceError, FailedEnumerationIsNotNoDevice) { EXPECT_FALSE(is_no_device_error(3)); }

TEST(VendorNoDeviceError, NoOtherCodeMeansNoDevice) {
  for (std::int32_t code = -2; code < 30; ++code) {
    if (code != 4) {
      EXPECT_FALSE(is_no_device_error(code)) << "code " << code;
    }
  }
}

}  // namespace
}  // namespace tovanel::uvc_stereo::win_detail
