#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "bridge/os/camera_lock.h"
#include "bridge/sonix_camera.h"
#include "bridge/vendor_session.h"
#include "uvc_stereo/flash_config.h"
#include "uvc_stereo/records.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::detail::bridge {

/// The opening of every operation on one camera, as one scoped object: a VendorSession (the vendor lock, then
/// SonixCam_Init) and the camera that a selector names, resolved inside it. On every way out the session ends and
/// the lock is released, as VendorSession does, unless the library session is handed on with
/// keep_library_session(). With open_and_hold() it also holds the camera itself against every other Device and
/// program (CameraLock), until after the library session has ended.
class CameraSession {
 public:
  /// Takes the vendor lock; no vendor call is made until open().
  CameraSession();
  CameraSession(const CameraSession&) = delete;
  CameraSession& operator=(const CameraSession&) = delete;

  /// Starts the library and resolves the one camera the selectors of `config` name (device path over serial
  /// number over vid/pid). A library that does not start gives DeviceUnavailable, "SonixCam_Init failed: ...";
  /// a camera that cannot be resolved gives the resolution's own failure.
  [[nodiscard]] Status open(const FlashConfig& config);

  /// open() with the selectors of a scanned camera's record.
  [[nodiscard]] Status open(const DeviceInfo& device);

  /// open(), then holds the camera for `use`: at once when it is free; else the library session ends (waiting
  /// under the vendor lock would stall every camera user of this process, the holder too), the camera is waited
  /// for up to `busy_wait`, and the session starts again and finds the camera afresh. A camera still held then is
  /// DeviceUnavailable "camera is busy: ..." (see CameraLock::take).
  [[nodiscard]] Status open_and_hold(const FlashConfig& config, CameraUse use, std::chrono::milliseconds busy_wait);

  /// Hands the camera hold on, with keep_library_session(), to an owner that outlives this operation.
  [[nodiscard]] CameraLock keep_camera_hold() noexcept { return std::move(hold_); }

  /// Points the extension-unit calls that follow at node `node_id` of the camera's extension unit. PlatformError,
  /// with the vendor's text, when the library refuses.
  [[nodiscard]] Status select_extension_unit(std::uint8_t node_id);

  /// True once open() has resolved the camera; device() is meaningful only then.
  [[nodiscard]] bool resolved() const noexcept { return resolved_; }

  /// The library's record of the resolved camera, as the vendor calls take it.
  [[nodiscard]] SonixLib::scDevice_t& device() noexcept { return device_; }

  /// Ends the library session and releases the lock, ahead of the destructor.
  void end() noexcept { session_->end(); }

  /// Releases the lock but leaves the library session open, for an owner that outlives this operation.
  [[nodiscard]] LibrarySession keep_library_session() noexcept { return session_->keep_library_session(); }

 private:
  /// Starts the library and resolves the camera; the camera's lock key on success.
  [[nodiscard]] Result<std::string> start_and_resolve(const FlashConfig& config);

  CameraLock hold_;  ///< released after the session below has ended
  std::optional<VendorSession> session_;
  SonixLib::scDevice_t device_{};
  bool resolved_ = false;
};

}  // namespace tovanel::uvc_stereo::detail::bridge
