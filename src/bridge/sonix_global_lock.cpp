#include "bridge/process_lock.h"
#include "uvc_stereo/vendor_lock.h"

namespace tovanel::uvc_stereo::win_detail {

SonixGlobalLock::SonixGlobalLock() : owns_(true) { detail::bridge::enter_process_lock(); }

SonixGlobalLock::SonixGlobalLock(SonixGlobalLock&& other) noexcept : owns_(other.owns_) { other.owns_ = false; }

SonixGlobalLock& SonixGlobalLock::operator=(SonixGlobalLock&& other) noexcept {
  if (this != &other) {
    unlock();
    owns_ = other.owns_;
    other.owns_ = false;
  }
  return *this;
}

SonixGlobalLock::~SonixGlobalLock() { unlock(); }

void SonixGlobalLock::unlock() noexcept {
  if (owns_) {
    detail::bridge::leave_process_lock();
    owns_ = false;
  }
}

}  // namespace tovanel::uvc_stereo::win_detail
