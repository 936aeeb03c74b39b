#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "uvc_stereo/checksum.h"

namespace tovanel::uvc_stereo {
namespace {

constexpr std::uint32_t kIeeePolynomial = 0xEDB88320u;
constexpr std::uint32_t kCastagnoliPolynomial = 0x82F63B78u;

// Independent bit-at-a-time reference: the definition the fast code must agree with.
std::uint32_t reference_crc(const std::uint8_t* data, std::size_t length, std::uint32_t polynomial) {
  if (length == 0) {
    return 0;
  }
  std::uint32_t reg = 0xFFFFFFFFu;
  for (std::size_t i = 0; i < length; ++i) {
    reg ^= data[i];
    for (int bit = 0; bit < 8; ++bit) {
      reg = (reg & 1u) ? (reg >> 1) ^ polynomial : (reg >> 1);
    }
  }
  return ~reg;
}

std::vector<std::uint8_t> bytes_of(const std::string& text) {
  return std::vector<std::uint8_t>(text.begin(), text.end());
}

TEST(Crc32Ieee, OfTheNineCheckDigitsIsCbf43926) { EXPECT_EQ(crc32_ieee(bytes_of("123456789")), 0xCBF43926u); }

TEST(Crc32Ieee, OfTheQuickBrownFoxIs414fa339) {
  EXPECT_EQ(crc32_ieee(bytes_of("The quick brown fox jumps over the lazy dog")), 0x414FA339u);
}

TEST(Crc32Ieee, OfASingleLetterAIsE8b7be43) { EXPECT_EQ(crc32_ieee(bytes_of("a")), 0xE8B7BE43u); }

TEST(Crc32Ieee, OfAnEmptyVectorIsZero) { EXPECT_EQ(crc32_ieee(std::vector<std::uint8_t>()), 0u); }

TEST(Crc32c, OfTheNineCheckDigitsIsE3069283) {
  const std::vector<std::uint8_t> digits = bytes_of("123456789");
  EXPECT_EQ(detail::crc32c(digits.data(), digits.size()), 0xE3069283u);
}

TEST(Crc32c, OfSixtyZeroBytesIs5a0b0531) {
  const std::vector<std::uint8_t> zeros(60, 0);
  EXPECT_EQ(detail::crc32c(zeros.data(), zeros.size()), 0x5A0B0531u);
}

// The iSCSI test patterns: 32 zeros, 32 x 0xFF, ascending and descending 0..31.
TEST(Crc32c, MatchesTheFourIscsiTestPatterns) {
  std::vector<std::uint8_t> zeros(32, 0x00);
  std::vector<std::uint8_t> ones(32, 0xFF);
  std::vector<std::uint8_t> ascending(32);
  std::vector<std::uint8_t> descending(32);
  for (std::size_t i = 0; i < 32; ++i) {
    ascending[i] = static_cast<std::uint8_t>(i);
    descending[i] = static_cast<std::uint8_t>(31 - i);
  }
  EXPECT_EQ(detail::crc32c(zeros.data(), zeros.size()), 0x8A9136AAu);
  EXPECT_EQ(detail::crc32c(ones.data(), ones.size()), 0x62A8AB43u);
  EXPECT_EQ(detail::crc32c(ascending.data(), ascending.size()), 0x46DD794Eu);
  EXPECT_EQ(detail::crc32c(descending.data(), descending.size()), 0x113FDB5Cu);
}

TEST(Crc32c, OfANullPointerWithLengthZeroIsZero) { EXPECT_EQ(detail::crc32c(nullptr, 0), 0u); }

TEST(Crc32c, OfAPointerOnePastTheEndWithLengthZeroIsZero) {
  const std::uint8_t bytes[4] = {0xDE, 0xAD, 0xBE, 0xEF};
  EXPECT_EQ(detail::crc32c(bytes + sizeof(bytes), 0), 0u);
}

TEST(Crc32c, DiffersFromCrc32IeeeOnTheSameBytes) {
  const std::vector<std::uint8_t> digits = bytes_of("123456789");
  EXPECT_NE(detail::crc32c(digits.data(), digits.size()), crc32_ieee(digits));
}

TEST(Crc32c, ReadsExactlyLengthBytes) {
  std::vector<std::uint8_t> bytes = bytes_of("123456789XYZ");
  const std::uint32_t before = detail::crc32c(bytes.data(), 9);
  bytes[9] ^= 0xFF;
  bytes[10] ^= 0xFF;
  EXPECT_EQ(detail::crc32c(bytes.data(), 9), before);
  EXPECT_EQ(before, 0xE3069283u);
}

// Every length 0..300 at every start offset 0..7 within a larger buffer, so each path of a
// word-at-a-time implementation (head, body, tail, any alignment) meets the reference.
TEST(Crc32, BothCrcsMatchTheBitwiseReferenceForEveryLengthUpTo300AtEveryAlignment) {
  std::mt19937 generator(20240611u);
  std::uniform_int_distribution<int> byte_value(0, 255);
  std::vector<std::uint8_t> pool(300 + 16);
  for (std::uint8_t& byte : pool) {
    byte = static_cast<std::uint8_t>(byte_value(generator));
  }
  for (std::size_t offset = 0; offset < 8; ++offset) {
    for (std::size_t length = 0; length <= 300; ++length) {
      const std::uint8_t* start = pool.data() + offset;
      const std::vector<std::uint8_t> slice(start, start + length);
      ASSERT_EQ(crc32_ieee(slice), reference_crc(start, length, kIeeePolynomial))
          << "offset " << offset << ", length " << length;
      ASSERT_EQ(detail::crc32c(start, length), reference_crc(start, length, kCastagnoliPolynomial))
          << "offset " << offset << ", length " << length;
    }
  }
}

TEST(Crc32, BothCrcsMatchTheBitwiseReferenceOnAFullSixtyFourKibibyteUserSpace) {
  std::mt19937 generator(7u);
  std::uniform_int_distribution<int> byte_value(0, 255);
  std::vector<std::uint8_t> data(0x10000);
  for (std::uint8_t& byte : data) {
    byte = static_cast<std::uint8_t>(byte_value(generator));
  }
  EXPECT_EQ(crc32_ieee(data), reference_crc(data.data(), data.size(), kIeeePolynomial));
  EXPECT_EQ(detail::crc32c(data.data(), data.size()), reference_crc(data.data(), data.size(), kCastagnoliPolynomial));
}

TEST(Crc32, SingleBitFlipsAnywhereChangeBothCrcs) {
  std::vector<std::uint8_t> data = bytes_of("{\"camera\":\"stereo\",\"baseline_mm\":60}");
  const std::uint32_t ieee = crc32_ieee(data);
  const std::uint32_t castagnoli = detail::crc32c(data.data(), data.size());
  for (std::size_t i = 0; i < data.size(); ++i) {
    for (int bit = 0; bit < 8; ++bit) {
      data[i] ^= static_cast<std::uint8_t>(1u << bit);
      EXPECT_NE(crc32_ieee(data), ieee) << "byte " << i << " bit " << bit;
      EXPECT_NE(detail::crc32c(data.data(), data.size()), castagnoli) << "byte " << i << " bit " << bit;
      data[i] ^= static_cast<std::uint8_t>(1u << bit);
    }
  }
}

}  // namespace
}  // namespace tovanel::uvc_stereo
