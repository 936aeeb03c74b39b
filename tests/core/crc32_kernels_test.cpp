#include "core/crc32_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "core/cpu_features.h"
#include "core/crc32_kernel_reference.h"
#include "uvc_stereo/checksum.h"

namespace tovanel::uvc_stereo {
namespace {

using crc_test::BitwiseCrc;
using crc_test::prefix_checksums;
using detail::CrcKernelInfo;
using detail::CrcPolynomial;

constexpr std::size_t kMaxShortLength = 4096;
constexpr std::size_t kAlignments = 64;
constexpr std::size_t kLargeLength = std::size_t{16} << 20;

std::vector<std::uint8_t> random_bytes(std::size_t size, std::uint32_t seed) {
  std::mt19937_64 generator(seed);
  std::vector<std::uint8_t> bytes(size);
  for (std::size_t i = 0; i < size; i += 8) {
    const std::uint64_t word = generator();
    for (std::size_t j = 0; j < 8 && i + j < size; ++j) {
      bytes[i + j] = static_cast<std::uint8_t>(word >> (8 * j));
    }
  }
  return bytes;
}

// Random bytes with room before them to start at any of the 64 alignments of a cache line.
class AlignedPool {
 public:
  AlignedPool(std::size_t length, std::uint32_t seed) : storage_(random_bytes(length + 2 * kAlignments, seed)) {}

  [[nodiscard]] const std::uint8_t* at_alignment(std::size_t alignment) const {
    const auto address = reinterpret_cast<std::uintptr_t>(storage_.data());
    const std::size_t to_line = (kAlignments - address % kAlignments) % kAlignments;
    return storage_.data() + to_line + alignment;
  }

 private:
  std::vector<std::uint8_t> storage_;
};

// One 16 MiB buffer and the bitwise checksums of a few of its prefixes, shared by every kernel's test.
struct LargeCase {
  std::vector<std::uint8_t> data;
  std::map<std::size_t, std::uint32_t> ieee;
  std::map<std::size_t, std::uint32_t> castagnoli;
};

const LargeCase& large_case() {
  static const LargeCase instance = [] {
    LargeCase c;
    c.data = random_bytes(kLargeLength, 16u);
    std::mt19937 generator(1616u);
    std::set<std::size_t> lengths = {kLargeLength};
    std::uniform_int_distribution<std::size_t> length(1, kLargeLength);
    while (lengths.size() < 4) {
      lengths.insert(length(generator));
    }
    BitwiseCrc ieee(CrcPolynomial::Ieee);
    BitwiseCrc castagnoli(CrcPolynomial::Castagnoli);
    for (std::size_t i = 0; i < kLargeLength; ++i) {
      ieee.feed(c.data[i]);
      castagnoli.feed(c.data[i]);
      if (lengths.count(i + 1) != 0) {
        c.ieee[i + 1] = ieee.value();
        c.castagnoli[i + 1] = castagnoli.value();
      }
    }
    return c;
  }();
  return instance;
}

class CrcKernelConformance : public ::testing::TestWithParam<const CrcKernelInfo*> {
 protected:
  void SetUp() override {
    if (!kernel().supported(detail::cpu_features())) {
      GTEST_SKIP() << crc_test::kernel_name(kernel()) << " needs instructions this processor lacks";
    }
  }

