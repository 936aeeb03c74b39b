#pragma once

#include <cstdint>

#include "bridge/sonix_camera.h"
#include "bridge/vendor_session.h"
#include "uvc_stereo/flash_config.h"
#include "uvc_stereo/records.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::vendor {

/// The opening of every operation on one camera, as one scoped object: a VendorSession (the vendor lock, then
/// SonixCam_Init) and the camera that a selector names, resolved inside it. On every way out the session ends and
/// the lock is released, as VendorSession does, unless the library session is handed on with
/// keep_library_session().
class CameraSession {
 public:
  /// Takes the vendor lock; no vendor call is made until open().
  CameraSession() = default;
  CameraSession(const CameraSession&) = delete;
  CameraSession& operator=(const CameraSession&) = delete;

  /// Starts the library and resolves the one camera the selectors of `config` name (device path over serial
  /// number over vid/pid). A library that does not start gives DeviceUnavailable, "SonixCam_Init failed: ...";
  /// a camera that cannot be resolved gives the resolution's own failure.
  [[nodiscard]] Status open(const FlashConfig& config);

  /// open() with the selectors of a scanned camera's record.
  [[nodiscard]] Status open(const DeviceInfo& device);

  /// Points the extension-unit calls that follow at node `node_id` of the camera's extension unit. PlatformError,
  /// with the vendor's text, when the library refuses.
  [[nodiscard]] Status select_extension_unit(std::uint8_t node_id);

  /// True once open() has resolved the camera; device() is meaningful only then.
  [[nodiscard]] bool resolved() const noexcept { return resolved_; }

  /// The library's record of the resolved camera, as the vendor calls take it.
  [[nodiscard]] SonixLib::scDevice_t& device() noexcept { return device_; }

  /// Ends the library session and releases the lock, ahead of the destructor.
  void end() noexcept { session_.end(); }

  /// Releases the lock but leaves the library session open, for an owner that outlives this operation.
  [[nodiscard]] LibrarySession keep_library_session() noexcept { return session_.keep_library_session(); }

 private:
  VendorSession session_;
  SonixLib::scDevice_t device_{};
  bool resolved_ = false;
};

}  // namespace tovanel::uvc_stereo::vendor
