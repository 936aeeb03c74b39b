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

// The nibble lookup tables of the AVX2 variant, repeated for each 128-bit lane of a 512-bit register, and the bit
// numbers of a block's bytes.
struct alignas(64) NibbleTables {
  char whitespace[64];
  char structural[64];
  char bit_numbers[64];  // 0, 1, ..., 63
};

constexpr NibbleTables make_nibble_tables() noexcept {
  NibbleTables tables{};
  for (int lane = 0; lane < 4; ++lane) {
    char* whitespace = tables.whitespace + 16 * lane;
    whitespace[0x0] = ' ';
    whitespace[0x9] = '\t';
    whitespace[0xA] = '\n';
    whitespace[0xD] = '\r';
    char* structural = tables.structural + 16 * lane;
    structural[0xA] = ':';
    structural[0xB] = '{';
    structural[0xC] = ',';
    structural[0xD] = '}';
  }
  for (int i = 0; i < 64; ++i) {
    tables.bit_numbers[i] = static_cast<char>(i);
  }
  return tables;
}

constexpr NibbleTables kNibbleTables = make_nibble_tables();

}  // namespace

UVC_STEREO_ISA_BEGIN("avx512f,avx512bw,avx512vl,avx512vbmi2,avx2,bmi,popcnt,pclmul")

#include "flash/json_block_scanner.h"

namespace {

// One 512-bit register per block: comparisons give the masks directly, and VBMI2's byte compression packs the
// kept bytes in one instruction.
class Avx512Block {
 public:
  explicit Avx512Block(const char* bytes) noexcept : v_(_mm512_loadu_si512(bytes)) {}

  [[nodiscard]] JsonBlockMasks masks() const noexcept {
    const __m512i whitespace_table = _mm512_load_si512(kNibbleTables.whitespace);
    const __m512i structural_table = _mm512_load_si512(kNibbleTables.structural);
    JsonBlockMasks m;
    m.quote = _mm512_cmpeq_epi8_mask(v_, _mm512_set1_epi8('"'));
    m.backslash = _mm512_cmpeq_epi8_mask(v_, _mm512_set1_epi8('\\'));
    m.whitespace = _mm512_cmpeq_epi8_mask(_mm512_shuffle_epi8(whitespace_table, v_), v_);
    m.structural =
        _mm512_cmpeq_epi8_mask(_mm512_shuffle_epi8(structural_table, v_), _mm512_or_si512(v_, _mm512_set1_epi8(0x20)));
    m.control = _mm512_cmplt_epu8_mask(v_, _mm512_set1_epi8(0x20));
    return m;
  }

  void atom_masks(JsonBlockMasks& m) const noexcept {
    m.digit = _mm512_cmplt_epu8_mask(_mm512_sub_epi8(v_, _mm512_set1_epi8('0')), _mm512_set1_epi8(10));
    fill_atom_byte_masks(m, [this](char c) { return equal(c); });
  }

  using Bytes = __m512i;

  [[nodiscard]] std::uint64_t equal(char c) const noexcept { return _mm512_cmpeq_epi8_mask(v_, _mm512_set1_epi8(c)); }

  // The block's bytes with bit 0x20 set, and masks of such bytes.
  [[nodiscard]] Bytes lower() const noexcept { return _mm512_or_si512(v_, _mm512_set1_epi8(0x20)); }
  static std::uint64_t equal_in(const Bytes& bytes, char c) noexcept {
    return _mm512_cmpeq_epi8_mask(bytes, _mm512_set1_epi8(c));
  }
  static std::uint64_t in_range(const Bytes& bytes, char first, char last) noexcept {
    return _mm512_cmple_epu8_mask(_mm512_sub_epi8(bytes, _mm512_set1_epi8(first)),
                                  _mm512_set1_epi8(static_cast<char>(last - first)));
  }

  // One carry-less multiplication by all ones XORs every bit into all the bits above it.
  static std::uint64_t prefix_xor(std::uint64_t bits) noexcept {
    const __m128i product = _mm_clmulepi64_si128(_mm_set_epi64x(0, static_cast<long long>(bits)), _mm_set1_epi8(-1), 0);
    return static_cast<std::uint64_t>(_mm_cvtsi128_si64(product));
  }

  // Writes offset + the number of each set bit of `bits`, in order, at `out` (room for 64), and returns how many:
  // the bit numbers packed by the byte compression and widened, the same instructions whatever the count up to 32.
  // The second half is written only for the rare block with more tokens than that.
  static std::size_t append_positions(std::uint16_t* out, std::uint16_t offset, std::uint64_t bits) noexcept {
    // Through memory, and unaligned: MinGW's GCC does not align stack variables beyond 16 bytes, and GCC 12 warns
    // of an undefined register in its own headers for the register forms of the halves.
    unsigned char packed[64];
    _mm512_storeu_si512(packed, _mm512_maskz_compress_epi8(bits, _mm512_load_si512(kNibbleTables.bit_numbers)));
    const __m512i base = _mm512_set1_epi16(static_cast<short>(offset));
    const std::size_t count = static_cast<std::size_t>(__builtin_popcountll(bits));
    for (int half = 0; half < (count > 32 ? 2 : 1); ++half) {
      const __m256i numbers = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(packed + 32 * half));
      _mm512_storeu_si512(out + 32 * half, _mm512_add_epi16(_mm512_cvtepu8_epi16(numbers), base));
    }
    return count;
  }

  char* compress(std::uint64_t keep, char* out) const noexcept {
    _mm512_storeu_si512(out, _mm512_maskz_compress_epi8(keep, v_));
    return out + __builtin_popcountll(keep);
  }

 private:
  __m512i v_;
};

}  // namespace

bool minify_json_avx512(const char* json, std::size_t length, std::string& out) {
  return minify_json_blocks<Avx512Block>(json, length, out);
}

bool minify_json_avx512_indexed(const char* json, std::size_t length, std::string& out) {
  return minify_json_indexed<Avx512Block>(json, length, out);
}

UVC_STEREO_ISA_END()

}  // namespace tovanel::uvc_stereo::detail

#endif
