#include "core/byte_order.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace tovanel::uvc_stereo {
namespace {

TEST(ByteOrder, LoadsPutTheFirstByteLowest) {
  const std::uint8_t bytes[8] = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF};
  EXPECT_EQ(detail::load_le16(bytes), 0x2301);
  EXPECT_EQ(detail::load_le32(bytes), 0x67452301u);
  EXPECT_EQ(detail::load_le64(bytes), 0xEFCDAB8967452301ull);
}

TEST(ByteOrder, LoadsKeepHighBitsUnsigned) {
  const std::uint8_t bytes[8] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
  EXPECT_EQ(detail::load_le16(bytes), 0xFFFF);
  EXPECT_EQ(detail::load_le32(bytes), 0xFFFFFFFFu);
  EXPECT_EQ(detail::load_le64(bytes), 0xFFFFFFFFFFFFFFFFull);
}

TEST(ByteOrder, LoadsWorkAtAnyOffset) {
  const std::uint8_t bytes[9] = {0x00, 0x54, 0x4F, 0x56, 0x41, 0x11, 0x22, 0x33, 0x44};
  EXPECT_EQ(detail::load_le32(bytes + 1), 0x41564F54u);
  EXPECT_EQ(detail::load_le64(bytes + 1), 0x4433221141564F54ull);
}

TEST(ByteOrder, StoresWriteTheLowestByteFirstAndTouchNothingElse) {
  std::uint8_t bytes[10] = {0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA};
  detail::store_le16(bytes + 1, 0x1234);
  EXPECT_EQ(bytes[0], 0xAA);
  EXPECT_EQ(bytes[1], 0x34);
  EXPECT_EQ(bytes[2], 0x12);
  EXPECT_EQ(bytes[3], 0xAA);
  detail::store_le32(bytes + 1, 0xDEADBEEFu);
  EXPECT_EQ(bytes[1], 0xEF);
  EXPECT_EQ(bytes[2], 0xBE);
  EXPECT_EQ(bytes[3], 0xAD);
  EXPECT_EQ(bytes[4], 0xDE);
  EXPECT_EQ(bytes[5], 0xAA);
  detail::store_le64(bytes + 1, 0x0102030405060708ull);
  const std::uint8_t expected[10] = {0xAA, 0x08, 0x07, 0x06, 0x05, 0x04, 0x03, 0x02, 0x01, 0xAA};
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(bytes[i], expected[i]) << "byte " << i;
  }
}

TEST(ByteOrder, StoreThenLoadRoundTrips) {
  std::uint8_t bytes[8] = {};
  for (const std::uint32_t value : {0u, 1u, 0x80000000u, 0x41564F54u, 0xFFFFFFFFu}) {
    detail::store_le32(bytes, value);
    EXPECT_EQ(detail::load_le32(bytes), value);
  }
  detail::store_le64(bytes, 0x8000000000000001ull);
  EXPECT_EQ(detail::load_le64(bytes), 0x8000000000000001ull);
}

}  // namespace
}  // namespace tovanel::uvc_stereo
