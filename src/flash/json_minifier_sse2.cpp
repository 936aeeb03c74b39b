#include "core/cpu_features.h"

#if UVC_STEREO_X86_64

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "flash/json_minifier_variants.h"

namespace tovanel::uvc_stereo::detail {

// SSE2 is part of every x86-64 processor, so this variant needs no region of its own.
#include "flash/json_block_scanner.h"

namespace {

// Four 16-byte registers per block, one comparison per byte value of each class.
class Sse2Block {
 public:
  explicit Sse2Block(const char* bytes) noexcept : bytes_(bytes) {
    for (int group = 0; group < 4; ++group) {
      v_[group] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + 16 * group));
    }
  }

  [[nodiscard]] JsonBlockMasks masks() const noexcept {
    const auto equal = [this](char c) {
      return gather([c](__m128i v) { return _mm_cmpeq_epi8(v, _mm_set1_epi8(c)); });
    };
    JsonBlockMasks m;
    m.quote = equal('"');
    m.backslash = equal('\\');
    m.whitespace = equal(' ') | equal('\t') | equal('\n') | equal('\r');
    m.structural = equal('{') | equal('}') | equal('[') | equal(']') | equal(',') | equal(':');
    m.control = gather([](__m128i v) { return at_most(v, 0x1F); });
    return m;
  }

  void atom_masks(JsonBlockMasks& m) const noexcept {
    m.digit = gather([](__m128i v) { return at_most(_mm_sub_epi8(v, _mm_set1_epi8('0')), 9); });
    fill_atom_byte_masks(
        m, [this](char c) { return gather([c](__m128i v) { return _mm_cmpeq_epi8(v, _mm_set1_epi8(c)); }); });
  }

  static std::uint64_t prefix_xor(std::uint64_t bits) noexcept { return prefix_xor_by_shifts(bits); }

  // Groups of 16 kept bytes are copied whole; mixed groups byte by byte, without branches.
  char* compress(std::uint64_t keep, char* out) const noexcept {
    if (keep == ~std::uint64_t{0}) {
      std::memcpy(out, bytes_, 64);
      return out + 64;
    }
    for (int group = 0; group < 4; ++group) {
      const unsigned bits = static_cast<unsigned>(keep >> (16 * group)) & 0xFFFFu;
      const char* in = bytes_ + 16 * group;
      if (bits == 0xFFFFu) {
        std::memcpy(out, in, 16);
        out += 16;
      } else if (bits != 0) {
        for (int i = 0; i < 16; ++i) {
          *out = in[i];
          out += (bits >> i) & 1u;
        }
      }
    }
    return out;
  }

 private:
  // v <= limit, unsigned.
  static __m128i at_most(__m128i v, char limit) noexcept {
    return _mm_cmpeq_epi8(_mm_min_epu8(v, _mm_set1_epi8(limit)), v);
  }

  // The 64 lanes of `lanes_of(group)` for the four groups, as one bit each.
  template <class Lanes>
  [[nodiscard]] std::uint64_t gather(const Lanes& lanes_of) const noexcept {
    std::uint64_t bits = 0;
    for (int group = 0; group < 4; ++group) {
      const auto lanes = static_cast<unsigned>(_mm_movemask_epi8(lanes_of(v_[group])));
      bits |= static_cast<std::uint64_t>(lanes) << (16 * group);
    }
    return bits;
  }

  const char* bytes_;
  __m128i v_[4];
};

}  // namespace

bool minify_json_sse2(const char* json, std::size_t length, std::string& out) {
  return minify_json_blocks<Sse2Block>(json, length, out);
}

}  // namespace tovanel::uvc_stereo::detail

#endif
