#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <utility>

#include "core/guard.h"
#include "uvc_stereo/capability.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::detail {

// The capability extension unit always answers with exactly this many bytes.
inline constexpr std::size_t kCapabilityReportSize = 64;

// Checks a 64-byte capability report strictly; the first failing check decides the status.
[[nodiscard]] Result<CapabilityReport> parse_xu_capability_report(
    const std::array<std::uint8_t, kCapabilityReportSize>& bytes);

// Runs the IMU-model step of the parser so that nothing it throws escapes: a standard exception keeps its
// own text, anything else gets the step's fixed text. Kept visible so the guard itself can be exercised.
template <typename Step>
[[nodiscard]] Status guard_imu_model_step(Step&& step) {
  return guard_operation("unknown exception while parsing capability IMU model",
                         [&]() -> Status { return std::forward<Step>(step)(); });
}

}  // namespace tovanel::uvc_stereo::detail
