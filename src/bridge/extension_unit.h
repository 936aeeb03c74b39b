#pragma once

#include <array>
#include <cstdint>

namespace tovanel::uvc_stereo::detail::bridge {

// The camera's extension unit {DDDF7394-973E-4727-BED9-04ED6426DC67} in the in-memory GUID layout the vendor
// library expects: the first three fields little-endian, the last eight bytes as they stand. The capability
// report and the IMU samples are both read through it.
inline constexpr std::array<std::uint8_t, 16> kExtensionUnitGuid = {
    0x94, 0x73, 0xDF, 0xDD, 0x3E, 0x97, 0x27, 0x47, 0xBE, 0xD9, 0x04, 0xED, 0x64, 0x26, 0xDC, 0x67,
};

}  // namespace tovanel::uvc_stereo::detail::bridge
