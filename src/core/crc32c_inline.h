#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/cpu_features.h"

#if UVC_STEREO_X86_64 && defined(_MSC_VER) && !defined(__clang__)
#include <nmmintrin.h>
#endif

// The short path of CRC-32C: a capability report is 60 bytes, too few to pay for choosing a kernel, so on a
// processor with SSE4.2 they go straight through the CRC-32C instruction, inline in the caller. The instruction is
// written out as assembly so that the caller needs no code-generation flag; it only runs once `has_instruction`
// (the processor's SSE4.2 bit) is true.
namespace tovanel::uvc_stereo::detail {

inline constexpr std::size_t kCrc32cInlineMaxLength = 64;

#if UVC_STEREO_X86_64 && (defined(__GNUC__) || defined(__clang__) || defined(_MSC_VER))
#define UVC_STEREO_HAS_CRC32C_INLINE 1

inline std::uint64_t crc32c_step64(std::uint64_t reg, std::uint64_t word) noexcept {
#if defined(_MSC_VER) && !defined(__clang__)
  return _mm_crc32_u64(reg, word);
#else
  __asm__("crc32q %1, %0" : "+r"(reg) : "rm"(word));
  return reg;
#endif
}

inline std::uint32_t crc32c_step32(std::uint32_t reg, std::uint32_t word) noexcept {
#if defined(_MSC_VER) && !defined(__clang__)
  return _mm_crc32_u32(reg, word);
#else
  __asm__("crc32l %1, %0" : "+r"(reg) : "rm"(word));
  return reg;
#endif
}

inline std::uint32_t crc32c_step8(std::uint32_t reg, std::uint8_t byte) noexcept {
#if defined(_MSC_VER) && !defined(__clang__)
  return _mm_crc32_u8(reg, byte);
#else
  __asm__("crc32b %1, %0" : "+r"(reg) : "qm"(byte));
  return reg;
#endif
}

// CRC-32C of 1..kCrc32cInlineMaxLength bytes; only on a processor with SSE4.2.
inline std::uint32_t crc32c_inline(const std::uint8_t* data, std::size_t length) noexcept {
  std::uint64_t reg = 0xFFFFFFFFu;
  for (; length >= 8; length -= 8, data += 8) {
    std::uint64_t word;
    std::memcpy(&word, data, sizeof(word));
    reg = crc32c_step64(reg, word);
  }
  auto narrow = static_cast<std::uint32_t>(reg);
  if (length >= 4) {
    std::uint32_t word;
    std::memcpy(&word, data, sizeof(word));
    narrow = crc32c_step32(narrow, word);
    data += 4;
    length -= 4;
  }
  for (; length > 0; --length, ++data) {
    narrow = crc32c_step8(narrow, *data);
  }
  return ~narrow;
}

// True once the library has loaded on a processor with SSE4.2; false before, which only sends early callers
// down the general path.
extern const bool g_crc32c_instruction;

#else
#define UVC_STEREO_HAS_CRC32C_INLINE 0
#endif

// CRC-32C of 1 or more bytes through the kernel chosen for this processor.
[[nodiscard]] std::uint32_t crc32c_by_kernel(const std::uint8_t* data, std::size_t length) noexcept;

// crc32c itself, inline in the caller: with a length known where it is called (the capability report's 60
// bytes) the short path unrolls into straight-line instructions, with neither a call nor a kernel choice. The
// exported crc32c is this function too.
inline std::uint32_t crc32c_short(const std::uint8_t* data, std::size_t length) noexcept {
  // Nothing to protect: answer before touching `data`, which may be null or point past the end.
  if (length == 0) {
    return 0;
  }
#if UVC_STEREO_HAS_CRC32C_INLINE
  if (length <= kCrc32cInlineMaxLength && g_crc32c_instruction) {
    return crc32c_inline(data, length);
  }
#endif
  return crc32c_by_kernel(data, length);
}

}  // namespace tovanel::uvc_stereo::detail
