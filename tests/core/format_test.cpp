#include "core/format.h"

#include <gtest/gtest.h>

#include <string>

namespace tovanel::uvc_stereo {
namespace {

TEST(FormatFixed, FormatsNumbersLikeSnprintf) {
  EXPECT_EQ(detail::format_fixed<64>("address=0x%08X, length=%llu, end=0x%llX", 0x51000u, 65537ull, 0x100000000ull),
            "address=0x00051000, length=65537, end=0x100000000");
}

TEST(FormatFixed, KeepsTextThatFillsTheBufferBarOneByte) {
  EXPECT_EQ(detail::format_fixed<8>("%s", "1234567"), "1234567");
}

TEST(FormatFixed, CutsTextAtOneByteLessThanTheBuffer) {
  EXPECT_EQ(detail::format_fixed<8>("%s", "12345678"), "1234567");
  EXPECT_EQ(detail::format_fixed<8>("%s-%d", "abcdef", 12345), "abcdef-");
}

TEST(FormatFixed, WithAOneByteBufferYieldsNothing) { EXPECT_EQ(detail::format_fixed<1>("%s", "text"), ""); }

TEST(FormatFixed, StopsAtTheFirstNulOfTheFormattedText) {
  const std::string text = detail::format_fixed<32>("ab%cde", 0);
  EXPECT_EQ(text, "ab");
  EXPECT_EQ(text.size(), 2u);
}

TEST(FormatFixed, CutsAtEachMessageFamilysBufferSize) {
  const std::string long_text(1000, 'm');
  EXPECT_EQ(detail::format_fixed<320>("%s", long_text.c_str()).size(), 319u);
  EXPECT_EQ(detail::format_fixed<256>("%s", long_text.c_str()).size(), 255u);
  EXPECT_EQ(detail::format_fixed<128>("%s", long_text.c_str()).size(), 127u);
}

}  // namespace
}  // namespace tovanel::uvc_stereo
