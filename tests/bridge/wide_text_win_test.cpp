#include "bridge/os/wide_text_win.h"

#include <gtest/gtest.h>

#include <string>

#include "fake_capture_system_win.h"

namespace tovanel::uvc_stereo::win_detail {
namespace {

TEST(WideToUtf8, NullAndEmptyStringsAreEmpty) {
  EXPECT_EQ(wide_to_utf8(nullptr), "");
  EXPECT_EQ(wide_to_utf8(L""), "");
}

TEST(WideToUtf8, ConvertsAsciiUnchanged) { EXPECT_EQ(wide_to_utf8(L"Tovanel Stereo 0C45"), "Tovanel Stereo 0C45"); }

TEST(WideToUtf8, ConvertsEveryPlaneToUtf8) {
  EXPECT_EQ(wide_to_utf8(L"\u00e9"), "\xC3\xA9");
  EXPECT_EQ(wide_to_utf8(L"\u65e5\u672c"), "\xE6\x97\xA5\xE6\x9C\xAC");
  EXPECT_EQ(wide_to_utf8(L"\U0001F600"), "\xF0\x9F\x98\x80") << "a surrogate pair is one character";
}

TEST(WideToUtf8, ALoneSurrogateBecomesTheReplacementCharacter) {
  const wchar_t lone[] = {L'a', static_cast<wchar_t>(0xD800), L'b', L'\0'};
  EXPECT_EQ(wide_to_utf8(lone), std::string("a\xEF\xBF\xBD") + "b");
}

using WideToUtf8Answers = win_testing::FakeCaptureSystemTest;

TEST_F(WideToUtf8Answers, AskNothingForAnEmptyString) {
  EXPECT_EQ(wide_to_utf8(L""), "");
  EXPECT_EQ(system_.count("WideCharToMultiByte"), 0u);
}

TEST_F(WideToUtf8Answers, ALengthBelowTwoIsEmpty) {
  system_.wide_char_results = {1};
  EXPECT_EQ(wide_to_utf8(L"abc"), "");
  EXPECT_EQ(system_.count("WideCharToMultiByte"), 1u) << "nothing is converted after the length query";
}

TEST_F(WideToUtf8Answers, AFailedConversionIsEmpty) {
  system_.wide_char_results = {4, 0};
  EXPECT_EQ(wide_to_utf8(L"abc"), "");
}

TEST_F(WideToUtf8Answers, AConversionOfOnlyTheTerminatorIsEmpty) {
  system_.wide_char_results = {4, 1};
  EXPECT_EQ(wide_to_utf8(L"abc"), "");
}

TEST_F(WideToUtf8Answers, TheTextIsCutToWhatTheConversionReportsLessItsTerminator) {
  system_.wide_char_results = {6, 3};
  EXPECT_EQ(wide_to_utf8(L"abcde"), "ab");
  EXPECT_EQ(system_.count("WideCharToMultiByte with unexpected arguments"), 0u);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::win_detail
