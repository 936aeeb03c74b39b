#pragma once

namespace tovanel::uvc_stereo::detail::bridge {

// How many times the calling thread has entered the process lock; both platform
// halves keep it so that ownership can be asked the same way everywhere.
inline thread_local int process_lock_depth = 0;

}  // namespace tovanel::uvc_stereo::detail::bridge
