#include "core/utf.h"

#include <gtest/gtest.h>

#include <string>

namespace tovanel::uvc_stereo::detail {
namespace {

constexpr char16_t kFffd = 0xFFFD;
const std::string kFffdUtf8 = "\xEF\xBF\xBD";

TEST(Utf8ToUtf16, KeepsAsciiUnitForUnit) { EXPECT_EQ(utf8_to_utf16("USB Camera-2"), u"USB Camera-2"); }

TEST(Utf8ToUtf16, DecodesTwoThreeAndFourByteSequences) {
  EXPECT_EQ(utf8_to_utf16("\xC3\xA9"), std::u16string(1, char16_t{0x00E9}));
  EXPECT_EQ(utf8_to_utf16("\xE2\x82\xAC"), std::u16string(1, char16_t{0x20AC}));
  // U+1F600 needs a surrogate pair in UTF-16.
  EXPECT_EQ(utf8_to_utf16("\xF0\x9F\x98\x80"), (std::u16string{char16_t{0xD83D}, char16_t{0xDE00}}));
}

TEST(Utf8ToUtf16, DecodesTheBoundaryCodePointsOfEachLength) {
  EXPECT_EQ(utf8_to_utf16("\x7F"), std::u16string(1, char16_t{0x7F}));
  EXPECT_EQ(utf8_to_utf16("\xC2\x80"), std::u16string(1, char16_t{0x80}));
  EXPECT_EQ(utf8_to_utf16("\xDF\xBF"), std::u16string(1, char16_t{0x7FF}));
  EXPECT_EQ(utf8_to_utf16("\xE0\xA0\x80"), std::u16string(1, char16_t{0x800}));
  EXPECT_EQ(utf8_to_utf16("\xEF\xBF\xBF"), std::u16string(1, char16_t{0xFFFF}));
  EXPECT_EQ(utf8_to_utf16("\xF0\x90\x80\x80"), (std::u16string{char16_t{0xD800}, char16_t{0xDC00}}));
  EXPECT_EQ(utf8_to_utf16("\xF4\x8F\xBF\xBF"), (std::u16string{char16_t{0xDBFF}, char16_t{0xDFFF}}));
}

TEST(Utf8ToUtf16, KeepsEmbeddedNul) { EXPECT_EQ(utf8_to_utf16(std::string("a\0b", 3)), std::u16string(u"a\0b", 3)); }

TEST(Utf8ToUtf16, ReplacesALoneContinuationByte) {
  EXPECT_EQ(utf8_to_utf16("a\x80z"), (std::u16string{u'a', kFffd, u'z'}));
}

TEST(Utf8ToUtf16, ReplacesATruncatedSequenceOnceAndResumesAtTheBreakingByte) {
  EXPECT_EQ(utf8_to_utf16(std::string("\xE2\x82") + "A"), (std::u16string{kFffd, u'A'}));
  EXPECT_EQ(utf8_to_utf16("\xE2\x82\xC3\xA9"), (std::u16string{kFffd, char16_t{0xE9}}));
}

TEST(Utf8ToUtf16, ReplacesASequenceCutByTheEndOfTheText) {
  EXPECT_EQ(utf8_to_utf16("x\xF0\x9F\x98"), (std::u16string{u'x', kFffd}));
}

TEST(Utf8ToUtf16, ReplacesEachByteOfOverlongForms) {
  EXPECT_EQ(utf8_to_utf16("\xC0\xAF"), (std::u16string{kFffd, kFffd}));
  EXPECT_EQ(utf8_to_utf16("\xE0\x80\xAF"), (std::u16string{kFffd, kFffd, kFffd}));
  EXPECT_EQ(utf8_to_utf16("\xF0\x80\x80\xAF"), (std::u16string{kFffd, kFffd, kFffd, kFffd}));
}

TEST(Utf8ToUtf16, ReplacesEncodedSurrogates) {
  EXPECT_EQ(utf8_to_utf16("\xED\xA0\x80"), (std::u16string{kFffd, kFffd, kFffd}));
}

TEST(Utf8ToUtf16, ReplacesCodePointsAboveTheUnicodeRange) {
  EXPECT_EQ(utf8_to_utf16("\xF4\x90\x80\x80"), (std::u16string{kFffd, kFffd, kFffd, kFffd}));
  EXPECT_EQ(utf8_to_utf16("\xF5\xFF"), (std::u16string{kFffd, kFffd}));
}

TEST(Utf8ToUtf16, ReplacesMaximalSubpartsLikeTheUnicodeStandardExample) {
  const std::string input = "\x61\xF1\x80\x80\xE1\x80\xC2\x62\x80\x63\x80\xBF\x64";
  const std::u16string expected = {u'a', kFffd, kFffd, kFffd, u'b', kFffd, u'c', kFffd, kFffd, u'd'};
  EXPECT_EQ(utf8_to_utf16(input), expected);
}

TEST(Utf16ToUtf8, EncodesEachLengthAtItsBoundaries) {
  EXPECT_EQ(utf16_to_utf8(std::u16string(1, char16_t{0x7F})), "\x7F");
  EXPECT_EQ(utf16_to_utf8(std::u16string(1, char16_t{0x80})), "\xC2\x80");
  EXPECT_EQ(utf16_to_utf8(std::u16string(1, char16_t{0x7FF})), "\xDF\xBF");
  EXPECT_EQ(utf16_to_utf8(std::u16string(1, char16_t{0x800})), "\xE0\xA0\x80");
  EXPECT_EQ(utf16_to_utf8(std::u16string(1, char16_t{0xFFFF})), "\xEF\xBF\xBF");
  EXPECT_EQ(utf16_to_utf8(std::u16string{char16_t{0xD800}, char16_t{0xDC00}}), "\xF0\x90\x80\x80");
  EXPECT_EQ(utf16_to_utf8(std::u16string{char16_t{0xDBFF}, char16_t{0xDFFF}}), "\xF4\x8F\xBF\xBF");
}

TEST(Utf16ToUtf8, ReplacesALoneHighSurrogateAtTheEnd) {
  EXPECT_EQ(utf16_to_utf8(std::u16string{u'a', char16_t{0xD83D}}), "a" + kFffdUtf8);
}

TEST(Utf16ToUtf8, ReplacesALoneLowSurrogate) {
  EXPECT_EQ(utf16_to_utf8(std::u16string{char16_t{0xDE00}, u'b'}), kFffdUtf8 + "b");
}

TEST(Utf16ToUtf8, ReplacesAHighSurrogateFollowedByAnOrdinaryUnit) {
  EXPECT_EQ(utf16_to_utf8(std::u16string{char16_t{0xD83D}, u'A'}), kFffdUtf8 + "A");
}

TEST(Utf16ToUtf8, PairsTheSecondOfTwoHighSurrogatesWithTheFollowingLow) {
  EXPECT_EQ(utf16_to_utf8(std::u16string{char16_t{0xD83D}, char16_t{0xD83D}, char16_t{0xDE00}}),
            kFffdUtf8 + "\xF0\x9F\x98\x80");
}

TEST(Utf16ToUtf8, KeepsEmbeddedNul) { EXPECT_EQ(utf16_to_utf8(std::u16string(u"a\0b", 3)), std::string("a\0b", 3)); }

TEST(Utf, RoundTripsEveryScalarValue) {
  std::u16string all;
  for (char32_t cp = 1; cp <= 0x10FFFF; ++cp) {
    if (cp >= 0xD800 && cp <= 0xDFFF) {
      continue;
    }
    if (cp < 0x10000) {
      all.push_back(static_cast<char16_t>(cp));
    } else {
      all.push_back(static_cast<char16_t>(0xD800 + ((cp - 0x10000) >> 10)));
      all.push_back(static_cast<char16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF)));
    }
  }
  const std::string utf8 = utf16_to_utf8(all);
  // 127 one-byte, 1920 two-byte, 61440 three-byte (surrogates excluded) and 1048576 four-byte characters.
  EXPECT_EQ(utf8.size(), 127u * 1 + 1920u * 2 + 61440u * 3 + 1048576u * 4);
  EXPECT_EQ(utf8_to_utf16(utf8), all);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::detail
