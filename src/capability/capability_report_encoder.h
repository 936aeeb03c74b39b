#pragma once

#include <array>
#include <cstdint>

#include "capability/capability_report.h"
#include "uvc_stereo/capability.h"

namespace tovanel::uvc_stereo::detail {

// Writes the 64-byte report a camera would send for `report`: magic, major version 1, the minor version,
// size 64, the bits as given, the fields of each engaged optional, zero reserved bytes and the CRC-32C.
// Scales are multiplied back by 10^decimal_exponent and rounded, so a parsed report encodes to its own bytes.
[[nodiscard]] std::array<std::uint8_t, kCapabilityReportSize> encode_xu_capability_report(
    const CapabilityReport& report);

}  // namespace tovanel::uvc_stereo::detail
