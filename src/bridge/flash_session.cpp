#include "bridge/flash_session.h"

#include <chrono>
#include <utility>

#include "bridge/os/debug_output.h"
#include "bridge/vendor_status.h"
#include "core/format.h"
#include "flash/firmware_version_text.h"
#include "uvc_stereo/flash.h"

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

// Erase granularity assumed when the configuration leaves it at 0.
constexpr std::uint32_t kDefaultEraseSectorSize = 4096;
// The library's sector-erase command byte.
constexpr std::uint8_t kSectorEraseCommand = 0x20;
// Status-register bits and protection flags that unlock the user space for programming.
constexpr std::uint8_t kStatusRegWp[6] = {2, 5, 1, 6, 2, 3};
constexpr std::uint8_t kWriteProtectA = 1;
constexpr std::uint8_t kWriteProtectB = 1;
constexpr std::uint32_t kVersionBufferSize = 256;

// A failed flash transfer or erase: the vendor's own text plus where it happened. It also
// goes to the debugger output, because a half-done flash update is worth seeing there
// even when the caller drops the Status.
Status flash_access_failure(ErrorCode code, const char* call, SonixLib::scDevice_t* device, std::uint32_t address,
                            std::uint64_t length) {
  const Status vendor = win_detail::make_vendor_status(code, call, device);
  std::string text = detail::format_fixed<224>("%s (address=0x%08X, length=%llu)", vendor.message().c_str(),
                                               static_cast<unsigned>(address), static_cast<unsigned long long>(length));
  output_debug_line(text);
  return Status(code, std::move(text));
}

Status device_not_ready() { return Status(ErrorCode::InternalError, "device handle is not ready"); }

}  // namespace

FlashSession::FlashSession(const FlashConfig& config, CameraUse use) : config_(config), use_(use) {}

Status FlashSession::open() {
  Status opened = camera_.open_and_hold(config_, use_, std::chrono::milliseconds(config_.busy_wait_ms));
  if (!opened.ok()) {
    return opened;
  }
  if (!SonixCam_GetSerialFlashType(&camera_.device(), &flash_type_)) {
    return win_detail::make_vendor_status(ErrorCode::DeviceUnavailable, "SonixCam_GetSerialFlashType",
                                          &camera_.device());
  }
  if (flash_type_ == SonixLib::SF_UNKNOW) {
    return Status(ErrorCode::DeviceUnavailable, "SonixCam_GetSerialFlashType returned SF_UNKNOW");
  }
  return Status();
}

Status FlashSession::read_at(std::uint32_t address, std::uint64_t length, std::vector<std::uint8_t>& destination) {
  Status allowed = validate_flash_transfer_range(config_, address, length, "Flash read");
  if (!allowed.ok()) {
    return allowed;
  }
  destination.assign(static_cast<std::size_t>(length), 0);
  if (length == 0) {
    return Status();
  }
  // The range check bounds the length by the 32-bit user-space size, so it fits the call.
  if (!SonixCam_CstmReadFromSF(&camera_.device(), address, destination.data(), static_cast<std::uint32_t>(length))) {
    return flash_access_failure(ErrorCode::ReadFailed, "SonixCam_CstmReadFromSF", &camera_.device(), address, length);
  }
  return Status();
}

Status FlashSession::erase_range(std::uint32_t address, std::uint64_t length) {
  Status allowed = validate_flash_erase_range(config_, address, length);
  if (!allowed.ok()) {
    return allowed;
  }
  if (length == 0) {
    return Status();
  }
  const std::uint32_t sector = config_.erase_sector_size != 0 ? config_.erase_sector_size : kDefaultEraseSectorSize;
  const std::uint32_t first = address - address % sector;
  const std::uint64_t last_byte = static_cast<std::uint64_t>(address) + length - 1;
  const std::uint64_t last = last_byte - last_byte % sector;
  for (std::uint64_t start = first; start <= last; start += sector) {
    const auto sector_start = static_cast<std::uint32_t>(start);
    if (!SonixCam_SectorEraseSF(&camera_.device(), sector_start, kSectorEraseCommand)) {
      // Sectors already erased stay erased: there is no way back, and no retry.
      return flash_access_failure(ErrorCode::EraseFailed, "SonixCam_SectorEraseSF", &camera_.device(), sector_start,
                                  sector);
    }
  }
  return Status();
}

Status FlashSession::disable_write_protection() {
  if (!camera_.resolved()) {
    return device_not_ready();
  }
  if (!SonixCam_SetStatusRegBitWP(&camera_.device(), kStatusRegWp[0], kStatusRegWp[1], kStatusRegWp[2], kStatusRegWp[3],
                                  kStatusRegWp[4], kStatusRegWp[5])) {
    return win_detail::make_vendor_status(ErrorCode::WriteFailed, "SonixCam_SetStatusRegBitWP", &camera_.device());
  }
  if (!SonixCam_SetWriteProtectedSF(&camera_.device(), kWriteProtectA, kWriteProtectB)) {
    return win_detail::make_vendor_status(ErrorCode::WriteFailed, "SonixCam_SetWriteProtectedSF", &camera_.device());
  }
  return Status();
}

Status FlashSession::write_at(std::uint32_t address, const std::vector<std::uint8_t>& bytes) {
  if (bytes.empty()) {
    return Status(ErrorCode::InvalidArgument, "write payload is empty");
  }
  Status allowed = validate_flash_transfer_range(config_, address, bytes.size(), "Flash write");
  if (!allowed.ok()) {
    return allowed;
  }
  Status unprotected = disable_write_protection();
  if (!unprotected.ok()) {
    return unprotected;
  }
  Status erased = erase_range(address, bytes.size());
  if (!erased.ok()) {
    return erased;
  }
  // The range check bounds the size by the 32-bit user-space size, so it fits the call.
  const auto length = static_cast<std::uint32_t>(bytes.size());
  if (!SonixCam_WriteToSF(&camera_.device(), address, bytes.data(), length)) {
    return flash_access_failure(ErrorCode::WriteFailed, "SonixCam_WriteToSF", &camera_.device(), address, length);
  }
  return Status();
}

Result<std::string> FlashSession::firmware_version() {
  if (!camera_.resolved()) {
    return device_not_ready();
  }
  char buffer[kVersionBufferSize] = {};
  if (!SonixCam_GetVersion(&camera_.device(), buffer, kVersionBufferSize, 0)) {
    return win_detail::make_vendor_status(ErrorCode::ReadFailed, "SonixCam_GetVersion", &camera_.device());
  }
  std::string version = detail::firmware_version_from_buffer(buffer, sizeof(buffer));
  if (version.empty()) {
    return Status(ErrorCode::ReadFailed, "SonixCam_GetVersion returned empty firmware version");
  }
  return version;
}

}  // namespace tovanel::uvc_stereo::detail::bridge
