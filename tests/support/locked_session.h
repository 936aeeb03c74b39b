#pragma once

#include "bridge/vendor_session.h"

// A library session as every caller of the vendor functions holds one: the vendor lock, then SonixCam_Init, and
// SonixCam_UnInit again at scope end when the session opened.
namespace tovanel::uvc_stereo::test_support {

class LockedSession {
 public:
  LockedSession() : opened_(session_.start()) {}

  [[nodiscard]] bool opened() const noexcept { return opened_; }

 private:
  detail::bridge::VendorSession session_;
  bool opened_;
};

}  // namespace tovanel::uvc_stereo::test_support
