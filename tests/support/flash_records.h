#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

// Configuration records laid out by hand, without the SDK's own record builder, so that the SDK's reading and
// writing of records is checked against a second reading of the format.
namespace tovanel::uvc_stereo::test_support {

[[nodiscard]] std::vector<std::uint8_t> bytes_of(const std::string& text);

void put_le16(std::vector<std::uint8_t>& bytes, std::size_t offset, std::uint16_t value);
void put_le32(std::vector<std::uint8_t>& bytes, std::size_t offset, std::uint32_t value);

// "TOVA", format version, header size, payload length, CRC-32 of the payload, zero padding, payload.
[[nodiscard]] std::vector<std::uint8_t> make_record(const std::vector<std::uint8_t>& payload,
                                                    std::uint16_t header_size = 16, std::uint16_t format_version = 0);

// The record of a text payload with the usual 16-byte header.
[[nodiscard]] std::vector<std::uint8_t> text_record(const std::string& payload_text, std::uint16_t format_version = 0);

// Vendor call arguments as the rig records them.
[[nodiscard]] std::vector<std::int64_t> args(std::initializer_list<std::int64_t> values);

}  // namespace tovanel::uvc_stereo::test_support
