#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "uvc_stereo/export.h"

namespace tovanel::uvc_stereo {

/// CRC-32 (IEEE 802.3, reflected 0xEDB88320) of the whole vector; 0 for an empty one.
/// Protects the payload of the flash configuration record.
[[nodiscard]] UVC_STEREO_API std::uint32_t crc32_ieee(const std::vector<std::uint8_t>& data) noexcept;

namespace detail {

/// CRC-32C (Castagnoli, reflected 0x82F63B78) of `length` bytes at `data`; 0 for length 0,
/// in which case `data` is never read. Protects the capability report.
[[nodiscard]] UVC_STEREO_API std::uint32_t crc32c(const std::uint8_t* data, std::size_t length) noexcept;

}  // namespace detail
}  // namespace tovanel::uvc_stereo
