#include <mutex>
#include <new>

#include "bridge/process_lock.h"
#include "bridge/process_lock_depth.h"

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

// Constructed in place on first use and never destroyed, so a hold released from a
// static destructor at process exit still finds a valid mutex.
std::recursive_mutex& process_mutex() noexcept {
  alignas(std::recursive_mutex) static unsigned char storage[sizeof(std::recursive_mutex)];
  static std::recursive_mutex* const mutex = new (storage) std::recursive_mutex();
  return *mutex;
}

}  // namespace

void enter_process_lock() noexcept {
  process_mutex().lock();
  ++process_lock_depth;
}

void leave_process_lock() noexcept {
  --process_lock_depth;
  process_mutex().unlock();
}

bool process_lock_held_by_this_thread() noexcept { return process_lock_depth > 0; }

}  // namespace tovanel::uvc_stereo::detail::bridge
