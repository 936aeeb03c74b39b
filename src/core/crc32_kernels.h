#pragma once

#include <cstddef>
#include <cstdint>

#include "core/cpu_features.h"

// Every implementation of the two checksums that this build carries. Each kernel continues a checksum: given the
// finished CRC of the bytes before (0 when there are none) and the next bytes, it returns the CRC of them all, so
// kernel(kernel(0, a), b) == kernel(0, a + b). Length 0 returns `crc` unchanged without reading `data`. No
// kernel reads outside [data, data + length).
namespace tovanel::uvc_stereo::detail {

using CrcKernel = std::uint32_t (*)(std::uint32_t crc, const std::uint8_t* data, std::size_t length) noexcept;

enum class CrcPolynomial { Ieee, Castagnoli };

struct CrcKernelInfo {
  const char* name;
  CrcPolynomial polynomial;
  CrcKernel run;
  bool (*supported)(const CpuFeatures& cpu) noexcept;
};

// All kernels of this build, slowest first; the last supported one of a polynomial is the one in use.
struct CrcKernelList {
  const CrcKernelInfo* begin;
  const CrcKernelInfo* end;
};
[[nodiscard]] CrcKernelList crc_kernels() noexcept;

// The kernel the public functions use for `polynomial` on this processor, chosen once.
[[nodiscard]] const CrcKernelInfo& active_crc_kernel(CrcPolynomial polynomial) noexcept;

// Slicing-by-8 tables: any processor.
[[nodiscard]] std::uint32_t crc32_ieee_portable(std::uint32_t crc, const std::uint8_t* data,
                                                std::size_t length) noexcept;
[[nodiscard]] std::uint32_t crc32c_portable(std::uint32_t crc, const std::uint8_t* data, std::size_t length) noexcept;

#if UVC_STEREO_X86_64
// SSE4.2's CRC-32C instruction over three interleaved streams, joined with table-driven shifts.
[[nodiscard]] std::uint32_t crc32c_sse42(std::uint32_t crc, const std::uint8_t* data, std::size_t length) noexcept;

// Carry-less multiplication folding four 128-bit lanes (PCLMULQDQ; the CRC-32C one also needs SSE4.2).
[[nodiscard]] std::uint32_t crc32_ieee_pclmul(std::uint32_t crc, const std::uint8_t* data, std::size_t length) noexcept;
[[nodiscard]] std::uint32_t crc32c_pclmul(std::uint32_t crc, const std::uint8_t* data, std::size_t length) noexcept;

// The PCLMULQDQ kernels' last steps: folds the remaining whole 16-byte blocks into `state` (the 16 bytes that
// stand for everything before `data`, with the register already folded in) and finishes with the tail.
[[nodiscard]] std::uint32_t crc32_ieee_pclmul_finish(const std::uint8_t state[16], const std::uint8_t* data,
                                                     std::size_t length) noexcept;
[[nodiscard]] std::uint32_t crc32c_pclmul_finish(const std::uint8_t state[16], const std::uint8_t* data,
                                                 std::size_t length) noexcept;

// The same folding over four 512-bit registers (AVX-512 with VPCLMULQDQ).
[[nodiscard]] std::uint32_t crc32_ieee_vpclmul(std::uint32_t crc, const std::uint8_t* data,
                                               std::size_t length) noexcept;
[[nodiscard]] std::uint32_t crc32c_vpclmul(std::uint32_t crc, const std::uint8_t* data, std::size_t length) noexcept;
#endif

}  // namespace tovanel::uvc_stereo::detail
