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

// The instruction has a latency of three cycles and issues one per cycle, so three independent streams keep it
// busy; their registers are joined by moving each forward over the bytes that follow it.
constexpr std::size_t kLongStream = 2048;
constexpr std::size_t kShortStream = 256;
constexpr CrcShiftTables kShiftLong = make_crc_shift_tables(kLongStream, kCastagnoliPolynomial);
constexpr CrcShiftTables kShiftShort = make_crc_shift_tables(kShortStream, kCastagnoliPolynomial);

std::uint64_t load64(const std::uint8_t* p) noexcept {
  std::uint64_t value;
  std::memcpy(&value, p, sizeof(value));
  return value;
}

}  // namespace

UVC_STEREO_ISA_BEGIN("sse4.2")

namespace {

template <std::size_t kStream>
std::uint32_t three_streams(std::uint32_t reg, const std::uint8_t*& p, std::size_t& length,
                            const CrcShiftTables& shift) noexcept {
  while (length >= 3 * kStream) {
    std::uint64_t a = reg;
    std::uint64_t b = 0;
    std::uint64_t c = 0;
    for (std::size_t i = 0; i < kStream; i += 8) {
      a = _mm_crc32_u64(a, load64(p + i));
      b = _mm_crc32_u64(b, load64(p + kStream + i));
      c = _mm_crc32_u64(c, load64(p + 2 * kStream + i));
    }
    reg = crc_shift(shift, crc_shift(shift, static_cast<std::uint32_t>(a)) ^ static_cast<std::uint32_t>(b)) ^
          static_cast<std::uint32_t>(c);
    p += 3 * kStream;
    length -= 3 * kStream;
  }
  return reg;
}

}  // namespace

std::uint32_t crc32c_sse42(std::uint32_t crc, const std::uint8_t* data, std::size_t length) noexcept {
  if (length == 0) {
    return crc;
  }
  std::uint32_t reg = ~crc;
  reg = three_streams<kLongStream>(reg, data, length, kShiftLong);
  reg = three_streams<kShortStream>(reg, data, length, kShiftShort);
  std::uint64_t wide = reg;
  for (; length >= 8; length -= 8, data += 8) {
    wide = _mm_crc32_u64(wide, load64(data));
  }
  reg = static_cast<std::uint32_t>(wide);
  for (; length > 0; --length, ++data) {
    reg = _mm_crc32_u8(reg, *data);
  }
  return ~reg;
}

UVC_STEREO_ISA_END()

}  // namespace tovanel::uvc_stereo::detail

#endif
