#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "core/crc32c_inline.h"
#include "crc32_kernel_reference.h"
#include "uvc_stereo/checksum.h"

namespace tovanel::uvc_stereo::detail {
namespace {

// The capability report's checksum, with the length known where it is computed, as the report parser does.
std::uint32_t sixty_bytes(const std::uint8_t* data) { return crc32c_short(data, 60); }

TEST(Crc32cShort, OfSixtyZeroBytesIs5a0b0531) {
  const std::vector<std::uint8_t> zeros(60, 0);
  EXPECT_EQ(sixty_bytes(zeros.data()), 0x5A0B0531u);
}

TEST(Crc32cShort, OfANullPointerWithLengthZeroIsZero) { EXPECT_EQ(crc32c_short(nullptr, 0), 0u); }

// Every length on both sides of the inline limit, at every alignment of a 64-byte line, against the bitwise
// definition: the short path and the kernels it hands longer inputs to must agree.
TEST(Crc32cShort, MatchesTheBitwiseReferenceForEveryLengthUpTo200AtEveryAlignment) {
  std::mt19937 random(20261122);
  std::vector<std::uint8_t> buffer(64 + 200);
  for (std::uint8_t& byte : buffer) {
    byte = static_cast<std::uint8_t>(random());
  }
  for (std::size_t offset = 0; offset < 64; ++offset) {
    const std::vector<std::uint32_t> expected =
        crc_test::prefix_checksums(CrcPolynomial::Castagnoli, buffer.data() + offset, 200);
    for (std::size_t length = 0; length <= 200; ++length) {
      ASSERT_EQ(crc32c_short(buffer.data() + offset, length), expected[length])
          << "length " << length << " at offset " << offset;
    }
  }
}

TEST(Crc32cShort, AgreesWithTheExportedChecksumOnTheSixtyBytesOfAReport) {
  std::mt19937 random(7);
  std::vector<std::uint8_t> report(64);
  for (int round = 0; round < 1000; ++round) {
    for (std::uint8_t& byte : report) {
      byte = static_cast<std::uint8_t>(random());
    }
    ASSERT_EQ(sixty_bytes(report.data()), crc32c(report.data(), 60)) << "round " << round;
  }
}

}  // namespace
}  // namespace tovanel::uvc_stereo::detail
