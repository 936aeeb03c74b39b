#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/byte_order.h"
#include "uvc_stereo/checksum.h"

namespace tovanel::uvc_stereo {
namespace {

using CrcTables = std::array<std::array<std::uint32_t, 256>, 8>;

// Slicing-by-8 tables for a reflected polynomial: row 0 is the classic byte table, row k
// advances a byte's contribution by k further zero bytes. Built by the compiler.
constexpr CrcTables make_crc_tables(std::uint32_t polynomial) {
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

constexpr CrcTables kIeeeTables = make_crc_tables(0xEDB88320u);
constexpr CrcTables kCastagnoliTables = make_crc_tables(0x82F63B78u);

// Same register, same order of bytes as the bit-by-bit definition; eight bytes are folded
// per step. Words are assembled byte by byte, so alignment and host byte order do not matter.
std::uint32_t reflected_crc(const CrcTables& t, const std::uint8_t* data, std::size_t length) noexcept {
  std::uint32_t reg = 0xFFFFFFFFu;
  while (length >= 8) {
    const std::uint32_t low = reg ^ detail::load_le32(data);
    const std::uint32_t high = detail::load_le32(data + 4);
    reg = t[7][low & 0xFFu] ^ t[6][(low >> 8) & 0xFFu] ^ t[5][(low >> 16) & 0xFFu] ^ t[4][low >> 24] ^
          t[3][high & 0xFFu] ^ t[2][(high >> 8) & 0xFFu] ^ t[1][(high >> 16) & 0xFFu] ^ t[0][high >> 24];
    data += 8;
    length -= 8;
  }
  for (; length > 0; --length, ++data) {
    reg = (reg >> 8) ^ t[0][(reg ^ *data) & 0xFFu];
  }
  return ~reg;
}

}  // namespace

std::uint32_t crc32_ieee(const std::vector<std::uint8_t>& data) noexcept {
  if (data.empty()) {
    return 0;
  }
  return reflected_crc(kIeeeTables, data.data(), data.size());
}

namespace detail {

std::uint32_t crc32c(const std::uint8_t* data, std::size_t length) noexcept {
  // Nothing to protect: answer before touching `data`, which may be null or point past the end.
  if (length == 0) {
    return 0;
  }
  return reflected_crc(kCastagnoliTables, data, length);
}

}  // namespace detail
}  // namespace tovanel::uvc_stereo
