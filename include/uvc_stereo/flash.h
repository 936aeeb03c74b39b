#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "uvc_stereo/export.h"
#include "uvc_stereo/flash_config.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo {

/// One configuration record: a 16-byte little-endian header, zero padding up to
/// header_size, and the payload protected by a CRC-32.
struct FlashBlob {
  std::uint32_t magic = 0;            ///< "TOVA" read little-endian in a valid record
  std::uint16_t format_version = 0;   ///< the payload's format version
  std::uint16_t header_size = 0;      ///< header bytes, padding included (at least 16)
  std::uint32_t payload_length = 0;   ///< payload bytes after the header
  std::uint32_t crc32 = 0;            ///< CRC-32 (IEEE) of the payload
  std::vector<std::uint8_t> payload;  ///< the payload bytes
  std::vector<std::uint8_t> raw;      ///< the whole record, exactly header_size + payload_length bytes
};

/// Builds a record with config.min_header_size as header size.
[[nodiscard]] UVC_STEREO_API Result<FlashBlob> build_blob(std::uint16_t format_version,
                                                          const std::vector<std::uint8_t>& payload,
                                                          const FlashConfig& config);

/// Checks bytes read from flash and splits them into header fields and payload.
/// Bytes after the record are dropped.
[[nodiscard]] UVC_STEREO_API Result<FlashBlob> parse_and_validate_raw_blob(const std::vector<std::uint8_t>& raw,
                                                                           const FlashConfig& config);

/// Allows a read or write of [address, address + length) only inside the user space.
/// `what` names the request in the message; null reads "Flash transfer".
[[nodiscard]] UVC_STEREO_API Status validate_flash_transfer_range(const FlashConfig& config, std::uint32_t address,
                                                                  std::uint64_t length, const char* what);

/// As validate_flash_transfer_range, and also the range widened to whole erase sectors.
[[nodiscard]] UVC_STEREO_API Status validate_flash_erase_range(const FlashConfig& config, std::uint32_t address,
                                                               std::uint64_t length);

/// Opens a vendor session on the selected camera and reads one byte of its user space.
[[nodiscard]] UVC_STEREO_API Status probe_flash_transport(const FlashConfig& config);

/// Opens a vendor session on the selected camera and reads its bridge chip's firmware version
/// text, without trailing NUL, tab, line feed, carriage return or space.
[[nodiscard]] UVC_STEREO_API Result<std::string> read_firmware_version(const FlashConfig& config);

/// Reads and validates the configuration record of the selected camera.
[[nodiscard]] UVC_STEREO_API Result<FlashBlob> read_blob_from_device(const FlashConfig& config);

/// Erases, writes and (with verify_after_write) verifies a record on the selected camera.
/// Uses blob.raw when present, else builds a record from blob.payload.
[[nodiscard]] UVC_STEREO_API Status write_blob_to_device(const FlashConfig& config, const FlashBlob& blob);

}  // namespace tovanel::uvc_stereo
