#include <windows.h>

#include "bridge/process_lock.h"
#include "bridge/process_lock_depth.h"

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

struct ProcessCriticalSection {
  CRITICAL_SECTION section;
  bool created = false;
};

// A critical section in a function-local static, created under thread-safe static
// initialisation and never deleted: it outlives every SonixGlobalLock, even those
// released during process shut-down.
ProcessCriticalSection& process_section() noexcept {
  static ProcessCriticalSection* const state = [] {
    auto* created = new ProcessCriticalSection();
    InitializeCriticalSection(&created->section);
    created->created = true;
    return created;
  }();
  return *state;
}

}  // namespace

void enter_process_lock() noexcept {
  EnterCriticalSection(&process_section().section);
  ++process_lock_depth;
}

void leave_process_lock() noexcept {
  --process_lock_depth;
  LeaveCriticalSection(&process_section().section);
}

bool process_lock_held_by_this_thread() noexcept { return process_lock_depth > 0; }

}  // namespace tovanel::uvc_stereo::detail::bridge
