#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "core/byte_order.h"

// The arithmetic every checksum kernel shares. Registers are in the reflected convention of both CRCs: bit j of a
// 32-bit register is the coefficient of x^(31 - j), so multiplying by x is a right shift that folds the polynomial
// back in when a bit falls off.
namespace tovanel::uvc_stereo::detail {

inline constexpr std::uint32_t kIeeePolynomial = 0xEDB88320u;
inline constexpr std::uint32_t kCastagnoliPolynomial = 0x82F63B78u;

// x^n mod P as a reflected register.
[[nodiscard]] constexpr std::uint32_t crc_x_pow_mod(std::uint64_t n, std::uint32_t polynomial) noexcept {
  std::uint32_t reg = 0x80000000u;  // the polynomial 1
  for (std::uint64_t i = 0; i < n; ++i) {
    reg = (reg & 1u) != 0 ? (reg >> 1) ^ polynomial : reg >> 1;
  }
  return reg;
}

// a * b mod P for two reflected registers.
[[nodiscard]] constexpr std::uint32_t crc_multiply_mod(std::uint32_t a, std::uint32_t b,
                                                       std::uint32_t polynomial) noexcept {
  std::uint32_t product = 0;
  for (int power = 0; power < 32; ++power) {
    if ((a >> (31 - power)) & 1u) {
      product ^= b;
    }
    b = (b & 1u) != 0 ? (b >> 1) ^ polynomial : b >> 1;
  }
  return product;
}

using CrcTables = std::array<std::array<std::uint32_t, 256>, 8>;

// Slicing-by-8 tables: row 0 is the classic byte table, row k advances a byte's contribution by k further zero
// bytes. Built by the compiler.
[[nodiscard]] constexpr CrcTables make_crc_tables(std::uint32_t polynomial) noexcept {
  CrcTables tables{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t reg = byte;
    for (int bit = 0; bit < 8; ++bit) {
      reg = (reg & 1u) != 0 ? (reg >> 1) ^ polynomial : reg >> 1;
    }
    tables[0][byte] = reg;
  }
  for (std::size_t row = 1; row < tables.size(); ++row) {
    for (std::size_t byte = 0; byte < 256; ++byte) {
      const std::uint32_t previous = tables[row - 1][byte];
      tables[row][byte] = (previous >> 8) ^ tables[0][previous & 0xFFu];
    }
  }
  return tables;
}

inline constexpr CrcTables kIeeeTables = make_crc_tables(kIeeePolynomial);
inline constexpr CrcTables kCastagnoliTables = make_crc_tables(kCastagnoliPolynomial);

// Feeds `length` bytes into a raw register (no inversions): the same register, in the same order of bytes, as the
// bit-by-bit definition, eight bytes per step. Words are assembled byte by byte, so alignment and host byte order
// do not matter. Every kernel uses it for the heads and tails too short for its wide path.
[[nodiscard]] inline std::uint32_t crc_update_tables(const CrcTables& t, std::uint32_t reg, const std::uint8_t* data,
                                                     std::size_t length) noexcept {
  while (length >= 8) {
    const std::uint32_t low = reg ^ load_le32(data);
    const std::uint32_t high = load_le32(data + 4);
    reg = t[7][low & 0xFFu] ^ t[6][(low >> 8) & 0xFFu] ^ t[5][(low >> 16) & 0xFFu] ^ t[4][low >> 24] ^
          t[3][high & 0xFFu] ^ t[2][(high >> 8) & 0xFFu] ^ t[1][(high >> 16) & 0xFFu] ^ t[0][high >> 24];
    data += 8;
    length -= 8;
  }
  for (; length > 0; --length, ++data) {
    reg = (reg >> 8) ^ t[0][(reg ^ *data) & 0xFFu];
  }
  return reg;
}

// Multiplication by a fixed x^(8 * bytes) mod P as four byte-indexed tables: what feeding `bytes` zero bytes does
// to a register, in four lookups.
using CrcShiftTables = std::array<std::array<std::uint32_t, 256>, 4>;

[[nodiscard]] constexpr CrcShiftTables make_crc_shift_tables(std::uint64_t bytes, std::uint32_t polynomial) noexcept {
  const std::uint32_t factor = crc_x_pow_mod(8 * bytes, polynomial);
  CrcShiftTables tables{};
  for (std::size_t row = 0; row < 4; ++row) {
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
      tables[row][byte] = crc_multiply_mod(byte << (8 * row), factor, polynomial);
    }
  }
  return tables;
}

[[nodiscard]] inline std::uint32_t crc_shift(const CrcShiftTables& t, std::uint32_t reg) noexcept {
  return t[0][reg & 0xFFu] ^ t[1][(reg >> 8) & 0xFFu] ^ t[2][(reg >> 16) & 0xFFu] ^ t[3][reg >> 24];
}

// The two multipliers that carry a 128-bit block (bytes in memory order, loaded little-endian) forward by
// `distance_bits`: carry-less products of its low half with `low` and of its high half with `high`, XORed, are
// congruent to the block moved that far, and fit in 128 bits.
struct CrcFoldConstants {
  std::uint64_t low = 0;
  std::uint64_t high = 0;
};

[[nodiscard]] constexpr CrcFoldConstants crc_fold_constants(std::uint64_t distance_bits,
                                                            std::uint32_t polynomial) noexcept {
  return CrcFoldConstants{crc_x_pow_mod(distance_bits + 31, polynomial), crc_x_pow_mod(distance_bits - 33, polynomial)};
}

// The multiplier that moves a raw register forward by `bytes` zero bytes when multiplied carry-lessly and then
// reduced by one 64-bit CRC-32C instruction.
[[nodiscard]] constexpr std::uint64_t crc_shift_multiplier(std::uint64_t bytes, std::uint32_t polynomial) noexcept {
  return crc_x_pow_mod(8 * bytes - 33, polynomial);
}

}  // namespace tovanel::uvc_stereo::detail
