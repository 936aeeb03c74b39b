#pragma once

#include <chrono>

#include "bridge/platform_table.h"

namespace tovanel::uvc_stereo::detail::bridge {

// Waits until now + `duration` (an absolute deadline, so a spurious early wake-up
// still waits the whole time), or hands the pause to the platform table's pause entry
// when one is installed. The camera needs these pauses to settle after flash and
// before IMU access.
void pause_for(std::chrono::milliseconds duration);

// The real wait, as a pause entry: for a test that wants real pauses back under an
// override that skips them.
[[nodiscard]] const PauseHook& real_pause() noexcept;

}  // namespace tovanel::uvc_stereo::detail::bridge
