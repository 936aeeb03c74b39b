#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bridge/camera_session.h"
#include "bridge/sonix_camera.h"
#include "uvc_stereo/flash_config.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::detail::bridge {

// One vendor session on the camera that a FlashConfig selects, owned by a single flash
// operation on its stack. Constructing it takes the vendor lock and open() starts the
// library, resolves the camera and holds it for `use` against every other Device and
// program, all through one CameraSession, which destroying it closes on every
// path. Every address and length is checked against the user space before it reaches the
// flash.
class FlashSession {
 public:
  explicit FlashSession(const FlashConfig& config, CameraUse use = CameraUse::Flash);
  FlashSession(const FlashSession&) = delete;
  FlashSession& operator=(const FlashSession&) = delete;
  FlashSession(FlashSession&&) = delete;
  FlashSession& operator=(FlashSession&&) = delete;

  // Starts the library, resolves the camera, holds it (waiting up to the configuration's
  // busy_wait_ms for another holder) and learns its flash type.
  [[nodiscard]] Status open();

  // One flash read of exactly `length` bytes into `destination` (resized, zero-filled).
  [[nodiscard]] Status read_at(std::uint32_t address, std::uint64_t length, std::vector<std::uint8_t>& destination);

  // Erases every sector that [address, address + length) touches, lowest first.
  [[nodiscard]] Status erase_range(std::uint32_t address, std::uint64_t length);

  // Lifts the flash write protection; it is deliberately left lifted afterwards.
  [[nodiscard]] Status disable_write_protection();

  // Unprotects, erases and programs `bytes` at `address` in one vendor write.
  [[nodiscard]] Status write_at(std::uint32_t address, const std::vector<std::uint8_t>& bytes);

  // The bridge chip's firmware version text, trailing blanks removed.
  [[nodiscard]] Result<std::string> firmware_version();

  [[nodiscard]] const FlashConfig& config() const noexcept { return config_; }

 private:
  FlashConfig config_;
  CameraUse use_;
  CameraSession camera_;
  SonixLib::SERIAL_FLASH_TYPE flash_type_ = SonixLib::SF_UNKNOW;
};

}  // namespace tovanel::uvc_stereo::detail::bridge
