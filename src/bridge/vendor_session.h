#pragma once

#include "uvc_stereo/result.h"
#include "uvc_stereo/vendor_lock.h"

namespace tovanel::uvc_stereo::detail::bridge {

// One library session that someone must end: a successful SonixCam_Init waiting for its
// SonixCam_UnInit. Ending it takes the vendor lock for the UnInit, so a longer-lived owner
// (an open IMU reader) may keep it without holding the lock in between. Movable; a
// moved-from or ended session ends nothing.
class LibrarySession {
 public:
  LibrarySession() noexcept = default;
  LibrarySession(LibrarySession&& other) noexcept;
  LibrarySession& operator=(LibrarySession&& other) noexcept;
  LibrarySession(const LibrarySession&) = delete;
  LibrarySession& operator=(const LibrarySession&) = delete;
  ~LibrarySession();

  // SonixCam_UnInit under the vendor lock, once; harmless when there is nothing to end.
  void end() noexcept;
  [[nodiscard]] bool open() const noexcept { return open_; }

 private:
  friend class VendorSession;
  explicit LibrarySession(bool open) noexcept : open_(open) {}

  bool open_ = false;
};

// The discipline of every operation that touches a camera, as one scoped object: the
// process-wide vendor lock is taken first, then SonixCam_Init (start); on every way out
// (return or exception) SonixCam_UnInit runs, only if the Init succeeded, and then the
// lock is released. Nothing of the library survives it unless handed on with
// keep_library_session().
class VendorSession {
 public:
  // Takes the lock, blocking until it is free or already held by this thread. No vendor
  // call is made until start().
  VendorSession() = default;
  VendorSession(const VendorSession&) = delete;
  VendorSession& operator=(const VendorSession&) = delete;
  ~VendorSession();

  // SonixCam_Init, once; true when the library started and calls on cameras may be made.
  [[nodiscard]] bool start();
  [[nodiscard]] bool started() const noexcept { return library_.open(); }

  // After a failed start: whether the library refused only because no camera is
  // attached, which a scan reports as an empty list. Asks the library for its error code.
  [[nodiscard]] bool failed_for_want_of_cameras() const noexcept;

  // After a failed start: "SonixCam_Init failed: vendor_code=<name>(<code>)" with the
  // caller's code. Asks the library for its error code.
  [[nodiscard]] Status start_failure(ErrorCode code) const;

  // Ends the library session and then releases the lock, ahead of the destructor.
  void end() noexcept;

  // Releases the lock but leaves the library session open, for an owner that outlives
  // this operation; it ends the returned session when done.
  [[nodiscard]] LibrarySession keep_library_session() noexcept;

 private:
  win_detail::SonixGlobalLock lock_;
  LibrarySession library_;
};

}  // namespace tovanel::uvc_stereo::detail::bridge
