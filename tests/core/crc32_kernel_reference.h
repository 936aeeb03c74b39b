#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "core/crc32_kernels.h"

// What every checksum kernel is held to: the bit-at-a-time definition, kept as a running register so that the
// checksum of every prefix of a buffer costs one pass.
namespace tovanel::uvc_stereo::crc_test {

inline std::uint32_t polynomial_of(detail::CrcPolynomial polynomial) {
  return polynomial == detail::CrcPolynomial::Ieee ? 0xEDB88320u : 0x82F63B78u;
}

class BitwiseCrc {
 public:
  explicit BitwiseCrc(detail::CrcPolynomial polynomial) : polynomial_(polynomial_of(polynomial)) {}

  void feed(std::uint8_t byte) {
    reg_ ^= byte;
    for (int bit = 0; bit < 8; ++bit) {
      reg_ = (reg_ & 1u) != 0 ? (reg_ >> 1) ^ polynomial_ : reg_ >> 1;
    }
    fed_ = true;
  }

  // The checksum of everything fed so far; 0 when nothing was.
  [[nodiscard]] std::uint32_t value() const { return fed_ ? ~reg_ : 0u; }

 private:
  std::uint32_t polynomial_;
  std::uint32_t reg_ = 0xFFFFFFFFu;
  bool fed_ = false;
};

// Checksums of data[0..length) for every length 0..max_length.
inline std::vector<std::uint32_t> prefix_checksums(detail::CrcPolynomial polynomial, const std::uint8_t* data,
                                                   std::size_t max_length) {
  std::vector<std::uint32_t> sums;
  sums.reserve(max_length + 1);
  BitwiseCrc crc(polynomial);
  sums.push_back(crc.value());
  for (std::size_t i = 0; i < max_length; ++i) {
    crc.feed(data[i]);
    sums.push_back(crc.value());
  }
  return sums;
}

// "vpclmul/Castagnoli": a readable name for a kernel in test output.
inline std::string kernel_name(const detail::CrcKernelInfo& kernel) {
  return std::string(kernel.name) + (kernel.polynomial == detail::CrcPolynomial::Ieee ? "_ieee" : "_crc32c");
}

inline std::vector<const detail::CrcKernelInfo*> all_kernels() {
  std::vector<const detail::CrcKernelInfo*> kernels;
  for (const detail::CrcKernelInfo* k = detail::crc_kernels().begin; k != detail::crc_kernels().end; ++k) {
    kernels.push_back(k);
  }
  return kernels;
}

}  // namespace tovanel::uvc_stereo::crc_test
