#include "flash/write_record.h"

#include <utility>

namespace tovanel::uvc_stereo::detail {

Result<std::vector<std::uint8_t>> prepare_write_record(const FlashConfig& config, const FlashBlob& blob) {
  if (!blob.raw.empty()) {
    Result<FlashBlob> validated = parse_and_validate_raw_blob(blob.raw, config);
    if (!validated.ok()) {
      return validated.status();
    }
    // Only the declared record is written; whatever followed it in the buffer is not ours to store.
    return std::move(validated).value().raw;
  }
  if (blob.payload.empty()) {
    return Status(ErrorCode::InvalidArgument, "blob is missing raw and payload for write");
  }
  Result<FlashBlob> built = build_blob(blob.format_version, blob.payload, config);
  if (!built.ok()) {
    return built.status();
  }
  return std::move(built).value().raw;
}

}  // namespace tovanel::uvc_stereo::detail
