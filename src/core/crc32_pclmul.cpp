#include "core/cpu_features.h"

#if UVC_STEREO_X86_64

#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/crc32_kernels.h"
#include "core/crc32_tables.h"
#include "core/isa_region.h"

namespace tovanel::uvc_stereo::detail {
namespace {

// Multipliers for one polynomial: four lanes carried 64 bytes ahead, one lane carried 16 bytes ahead.
struct FoldSet {
  CrcFoldConstants by64;
  CrcFoldConstants by16;
};

constexpr FoldSet make_fold_set(std::uint32_t polynomial) noexcept {
  return FoldSet{crc_fold_constants(512, polynomial), crc_fold_constants(128, polynomial)};
}

constexpr FoldSet kIeeeFolds = make_fold_set(kIeeePolynomial);
constexpr FoldSet kCastagnoliFolds = make_fold_set(kCastagnoliPolynomial);

// Below this many bytes the set-up and the final reduction of folding cost more than they save.
constexpr std::size_t kMinFoldLength = 64;
// The CRC-32C instruction alone beats folding up to about this length.
constexpr std::size_t kMinCastagnoliFoldLength = 128;

std::uint64_t load64(const std::uint8_t* p) noexcept {
  std::uint64_t value;
  std::memcpy(&value, p, sizeof(value));
  return value;
}

}  // namespace

UVC_STEREO_ISA_BEGIN("pclmul,sse4.2")

namespace {

__m128i constants_of(const CrcFoldConstants& k) noexcept {
  return _mm_set_epi64x(static_cast<long long>(k.high), static_cast<long long>(k.low));
}

__m128i load128(const std::uint8_t* p) noexcept { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

// `x` carried forward by the distance the constants were made for, then merged with the block found there.
__m128i fold(__m128i x, __m128i k, __m128i block) noexcept {
  const __m128i low = _mm_clmulepi64_si128(x, k, 0x00);
  const __m128i high = _mm_clmulepi64_si128(x, k, 0x11);
  return _mm_xor_si128(_mm_xor_si128(low, high), block);
}

// Raw register for 16 bytes that already carry everything before them, fed from a zero register.
std::uint32_t reduce_ieee(__m128i x) noexcept {
  alignas(16) std::uint8_t bytes[16];
  _mm_store_si128(reinterpret_cast<__m128i*>(bytes), x);
  return crc_update_tables(kIeeeTables, 0, bytes, sizeof(bytes));
}

std::uint32_t reduce_castagnoli(__m128i x) noexcept {
  const std::uint64_t low = static_cast<std::uint64_t>(_mm_cvtsi128_si64(x));
  const std::uint64_t high = static_cast<std::uint64_t>(_mm_extract_epi64(x, 1));
  return static_cast<std::uint32_t>(_mm_crc32_u64(_mm_crc32_u64(0, low), high));
}

std::uint32_t castagnoli_instruction(std::uint32_t reg, const std::uint8_t* p, std::size_t length) noexcept {
  std::uint64_t wide = reg;
  for (; length >= 8; length -= 8, p += 8) {
    wide = _mm_crc32_u64(wide, load64(p));
  }
  reg = static_cast<std::uint32_t>(wide);
  for (; length > 0; --length, ++p) {
    reg = _mm_crc32_u8(reg, *p);
  }
  return reg;
}

// Folds whole 16-byte blocks into `x`, then reduces it and feeds the tail; returns the raw register.
template <bool kCastagnoli>
std::uint32_t finish(__m128i x, const std::uint8_t* p, std::size_t length) noexcept {
  const FoldSet& folds = kCastagnoli ? kCastagnoliFolds : kIeeeFolds;
  const __m128i k16 = constants_of(folds.by16);
  for (; length >= 16; length -= 16, p += 16) {
    x = fold(x, k16, load128(p));
  }
  if constexpr (kCastagnoli) {
    return castagnoli_instruction(reduce_castagnoli(x), p, length);
  } else {
    return crc_update_tables(kIeeeTables, reduce_ieee(x), p, length);
  }
}

// Raw register after `length` >= 64 bytes, starting from raw register `reg`.
template <bool kCastagnoli>
std::uint32_t fold_all(std::uint32_t reg, const std::uint8_t* p, std::size_t length) noexcept {
  const FoldSet& folds = kCastagnoli ? kCastagnoliFolds : kIeeeFolds;
  // The register enters as the first four bytes' worth of difference.
  __m128i x0 = _mm_xor_si128(load128(p), _mm_cvtsi32_si128(static_cast<int>(reg)));
  __m128i x1 = load128(p + 16);
  __m128i x2 = load128(p + 32);
  __m128i x3 = load128(p + 48);
  p += 64;
  length -= 64;
  const __m128i k64 = constants_of(folds.by64);
  for (; length >= 64; length -= 64, p += 64) {
    x0 = fold(x0, k64, load128(p));
    x1 = fold(x1, k64, load128(p + 16));
    x2 = fold(x2, k64, load128(p + 32));
    x3 = fold(x3, k64, load128(p + 48));
  }
  const __m128i k16 = constants_of(folds.by16);
  __m128i x = fold(x0, k16, x1);
  x = fold(x, k16, x2);
  x = fold(x, k16, x3);
  return finish<kCastagnoli>(x, p, length);
}

}  // namespace

std::uint32_t crc32_ieee_pclmul(std::uint32_t crc, const std::uint8_t* data, std::size_t length) noexcept {
  if (length < kMinFoldLength) {
    return length == 0 ? crc : ~crc_update_tables(kIeeeTables, ~crc, data, length);
  }
  return ~fold_all<false>(~crc, data, length);
}

std::uint32_t crc32c_pclmul(std::uint32_t crc, const std::uint8_t* data, std::size_t length) noexcept {
  if (length < kMinCastagnoliFoldLength) {
    return length == 0 ? crc : ~castagnoli_instruction(~crc, data, length);
  }
  return ~fold_all<true>(~crc, data, length);
}

std::uint32_t crc32_ieee_pclmul_finish(const std::uint8_t state[16], const std::uint8_t* data,
                                       std::size_t length) noexcept {
  return ~finish<false>(load128(state), data, length);
}

std::uint32_t crc32c_pclmul_finish(const std::uint8_t state[16], const std::uint8_t* data,
                                   std::size_t length) noexcept {
  return ~finish<true>(load128(state), data, length);
}

UVC_STEREO_ISA_END()

}  // namespace tovanel::uvc_stereo::detail

#endif
