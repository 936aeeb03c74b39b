#include "flash/record_preview.h"

#include <cstddef>

#include "core/byte_order.h"

namespace tovanel::uvc_stereo::detail {
namespace {

// The fixed header fields that tell how long the record is.
constexpr std::size_t kFixedHeaderSize = 16;
constexpr std::size_t kHeaderSizeOffset = 6;
constexpr std::size_t kPayloadLengthOffset = 8;

}  // namespace

bool is_record_header_failure(ErrorCode code) noexcept {
  return code == ErrorCode::BadMagic || code == ErrorCode::UnsupportedVersion || code == ErrorCode::InvalidHeader;
}

Result<std::uint64_t> declared_record_length(const std::vector<std::uint8_t>& preview, const FlashConfig& config) {
  if (preview.size() < kFixedHeaderSize) {
    return Status(ErrorCode::InvalidHeader, "header preview is too short");
  }
  const std::uint16_t header_size = load_le16(preview.data() + kHeaderSizeOffset);
  const std::uint32_t payload_length = load_le32(preview.data() + kPayloadLengthOffset);
  const std::uint64_t total = static_cast<std::uint64_t>(header_size) + payload_length;
  if (total < header_size || total > config.user_space_size) {
    return Status(ErrorCode::InvalidLength, "flash header total length is invalid");
  }
  return total;
}

}  // namespace tovanel::uvc_stereo::detail
