#include "bridge/device_record_text.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <initializer_list>
#include <string>

#include "bridge/sonix_camera.h"

// The wide-string fields of the vendor library's device record in UTF-8, on either
// platform's conversion (WideCharToMultiByte on Windows).
namespace tovanel::uvc_stereo::win_detail {
namespace {

using SonixLib::scWideChar;

// A device-name field holding `units` and zeros after them.
struct NameField {
  scWideChar units[SonixLib::kDeviceNameChars] = {};

  NameField(std::initializer_list<unsigned> code_units) {
    std::size_t i = 0;
    for (const unsigned unit : code_units) {
      units[i++] = static_cast<scWideChar>(unit);
    }
  }
};

TEST(DeviceRecordText, AnEmptyFieldIsEmpty) {
  const NameField field({});
  EXPECT_EQ(detail::bridge::device_record_text(field.units), "");
  EXPECT_EQ(detail::bridge::device_record_text(nullptr, 4), "");
}

TEST(DeviceRecordText, StopsAtTheFirstNul) {
  const NameField field({'C', 'a', 'm', 0, 'X'});
  EXPECT_EQ(detail::bridge::device_record_text(field.units), "Cam");
}

TEST(DeviceRecordText, EqualsItsOwnAsciiTextAndNothingLongerOrShorter) {
  const NameField field({'/', 's', 'y', 's', 0, 'X'});
  EXPECT_TRUE(detail::bridge::device_record_text_equals(field.units, "/sys"));
  EXPECT_FALSE(detail::bridge::device_record_text_equals(field.units, "/sy"));
  EXPECT_FALSE(detail::bridge::device_record_text_equals(field.units, "/sysX"));
  EXPECT_FALSE(detail::bridge::device_record_text_equals(field.units, "/SYS"));
  EXPECT_TRUE(detail::bridge::device_record_text_equals(nullptr, 4, ""));
}

TEST(DeviceRecordText, EqualsItsTextBeyondAsciiAsTheConversionGivesIt) {
  const NameField field({'C', 0xE9, ' ', 0xD83D, 0xDCF7});
  EXPECT_TRUE(detail::bridge::device_record_text_equals(field.units, "C\xC3\xA9 \xF0\x9F\x93\xB7"));
  EXPECT_FALSE(detail::bridge::device_record_text_equals(field.units, "C\xC3\xA9 \xF0\x9F\x93\xB8"));
  // A code unit above 0x7F never equals a single byte of ASCII text.
  const NameField latin({'C', 0xE9});
  EXPECT_FALSE(detail::bridge::device_record_text_equals(latin.units, "C\x69"));
}

TEST(DeviceRecordText, ConvertsEveryPlaneToUtf8) {
  const NameField field({'C', 0xE9, ' ', 0x7ACB, 0x4F53, ' ', 0xD83D, 0xDCF7});
  EXPECT_EQ(detail::bridge::device_record_text(field.units), "C\xC3\xA9 \xE7\xAB\x8B\xE4\xBD\x93 \xF0\x9F\x93\xB7");
}

TEST(DeviceRecordText, AFieldFilledToTheEndWithoutANulIsReadWhole) {
  NameField field({});
  for (scWideChar& unit : field.units) {
    unit = static_cast<scWideChar>('n');
  }
  EXPECT_EQ(detail::bridge::device_record_text(field.units), std::string(SonixLib::kDeviceNameChars, 'n'));
}

TEST(DeviceRecordText, ReadsNoFurtherThanTheCapacityItIsGiven) {
  const NameField field({'a', 'b', 'c', 'd', 'e'});
  EXPECT_EQ(detail::bridge::device_record_text(field.units, 3), "abc");
}

TEST(DeviceRecordText, AFilledFieldReadsBackAsTheTextWithZerosAfterIt) {
  NameField field({'x', 'x', 'x', 'x', 'x', 'x'});
  detail::bridge::fill_device_record_text("C\xC3\xA9 \xF0\x9F\x93\xB7", field.units);
  EXPECT_EQ(detail::bridge::device_record_text(field.units), "C\xC3\xA9 \xF0\x9F\x93\xB7");
  EXPECT_EQ(field.units[4], static_cast<scWideChar>(0xDCF7));
  for (std::size_t i = 5; i < SonixLib::kDeviceNameChars; ++i) {
    ASSERT_EQ(field.units[i], 0) << "unit " << i;
  }
}

TEST(DeviceRecordText, ATextTooLongIsCutToLeaveItsNul) {
  NameField field({});
  detail::bridge::fill_device_record_text("abcdef", field.units, 4);
  EXPECT_EQ(detail::bridge::device_record_text(field.units), "abc");
  EXPECT_EQ(field.units[3], 0);
}

TEST(DeviceRecordText, ACutNeverSplitsASurrogatePair) {
  NameField field({});
  // "ab" and U+1F4F7 are four code units; three fit before the NUL, so the pair is left out whole.
  detail::bridge::fill_device_record_text("ab\xF0\x9F\x93\xB7", field.units, 4);
  EXPECT_EQ(detail::bridge::device_record_text(field.units), "ab");
  EXPECT_EQ(field.units[2], 0);
  detail::bridge::fill_device_record_text("ab\xF0\x9F\x93\xB7", field.units, 5);
  EXPECT_EQ(detail::bridge::device_record_text(field.units), "ab\xF0\x9F\x93\xB7");
}

TEST(DeviceRecordText, NothingIsWrittenIntoANullOrEmptyField) {
  NameField field({'k'});
  detail::bridge::fill_device_record_text("abc", field.units, 0);
  EXPECT_EQ(field.units[0], static_cast<scWideChar>('k'));
  detail::bridge::fill_device_record_text("abc", nullptr, 4);
}

TEST(DeviceRecordText, TheLengthStopsAtTheNulOrTheCapacity) {
  const NameField field({'a', 'b', 0, 'c'});
  EXPECT_EQ(detail::bridge::device_record_text_length(field.units, SonixLib::kDeviceNameChars), 2U);
  EXPECT_EQ(detail::bridge::device_record_text_length(field.units, 1), 1U);
  EXPECT_EQ(detail::bridge::device_record_text_length(nullptr, 8), 0U);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::win_detail
