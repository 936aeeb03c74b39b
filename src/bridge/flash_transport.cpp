#include "bridge/flash_transport.h"

#include <cstdint>
#include <exception>
#include <vector>

#include "bridge/flash_session.h"
#include "bridge/os/debug_output.h"
#include "core/guard.h"
#include "flash/readback_verify.h"
#include "flash/record_preview.h"
#include "flash/write_record.h"
#include "uvc_stereo/flash.h"

// The four flash operations. Each opens its own session on the selected camera, does its
// work and closes the session again; nothing is thrown to the caller.
namespace tovanel::uvc_stereo {
namespace {

Status probe(const FlashConfig& config) {
  detail::bridge::FlashSession session(config);
  Status opened = session.open();
  if (!opened.ok()) {
    return opened;
  }
  std::vector<std::uint8_t> scratch;
  return session.read_at(session.config().user_space_address, 1, scratch);
}

Result<FlashBlob> read_blob(const FlashConfig& config) {
  detail::bridge::FlashSession session(config);
  Status opened = session.open();
  if (!opened.ok()) {
    return opened;
  }
  const FlashConfig& settings = session.config();
  std::vector<std::uint8_t> preview;
  Status previewed = session.read_at(settings.user_space_address, settings.min_header_size, preview);
  if (!previewed.ok()) {
    return previewed;
  }
  // A small record fits in the preview; a wrong header is final. Anything else may just be
  // the record cut short by the preview, so read it whole.
  Result<FlashBlob> parsed = parse_and_validate_raw_blob(preview, settings);
  if (parsed.ok() || detail::is_record_header_failure(parsed.status().code())) {
    return parsed;
  }
  Result<std::uint64_t> total = detail::declared_record_length(preview, settings);
  if (!total.ok()) {
    return total.status();
  }
  std::vector<std::uint8_t> whole;
  Status read = session.read_at(settings.user_space_address, total.value(), whole);
  if (!read.ok()) {
    return read;
  }
  return parse_and_validate_raw_blob(whole, settings);
}

Result<std::string> firmware_version(const FlashConfig& config, detail::bridge::CameraUse use) {
  detail::bridge::FlashSession session(config, use);
  Status opened = session.open();
  if (!opened.ok()) {
    return opened;
  }
  return session.firmware_version();
}

Status write_blob(const FlashConfig& config, const FlashBlob& blob) {
  // The record is settled before the lock is taken, so a bad blob never touches the camera.
  Result<std::vector<std::uint8_t>> prepared = detail::prepare_write_record(config, blob);
  if (!prepared.ok()) {
    return prepared.status();
  }
  const std::vector<std::uint8_t>& record = prepared.value();

  detail::bridge::FlashSession session(config);
  Status opened = session.open();
  if (!opened.ok()) {
    return opened;
  }
  const FlashConfig& settings = session.config();
  Status written = session.write_at(settings.user_space_address, record);
  if (!written.ok()) {
    return written;
  }
  if (!settings.verify_after_write) {
    return Status();
  }
  std::vector<std::uint8_t> readback;
  Status read = session.read_at(settings.user_space_address, record.size(), readback);
  if (!read.ok()) {
    return read;
  }
  Status verified = detail::verify_readback(record, readback);
  if (!verified.ok()) {
    // A record that did not read back as written is worth seeing in the debugger even
    // when the caller drops the Status, like a failed flash transfer.
    detail::bridge::output_debug_line(verified.message());
  }
  return verified;
}

}  // namespace

Status probe_flash_transport(const FlashConfig& config) {
  return detail::guard_operation("unknown exception during flash probe", [&]() -> Status { return probe(config); });
}

Result<FlashBlob> read_blob_from_device(const FlashConfig& config) {
  return detail::guard_operation("unknown exception during flash read",
                                 [&]() -> Result<FlashBlob> { return read_blob(config); });
}

Status write_blob_to_device(const FlashConfig& config, const FlashBlob& blob) {
  return detail::guard_operation("unknown exception during flash write",
                                 [&]() -> Status { return write_blob(config, blob); });
}

namespace detail {

Result<std::string> read_firmware_version_from_device(const FlashConfig& config) {
  return detail::guard_operation("unknown exception during firmware version read", [&]() -> Result<std::string> {
    return firmware_version(config, detail::bridge::CameraUse::Flash);
  });
}

}  // namespace detail

namespace detail::bridge {

Result<std::string> read_firmware_version_for_imu(const FlashConfig& config) {
  return detail::guard_operation("unknown exception during firmware version read", [&]() -> Result<std::string> {
    return firmware_version(config, detail::bridge::CameraUse::Imu);
  });
}

}  // namespace detail::bridge
}  // namespace tovanel::uvc_stereo
