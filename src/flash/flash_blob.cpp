#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "core/byte_order.h"
#include "uvc_stereo/checksum.h"
#include "uvc_stereo/flash.h"

namespace tovanel::uvc_stereo {
namespace {

// The fixed part of every record header; anything up to header_size beyond it is padding.
constexpr std::uint16_t kFixedHeaderSize = 16;

constexpr std::size_t kMagicOffset = 0;
constexpr std::size_t kFormatVersionOffset = 4;
constexpr std::size_t kHeaderSizeOffset = 6;
constexpr std::size_t kPayloadLengthOffset = 8;
constexpr std::size_t kCrc32Offset = 12;

}  // namespace

Result<FlashBlob> build_blob(std::uint16_t format_version, const std::vector<std::uint8_t>& payload,
                             const FlashConfig& config) {
  if (config.min_header_size < kFixedHeaderSize) {
    return Status(ErrorCode::InvalidArgument, "config.min_header_size must be >= 16");
  }
  const std::uint16_t header_size = config.min_header_size;
  const std::uint64_t total = header_size + static_cast<std::uint64_t>(payload.size());
  if (total < header_size || total > config.user_space_size) {
    return Status(ErrorCode::InvalidLength, "payload is too large");
  }

  FlashBlob blob;
  blob.magic = config.magic;
  blob.format_version = format_version;
  blob.header_size = header_size;
  blob.payload_length = static_cast<std::uint32_t>(payload.size());
  blob.crc32 = crc32_ieee(payload);

  // Zero-initialised, so the padding between the fixed header and header_size is zero.
  blob.raw.assign(static_cast<std::size_t>(total), 0);
  std::uint8_t* record = blob.raw.data();
  detail::store_le32(record + kMagicOffset, blob.magic);
  detail::store_le16(record + kFormatVersionOffset, blob.format_version);
  detail::store_le16(record + kHeaderSizeOffset, blob.header_size);
  detail::store_le32(record + kPayloadLengthOffset, blob.payload_length);
  detail::store_le32(record + kCrc32Offset, blob.crc32);
  std::copy(payload.begin(), payload.end(), blob.raw.begin() + header_size);

  blob.payload = payload;
  return blob;
}

Result<FlashBlob> parse_and_validate_raw_blob(const std::vector<std::uint8_t>& raw, const FlashConfig& config) {
  // The buffer is judged before the configuration, so a short read is reported as such
  // even when the configured minimum is itself invalid.
  if (raw.size() < config.min_header_size) {
    return Status(ErrorCode::InvalidHeader, "raw size is smaller than minimum header size");
  }
  if (config.min_header_size < kFixedHeaderSize) {
    return Status(ErrorCode::InvalidArgument, "config.min_header_size must be >= 16");
  }

  FlashBlob blob;
  const std::uint8_t* record = raw.data();
  blob.magic = detail::load_le32(record + kMagicOffset);
  blob.format_version = detail::load_le16(record + kFormatVersionOffset);
  blob.header_size = detail::load_le16(record + kHeaderSizeOffset);
  blob.payload_length = detail::load_le32(record + kPayloadLengthOffset);
  blob.crc32 = detail::load_le32(record + kCrc32Offset);

  if (blob.magic != config.magic) {
    return Status(ErrorCode::BadMagic, "flash magic mismatch");
  }
  if (blob.header_size < config.min_header_size || blob.header_size > config.max_header_size) {
    return Status(ErrorCode::InvalidHeader, "header_size out of range");
  }
  const std::uint64_t total = static_cast<std::uint64_t>(blob.header_size) + blob.payload_length;
  if (total < blob.header_size || total > config.user_space_size) {
    return Status(ErrorCode::InvalidLength, "total length is invalid");
  }
  if (raw.size() < total) {
    return Status(ErrorCode::InvalidLength, "raw buffer is shorter than header-declared length");
  }

  const auto payload_begin = raw.begin() + blob.header_size;
  const auto record_end = raw.begin() + static_cast<std::ptrdiff_t>(total);
  blob.payload.assign(payload_begin, record_end);
  // With verification off the stored CRC is reported as read, matching or not.
  if (config.verify_crc && crc32_ieee(blob.payload) != blob.crc32) {
    return Status(ErrorCode::ChecksumMismatch, "crc32 mismatch");
  }
  // Whatever followed the record in a larger flash read is not part of it.
  blob.raw.assign(raw.begin(), record_end);
  return blob;
}

}  // namespace tovanel::uvc_stereo
