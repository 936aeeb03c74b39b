#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "capability/capability_report.h"
#include "uvc_stereo/capability.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::detail {

// What one read of the capability extension unit amounted to. legacy_fallback is false exactly when a valid
// report was parsed; otherwise status says why the device must be treated as one without capability reporting.
struct XuCapabilityProbeResult {
  bool legacy_fallback = true;
  std::optional<CapabilityReport> report;
  Status status;

  XuCapabilityProbeResult() = default;
  ~XuCapabilityProbeResult();
  XuCapabilityProbeResult(const XuCapabilityProbeResult&) = delete;
  XuCapabilityProbeResult& operator=(const XuCapabilityProbeResult&) = delete;
  // Moving takes the report and the status message; the source keeps an empty message.
  XuCapabilityProbeResult(XuCapabilityProbeResult&& other) noexcept = default;
  XuCapabilityProbeResult& operator=(XuCapabilityProbeResult&& other) noexcept = default;
};

// Classifies the 64 bytes read from the capability extension unit: all zeros (no capability reporting),
// a malformed report (the parser's reason), or a valid report.
[[nodiscard]] XuCapabilityProbeResult interpret_xu_capability_bytes(
    const std::array<std::uint8_t, kCapabilityReportSize>& bytes);

}  // namespace tovanel::uvc_stereo::detail
