#pragma once

#include <chrono>

namespace tovanel::uvc_stereo::detail {

// Waits until now + `duration` (an absolute deadline, so a spurious early wake-up
// still waits the whole time). The camera needs these pauses to settle after flash
// and before IMU access.
void pause_for(std::chrono::milliseconds duration);

// Replaces the wait (tests observe the pauses without spending them); null restores it.
using PauseHook = void (*)(std::chrono::milliseconds duration, void* context);
void set_pause_hook(PauseHook hook, void* context) noexcept;

}  // namespace tovanel::uvc_stereo::detail
