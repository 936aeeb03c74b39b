#include "device/flash_json.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "bridge/os/pause.h"
#include "uvc_stereo/flash.h"
#include "uvc_stereo/json.h"

namespace tovanel::uvc_stereo::detail {
namespace {

// The camera's flash controller needs this long after a record access before it is addressed again.
constexpr std::chrono::milliseconds kSettleAfterFlashAccess{100};

// The record format this SDK writes.
constexpr std::uint16_t kWrittenFormatVersion = 0;

}  // namespace

Result<ReadJsonResult> read_flash_json(const FlashConfig& config) {
  Result<FlashBlob> blob = read_blob_from_device(config);
  if (!blob.ok()) {
    return blob.status();
  }
  const std::vector<std::uint8_t>& payload = blob.value().payload;
  const std::string text(payload.begin(), payload.end());
  Result<std::string> minified = minify_and_validate_json(text);
  if (!minified.ok()) {
    return minified.status();
  }
  bridge::pause_for(kSettleAfterFlashAccess);

  ReadJsonResult result;
  result.format_version = blob.value().format_version;
  result.json = std::move(minified).value();
  return result;
}

Status write_flash_json(const FlashConfig& config, std::string_view json) {
  Result<std::string> minified = minify_and_validate_json(json);
  if (!minified.ok()) {
    return minified.status();
  }
  const std::string& text = minified.value();
  const std::vector<std::uint8_t> payload(text.begin(), text.end());
  Result<FlashBlob> blob = build_blob(kWrittenFormatVersion, payload, config);
  if (!blob.ok()) {
    return blob.status();
  }
  Status written = write_blob_to_device(config, blob.value());
  if (!written.ok()) {
    return written;
  }
  bridge::pause_for(kSettleAfterFlashAccess);
  return Status();
}

}  // namespace tovanel::uvc_stereo::detail
