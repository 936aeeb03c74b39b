#include "core/cpu_features.h"

#if UVC_STEREO_X86_64

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "core/crc32_kernels.h"
#include "core/crc32_tables.h"
#include "core/isa_region.h"

namespace tovanel::uvc_stereo::detail {
namespace {

// Multipliers for one polynomial, laid out as the 512-bit registers use them (low and high multiplier of each
// 128-bit lane): four registers carried 256 bytes ahead, one carried 64 bytes ahead, and the lanes of the last
// register carried to its top lane (48, 32 and 16 bytes; the top lane itself stays).
struct alignas(64) WideFoldSet {
  std::uint64_t by256[8];
  std::uint64_t by64[8];
  std::uint64_t to_top_lane[8];
};

constexpr WideFoldSet make_wide_fold_set(std::uint32_t polynomial) noexcept {
  WideFoldSet set{};
  const CrcFoldConstants by256 = crc_fold_constants(2048, polynomial);
  const CrcFoldConstants by64 = crc_fold_constants(512, polynomial);
  const CrcFoldConstants by_lane[3] = {crc_fold_constants(384, polynomial), crc_fold_constants(256, polynomial),
                                       crc_fold_constants(128, polynomial)};
  for (int lane = 0; lane < 4; ++lane) {
    set.by256[2 * lane] = by256.low;
    set.by256[2 * lane + 1] = by256.high;
    set.by64[2 * lane] = by64.low;
    set.by64[2 * lane + 1] = by64.high;
    set.to_top_lane[2 * lane] = lane < 3 ? by_lane[lane].low : 0;
    set.to_top_lane[2 * lane + 1] = lane < 3 ? by_lane[lane].high : 0;
  }
  return set;
}

constexpr WideFoldSet kIeeeWideFolds = make_wide_fold_set(kIeeePolynomial);
constexpr WideFoldSet kCastagnoliWideFolds = make_wide_fold_set(kCastagnoliPolynomial);

// Shorter inputs go to the 128-bit kernel, which reaches its full speed sooner.
constexpr std::size_t kMinWideLength = 256;

}  // namespace

UVC_STEREO_ISA_BEGIN("avx512f,avx512bw,avx512vl,vpclmulqdq,pclmul,sse4.2")

namespace {

__m512i load512(const std::uint8_t* p) noexcept { return _mm512_loadu_si512(p); }

// The zero-masking form of the extraction: GCC 12's unmasked one trips its own uninitialised-value warning.
template <int kLane>
__m128i lane(__m512i x) noexcept {
  return _mm512_maskz_extracti32x4_epi32(static_cast<__mmask8>(0xF), x, kLane);
}

__m512i fold(__m512i x, __m512i k, __m512i block) noexcept {
  const __m512i low = _mm512_clmulepi64_epi128(x, k, 0x00);
  const __m512i high = _mm512_clmulepi64_epi128(x, k, 0x11);
  return _mm512_ternarylogic_epi64(low, high, block, 0x96);  // three-way XOR
}

// Folds `length` >= 256 bytes down to 16 bytes that stand for them all, written to `state`; returns the bytes left
// over (fewer than 64), which start at `p`.
std::size_t fold_wide(const WideFoldSet& folds, std::uint32_t reg, const std::uint8_t*& p, std::size_t length,
                      std::uint8_t state[16]) noexcept {
  __m512i x0 = _mm512_xor_si512(load512(p), _mm512_zextsi128_si512(_mm_cvtsi32_si128(static_cast<int>(reg))));
  __m512i x1 = load512(p + 64);
  __m512i x2 = load512(p + 128);
  __m512i x3 = load512(p + 192);
  p += 256;
  length -= 256;
  const __m512i k256 = _mm512_load_si512(folds.by256);
  for (; length >= 256; length -= 256, p += 256) {
    x0 = fold(x0, k256, load512(p));
    x1 = fold(x1, k256, load512(p + 64));
    x2 = fold(x2, k256, load512(p + 128));
    x3 = fold(x3, k256, load512(p + 192));
  }
  const __m512i k64 = _mm512_load_si512(folds.by64);
  __m512i x = fold(x0, k64, x1);
  x = fold(x, k64, x2);
  x = fold(x, k64, x3);
  for (; length >= 64; length -= 64, p += 64) {
    x = fold(x, k64, load512(p));
  }
  const __m512i lanes = _mm512_load_si512(folds.to_top_lane);
  const __m512i moved =
      _mm512_xor_si512(_mm512_clmulepi64_epi128(x, lanes, 0x00), _mm512_clmulepi64_epi128(x, lanes, 0x11));
  const __m128i merged =
      _mm_xor_si128(_mm_xor_si128(lane<0>(moved), lane<1>(moved)), _mm_xor_si128(lane<2>(moved), lane<3>(x)));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(state), merged);
  return length;
}

}  // namespace

std::uint32_t crc32_ieee_vpclmul(std::uint32_t crc, const std::uint8_t* data, std::size_t length) noexcept {
  if (length < kMinWideLength) {
    return crc32_ieee_pclmul(crc, data, length);
  }
  std::uint8_t state[16];
  length = fold_wide(kIeeeWideFolds, ~crc, data, length, state);
  return crc32_ieee_pclmul_finish(state, data, length);
}

std::uint32_t crc32c_vpclmul(std::uint32_t crc, const std::uint8_t* data, std::size_t length) noexcept {
  if (length < kMinWideLength) {
    return crc32c_pclmul(crc, data, length);
  }
  std::uint8_t state[16];
  length = fold_wide(kCastagnoliWideFolds, ~crc, data, length, state);
  return crc32c_pclmul_finish(state, data, length);
}

UVC_STEREO_ISA_END()

}  // namespace tovanel::uvc_stereo::detail

#endif
