#pragma once

#include <cstdint>

// Little-endian (and, for the fields a device sends big-endian, big-endian) field access one byte at a time, so that
// records decode the same on every host and from any alignment.
namespace tovanel::uvc_stereo::detail {

[[nodiscard]] constexpr std::uint16_t load_le16(const std::uint8_t* bytes) noexcept {
  return static_cast<std::uint16_t>(bytes[0] | (bytes[1] << 8));
}

[[nodiscard]] constexpr std::uint16_t load_be16(const std::uint8_t* bytes) noexcept {
  return static_cast<std::uint16_t>((bytes[0] << 8) | bytes[1]);
}

constexpr void store_be16(std::uint8_t* bytes, std::uint16_t value) noexcept {
  bytes[0] = static_cast<std::uint8_t>(value >> 8);
  bytes[1] = static_cast<std::uint8_t>(value & 0xFFu);
}

[[nodiscard]] constexpr std::uint32_t load_le32(const std::uint8_t* bytes) noexcept {
  return static_cast<std::uint32_t>(bytes[0]) | (static_cast<std::uint32_t>(bytes[1]) << 8) |
         (static_cast<std::uint32_t>(bytes[2]) << 16) | (static_cast<std::uint32_t>(bytes[3]) << 24);
}

[[nodiscard]] constexpr std::uint64_t load_le64(const std::uint8_t* bytes) noexcept {
  return static_cast<std::uint64_t>(load_le32(bytes)) | (static_cast<std::uint64_t>(load_le32(bytes + 4)) << 32);
}

constexpr void store_le16(std::uint8_t* bytes, std::uint16_t value) noexcept {
  bytes[0] = static_cast<std::uint8_t>(value & 0xFFu);
  bytes[1] = static_cast<std::uint8_t>(value >> 8);
}

constexpr void store_le32(std::uint8_t* bytes, std::uint32_t value) noexcept {
  bytes[0] = static_cast<std::uint8_t>(value & 0xFFu);
  bytes[1] = static_cast<std::uint8_t>((value >> 8) & 0xFFu);
  bytes[2] = static_cast<std::uint8_t>((value >> 16) & 0xFFu);
  bytes[3] = static_cast<std::uint8_t>(value >> 24);
}

constexpr void store_le64(std::uint8_t* bytes, std::uint64_t value) noexcept {
  store_le32(bytes, static_cast<std::uint32_t>(value & 0xFFFFFFFFu));
  store_le32(bytes + 4, static_cast<std::uint32_t>(value >> 32));
}

}  // namespace tovanel::uvc_stereo::detail
