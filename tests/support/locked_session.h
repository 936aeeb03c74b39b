#pragma once

#include "uvc_stereo/vendor_lock.h"

// A library session as every caller of the vendor functions holds one: the vendor lock, then SonixCam_Init, and
// SonixCam_UnInit again at scope end when the session opened.
namespace tovanel::uvc_stereo::test_support {

class LockedSession {
 public:
  LockedSession();
  ~LockedSession();
  LockedSession(const LockedSession&) = delete;
  LockedSession& operator=(const LockedSession&) = delete;

  [[nodiscard]] bool opened() const noexcept { return opened_; }

 private:
  win_detail::SonixGlobalLock lock_;
  bool opened_;
};

}  // namespace tovanel::uvc_stereo::test_support
