#include "c_api/handle_use.h"

#include <string>

namespace tovanel::uvc_stereo::c_api {
namespace {

// One address per thread, to tell the threads apart at the cost of a pointer.
thread_local const char t_thread_marker = 0;

}  // namespace

Status HandleUse::enter(Kind kind, const char* function) {
  const std::uint32_t claimed = kind == Kind::UsesCamera ? kCameraInUse : 0u;
  std::uint32_t seen = state_.load(std::memory_order_relaxed);
  for (;;) {
    if ((seen & kClosing) != 0) {
      return Status(ErrorCode::InvalidArgument, std::string(function) + ": device is closed");
    }
    if ((seen & claimed) != 0) {
      return Status(ErrorCode::InvalidArgument,
                    std::string(function) + ": another call on this device is using the camera");
    }
    if (state_.compare_exchange_weak(seen, (seen + 1) | claimed, std::memory_order_acquire,
                                     std::memory_order_relaxed)) {
      if (kind == Kind::UsesCamera) {
        camera_user_.store(&t_thread_marker, std::memory_order_relaxed);
      }
      return Status();
    }
  }
}

void HandleUse::leave(Kind kind) noexcept {
  if (kind == Kind::UsesCamera) {
    camera_user_.store(nullptr, std::memory_order_relaxed);
  }
  const std::uint32_t released = 1u + (kind == Kind::UsesCamera ? kCameraInUse : 0u);
  const std::uint32_t before = state_.fetch_sub(released, std::memory_order_release);
  if ((before & kClosing) != 0 && (before & kCallCount) == 1) {
    // The last call out wakes the closer; under the mutex, so the wake cannot fall between
    // the closer's look at the count and its wait.
    const std::lock_guard<std::mutex> guard(mutex_);
    left_.notify_all();
  }
}

bool HandleUse::closing() const noexcept { return (state_.load(std::memory_order_relaxed) & kClosing) != 0; }

bool HandleUse::close() noexcept {
  if (camera_user_.load(std::memory_order_relaxed) == &t_thread_marker) {
    return false;
  }
  state_.fetch_or(kClosing, std::memory_order_acq_rel);
  std::unique_lock<std::mutex> lock(mutex_);
  left_.wait(lock, [this] { return (state_.load(std::memory_order_acquire) & kCallCount) == 0; });
  return true;
}

}  // namespace tovanel::uvc_stereo::c_api
