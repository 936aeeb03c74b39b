#include <cstddef>
#include <cstdint>

#include "core/crc32_kernels.h"
#include "core/crc32_tables.h"

namespace tovanel::uvc_stereo::detail {

std::uint32_t crc32_ieee_portable(std::uint32_t crc, const std::uint8_t* data, std::size_t length) noexcept {
  if (length == 0) {
    return crc;
  }
  return ~crc_update_tables(kIeeeTables, ~crc, data, length);
}

std::uint32_t crc32c_portable(std::uint32_t crc, const std::uint8_t* data, std::size_t length) noexcept {
  if (length == 0) {
    return crc;
  }
  return ~crc_update_tables(kCastagnoliTables, ~crc, data, length);
}

}  // namespace tovanel::uvc_stereo::detail
