#include "bridge/vendor_session.h"

#include <utility>

#include "bridge/sonix_camera.h"
#include "bridge/vendor_error_names.h"
#include "bridge/vendor_status.h"

namespace tovanel::uvc_stereo::detail::bridge {

LibrarySession::LibrarySession(LibrarySession&& other) noexcept : open_(std::exchange(other.open_, false)) {}

LibrarySession& LibrarySession::operator=(LibrarySession&& other) noexcept {
  if (this != &other) {
    end();
    open_ = std::exchange(other.open_, false);
  }
  return *this;
}

LibrarySession::~LibrarySession() { end(); }

void LibrarySession::end() noexcept {
  if (!open_) {
    return;
  }
  open_ = false;
  const win_detail::SonixGlobalLock lock;
  static_cast<void>(SonixCam_UnInit());
}

bool VendorSession::start() {
  if (!library_.open()) {
    library_ = LibrarySession(SonixCam_Init());
  }
  return library_.open();
}

VendorSession::~VendorSession() { end(); }

bool VendorSession::failed_for_want_of_cameras() const noexcept {
  return win_detail::is_no_device_error(win_detail::get_vendor_error_code(nullptr));
}

Status VendorSession::start_failure(ErrorCode code) const {
  return win_detail::make_vendor_status(code, "SonixCam_Init", nullptr);
}

void VendorSession::end() noexcept {
  // The library first, then the lock: no other thread may start a session in between.
  library_.end();
  lock_.unlock();
}

LibrarySession VendorSession::keep_library_session() noexcept {
  LibrarySession kept = std::move(library_);
  lock_.unlock();
  return kept;
}

}  // namespace tovanel::uvc_stereo::detail::bridge