  [[nodiscard]] const CrcKernelInfo& kernel() const { return *GetParam(); }
  [[nodiscard]] std::uint32_t run(const std::uint8_t* data, std::size_t length, std::uint32_t crc = 0) const {
    return kernel().run(crc, data, length);
  }
};

TEST_P(CrcKernelConformance, GivesTheCheckValueOfTheNineDigits) {
  const std::string digits = "123456789";
  const std::uint32_t expected = kernel().polynomial == CrcPolynomial::Ieee ? 0xCBF43926u : 0xE3069283u;
  EXPECT_EQ(run(reinterpret_cast<const std::uint8_t*>(digits.data()), digits.size()), expected);
}

TEST_P(CrcKernelConformance, MatchesTheBitwiseDefinitionForEveryLengthUpTo4096AtEveryAlignment) {
  const AlignedPool pool(kMaxShortLength, 4096u);
  for (std::size_t alignment = 0; alignment < kAlignments; ++alignment) {
    const std::uint8_t* start = pool.at_alignment(alignment);
    const std::vector<std::uint32_t> expected = prefix_checksums(kernel().polynomial, start, kMaxShortLength);
    for (std::size_t length = 0; length <= kMaxShortLength; ++length) {
      ASSERT_EQ(run(start, length), expected[length]) << "alignment " << alignment << ", length " << length;
    }
  }
}

TEST_P(CrcKernelConformance, MatchesTheBitwiseDefinitionOnLargeRandomSizesUpTo16MiB) {
  const LargeCase& c = large_case();
  const auto& expected = kernel().polynomial == CrcPolynomial::Ieee ? c.ieee : c.castagnoli;
  ASSERT_EQ(expected.size(), 4u);
  for (const auto& [length, checksum] : expected) {
    EXPECT_EQ(run(c.data.data(), length), checksum) << "length " << length;
  }
}

TEST_P(CrcKernelConformance, ContinuesAChecksumAcrossAnySplit) {
  const std::vector<std::uint8_t> data = random_bytes(3000, 3000u);
  const std::vector<std::uint32_t> expected = prefix_checksums(kernel().polynomial, data.data(), data.size());
  std::mt19937 generator(77u);
  for (int trial = 0; trial < 500; ++trial) {
    std::uniform_int_distribution<std::size_t> end_of(0, data.size());
    const std::size_t end = end_of(generator);
    std::uniform_int_distribution<std::size_t> split_of(0, end);
    const std::size_t split = split_of(generator);
    const std::uint32_t head = run(data.data(), split);
    ASSERT_EQ(run(data.data() + split, end - split, head), expected[end]) << "split " << split << ", end " << end;
  }
}

TEST_P(CrcKernelConformance, LeavesTheChecksumUnchangedForNoBytesWithoutReadingThem) {
  EXPECT_EQ(run(nullptr, 0, 0u), 0u);
  EXPECT_EQ(run(nullptr, 0, 0x12345678u), 0x12345678u);
}

TEST_P(CrcKernelConformance, SeesASingleFlippedBitAnywhereInALongBuffer) {
  std::vector<std::uint8_t> data = random_bytes(70000, 5u);
  const std::uint32_t original = run(data.data(), data.size());
  for (std::size_t position : {std::size_t{0}, std::size_t{15}, std::size_t{255}, std::size_t{256}, std::size_t{4099},
                               std::size_t{65535}, data.size() - 1}) {
    data[position] ^= 0x10;
    EXPECT_NE(run(data.data(), data.size()), original) << "byte " << position;
    data[position] ^= 0x10;
  }
}

INSTANTIATE_TEST_SUITE_P(EveryKernel, CrcKernelConformance, ::testing::ValuesIn(crc_test::all_kernels()),
                         [](const ::testing::TestParamInfo<const CrcKernelInfo*>& info) {
                           std::string name = crc_test::kernel_name(*info.param);
                           std::replace_if(
                               name.begin(), name.end(),
                               [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); }, '_');
                           return name;
                         });

TEST(CrcKernelChoice, EveryPolynomialHasAPortableKernel) {
  for (const CrcPolynomial polynomial : {CrcPolynomial::Ieee, CrcPolynomial::Castagnoli}) {
    const auto kernels = crc_test::all_kernels();
    EXPECT_TRUE(std::any_of(kernels.begin(), kernels.end(), [&](const CrcKernelInfo* k) {
      return k->polynomial == polynomial && std::string(k->name) == "portable";
    }));
  }
}

TEST(CrcKernelChoice, UsesTheLastKernelThisProcessorSupports) {
  for (const CrcPolynomial polynomial : {CrcPolynomial::Ieee, CrcPolynomial::Castagnoli}) {
    const CrcKernelInfo* expected = nullptr;
    for (const CrcKernelInfo* k : crc_test::all_kernels()) {
      if (k->polynomial == polynomial && k->supported(detail::cpu_features())) {
        expected = k;
      }
    }
    ASSERT_NE(expected, nullptr);
    EXPECT_EQ(&detail::active_crc_kernel(polynomial), expected);
  }
}

// The public functions, short path included, agree with the kernels on every length around the short path's limit.
TEST(CrcKernelChoice, PublicFunctionsAgreeWithTheBitwiseDefinitionAroundTheShortPath) {
  const std::vector<std::uint8_t> data = random_bytes(600, 600u);
  const std::vector<std::uint32_t> ieee = prefix_checksums(CrcPolynomial::Ieee, data.data(), data.size());
  const std::vector<std::uint32_t> castagnoli = prefix_checksums(CrcPolynomial::Castagnoli, data.data(), data.size());
  for (std::size_t length = 0; length <= data.size(); ++length) {
    ASSERT_EQ(detail::crc32c(data.data(), length), castagnoli[length]) << "length " << length;
    ASSERT_EQ(crc32_ieee(std::vector<std::uint8_t>(data.begin(), data.begin() + static_cast<long>(length))),
              ieee[length])
        << "length " << length;
  }
}

}  // namespace
}  // namespace tovanel::uvc_stereo
