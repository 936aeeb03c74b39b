#include "core/cpu_features.h"

#if UVC_STEREO_X86_64

#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "core/isa_region.h"
#include "flash/json_minifier_variants.h"

namespace tovanel::uvc_stereo::detail {
namespace {

// For each 8-bit mask of kept bytes: the byte shuffle that packs them to the front, and how many there are.
struct PackTable {
  std::uint64_t shuffle[256];
  std::uint8_t count[256];
};

constexpr PackTable make_pack_table() noexcept {
  PackTable table{};
  for (unsigned mask = 0; mask < 256; ++mask) {
    std::uint64_t shuffle = 0;
    unsigned count = 0;
    for (unsigned bit = 0; bit < 8; ++bit) {
      if ((mask >> bit) & 1u) {
        shuffle |= static_cast<std::uint64_t>(bit) << (8 * count);
        ++count;
      }
    }
    // Lanes past the kept bytes take 0x80, which the shuffle turns into zero.
    for (unsigned lane = count; lane < 8; ++lane) {
      shuffle |= std::uint64_t{0x80} << (8 * lane);
    }
    table.shuffle[mask] = shuffle;
    table.count[mask] = static_cast<std::uint8_t>(count);
  }
  return table;
}

constexpr PackTable kPackTable = make_pack_table();

}  // namespace

UVC_STEREO_ISA_BEGIN("avx2,bmi,popcnt,pclmul")

#include "flash/json_block_scanner.h"

namespace {

// Two 32-byte registers per block. Whitespace and the structural bytes are each found with one table lookup by
// low nibble: the four whitespace bytes have distinct low nibbles, and setting bit 5 folds '[' and ']' onto '{'
// and '}'.
class Avx2Block {
 public:
  explicit Avx2Block(const char* bytes) noexcept
      : bytes_(bytes),
        low_(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes))),
        high_(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes + 32))) {}

  [[nodiscard]] JsonBlockMasks masks() const noexcept {
    const __m128i whitespace = _mm_setr_epi8(' ', 0, 0, 0, 0, 0, 0, 0, 0, '\t', '\n', 0, 0, '\r', 0, 0);
    const __m128i structural = _mm_setr_epi8(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, ':', '{', ',', '}', 0, 0);
    const __m256i whitespace_table = _mm256_setr_m128i(whitespace, whitespace);
    const __m256i structural_table = _mm256_setr_m128i(structural, structural);
    JsonBlockMasks m;
    m.quote = equal('"');
    m.backslash = equal('\\');
    m.whitespace = gather([&](__m256i v) { return _mm256_cmpeq_epi8(_mm256_shuffle_epi8(whitespace_table, v), v); });
    m.structural = gather([&](__m256i v) {
      return _mm256_cmpeq_epi8(_mm256_shuffle_epi8(structural_table, v), _mm256_or_si256(v, _mm256_set1_epi8(0x20)));
    });
    m.control = gather([&](__m256i v) { return at_most(v, 0x1F); });
    return m;
  }

  void atom_masks(JsonBlockMasks& m) const noexcept {
    m.digit = gather([&](__m256i v) { return at_most(_mm256_sub_epi8(v, _mm256_set1_epi8('0')), 9); });
    fill_atom_byte_masks(m, [this](char c) { return equal(c); });
  }

  // One carry-less multiplication by all ones XORs every bit into all the bits above it.
  static std::uint64_t prefix_xor(std::uint64_t bits) noexcept {
    const __m128i product = _mm_clmulepi64_si128(_mm_set_epi64x(0, static_cast<long long>(bits)), _mm_set1_epi8(-1), 0);
    return static_cast<std::uint64_t>(_mm_cvtsi128_si64(product));
  }

  // Eight bytes at a time through the pack table; a block kept whole is copied as it is.
  char* compress(std::uint64_t keep, char* out) const noexcept {
    if (keep == ~std::uint64_t{0}) {
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), low_);
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 32), high_);
      return out + 64;
    }
    for (int group = 0; group < 4; ++group) {
      const unsigned low_mask = static_cast<unsigned>(keep >> (16 * group)) & 0xFFu;
      const unsigned high_mask = static_cast<unsigned>(keep >> (16 * group + 8)) & 0xFFu;
      const __m128i shuffle =
          _mm_set_epi64x(static_cast<long long>(kPackTable.shuffle[high_mask] + 0x0808080808080808ull),
                         static_cast<long long>(kPackTable.shuffle[low_mask]));
      const __m128i packed =
          _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes_ + 16 * group)), shuffle);
      _mm_storel_epi64(reinterpret_cast<__m128i*>(out), packed);
      out += kPackTable.count[low_mask];
      _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm_unpackhi_epi64(packed, packed));
      out += kPackTable.count[high_mask];
    }
    return out;
  }

 private:
  // v <= limit, unsigned.
  static __m256i at_most(__m256i v, char limit) noexcept {
    return _mm256_cmpeq_epi8(_mm256_min_epu8(v, _mm256_set1_epi8(limit)), v);
  }

  // The 64 lanes of `lanes_of` applied to both halves, as one bit each.
  template <class Lanes>
  [[nodiscard]] std::uint64_t gather(const Lanes& lanes_of) const noexcept {
    return static_cast<std::uint64_t>(static_cast<std::uint32_t>(_mm256_movemask_epi8(lanes_of(low_)))) |
           (static_cast<std::uint64_t>(static_cast<std::uint32_t>(_mm256_movemask_epi8(lanes_of(high_)))) << 32);
  }

  [[nodiscard]] std::uint64_t equal(char c) const noexcept {
    return gather([c](__m256i v) { return _mm256_cmpeq_epi8(v, _mm256_set1_epi8(c)); });
  }

  const char* bytes_;
  __m256i low_;
  __m256i high_;
};

}  // namespace

bool minify_json_avx2(const char* json, std::size_t length, std::string& out) {
  return minify_json_blocks<Avx2Block>(json, length, out);
}

UVC_STEREO_ISA_END()

}  // namespace tovanel::uvc_stereo::detail

#endif
