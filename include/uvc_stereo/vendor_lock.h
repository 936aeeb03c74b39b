#pragma once

#include "uvc_stereo/export.h"

namespace tovanel::uvc_stereo::win_detail {

/// A hold on the one process-wide recursive lock that serialises every use of the
/// camera vendor library. The lock is created on first use and never destroyed, so a
/// hold released during process shut-down still finds it valid.
class UVC_STEREO_API SonixGlobalLock {
 public:
  /// Blocks until the lock is free (or already held by this thread), then holds it.
  SonixGlobalLock();
  /// Takes over the other's hold without touching the lock.
  SonixGlobalLock(SonixGlobalLock&& other) noexcept;
  /// Releases this hold, if any, then takes over the other's.
  SonixGlobalLock& operator=(SonixGlobalLock&& other) noexcept;
  /// Not copyable: a hold belongs to one object.
  SonixGlobalLock(const SonixGlobalLock&) = delete;
  SonixGlobalLock& operator=(const SonixGlobalLock&) = delete;
  /// Releases the hold, if any.
  ~SonixGlobalLock();

  /// Releases the hold; harmless when there is none.
  void unlock() noexcept;
  /// Whether this object holds the lock.
  [[nodiscard]] bool owns_lock() const noexcept { return owns_; }

 private:
  bool owns_ = false;
};

}  // namespace tovanel::uvc_stereo::win_detail
