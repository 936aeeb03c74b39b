#include "support/flash_records.h"

#include <algorithm>

#include "uvc_stereo/checksum.h"

namespace tovanel::uvc_stereo::test_support {

std::vector<std::uint8_t> bytes_of(const std::string& text) {
  return std::vector<std::uint8_t>(text.begin(), text.end());
}

void put_le16(std::vector<std::uint8_t>& bytes, std::size_t offset, std::uint16_t value) {
  bytes[offset] = static_cast<std::uint8_t>(value);
  bytes[offset + 1] = static_cast<std::uint8_t>(value >> 8);
}

void put_le32(std::vector<std::uint8_t>& bytes, std::size_t offset, std::uint32_t value) {
  for (std::size_t i = 0; i < 4; ++i) {
    bytes[offset + i] = static_cast<std::uint8_t>(value >> (8 * i));
  }
}

std::vector<std::uint8_t> make_record(const std::vector<std::uint8_t>& payload, std::uint16_t header_size,
                                      std::uint16_t format_version) {
  std::vector<std::uint8_t> record(header_size + payload.size(), 0);
  record[0] = 'T';
  record[1] = 'O';
  record[2] = 'V';
  record[3] = 'A';
  put_le16(record, 4, format_version);
  put_le16(record, 6, header_size);
  put_le32(record, 8, static_cast<std::uint32_t>(payload.size()));
  put_le32(record, 12, crc32_ieee(payload));
  std::copy(payload.begin(), payload.end(), record.begin() + header_size);
  return record;
}

std::vector<std::uint8_t> text_record(const std::string& payload_text, std::uint16_t format_version) {
  return make_record(bytes_of(payload_text), 16, format_version);
}

std::vector<std::int64_t> args(std::initializer_list<std::int64_t> values) { return values; }

}  // namespace tovanel::uvc_stereo::test_support
