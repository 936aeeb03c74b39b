#include "support/locked_session.h"

#include "bridge/sonix_camera.h"

namespace tovanel::uvc_stereo::test_support {

LockedSession::LockedSession() : opened_(SonixCam_Init()) {}

LockedSession::~LockedSession() {
  if (opened_) {
    static_cast<void>(SonixCam_UnInit());
  }
}

}  // namespace tovanel::uvc_stereo::test_support
