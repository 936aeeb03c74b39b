#include "capability/capability_probe_result.h"

#include <algorithm>
#include <utility>

namespace tovanel::uvc_stereo::detail {

XuCapabilityProbeResult::~XuCapabilityProbeResult() = default;

XuCapabilityProbeResult interpret_xu_capability_bytes(const std::array<std::uint8_t, kCapabilityReportSize>& bytes) {
  XuCapabilityProbeResult result;
  // A camera without capability reporting answers the read with nothing but zeros.
  if (std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte == 0; })) {
    result.status = Status(ErrorCode::BadMagic, "capability XU returned an all-zero report");
    return result;
  }
  Result<CapabilityReport> parsed = parse_xu_capability_report(bytes);
  if (!parsed.ok()) {
    result.status = parsed.status();
    return result;
  }
  result.legacy_fallback = false;
  result.report = std::move(parsed).value();
  return result;
}

}  // namespace tovanel::uvc_stereo::detail
