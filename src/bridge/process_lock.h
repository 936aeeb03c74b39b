#pragma once

namespace tovanel::uvc_stereo::detail::bridge {

// The one process-wide recursive lock behind SonixGlobalLock: created on first use
// and never destroyed. A Win32 critical section on Windows, a recursive mutex elsewhere.
void enter_process_lock() noexcept;
void leave_process_lock() noexcept;

// True while the calling thread holds the lock at least once; the simulated rig
// checks it on every vendor call.
[[nodiscard]] bool process_lock_held_by_this_thread() noexcept;

}  // namespace tovanel::uvc_stereo::detail::bridge
