#pragma once

#include <cstddef>
#include <cstdint>

namespace tovanel::uvc_stereo::detail::capability_layout {

// Byte offsets of the 64-byte capability report; multi-byte fields are little-endian.
inline constexpr std::size_t kMagicOffset = 0;
inline constexpr std::size_t kMajorVersionOffset = 4;
inline constexpr std::size_t kMinorVersionOffset = 5;
inline constexpr std::size_t kSizeOffset = 6;
inline constexpr std::size_t kBitsOffset = 7;
inline constexpr std::size_t kFlashStartOffset = 15;
inline constexpr std::size_t kFlashSizeOffset = 19;
inline constexpr std::size_t kImuModelOffset = 23;
inline constexpr std::size_t kImuModelLength = 8;
inline constexpr std::size_t kImuUnitOffset = 31;
inline constexpr std::size_t kImuSelectorOffset = 32;
inline constexpr std::size_t kImuLengthOffset = 33;
inline constexpr std::size_t kImuExponentOffset = 34;
inline constexpr std::size_t kTemperatureOffsetOffset = 35;
inline constexpr std::size_t kTemperatureScaleOffset = 37;
inline constexpr std::size_t kAccelScaleOffset = 39;
inline constexpr std::size_t kGyroScaleOffset = 41;
inline constexpr std::size_t kReservedOffset = 43;
// The CRC-32C covers every byte before it.
inline constexpr std::size_t kCrcOffset = 60;

inline constexpr std::uint8_t kMagic[4] = {'T', 'O', 'V', 'A'};
inline constexpr std::uint8_t kSupportedMajorVersion = 1;

}  // namespace tovanel::uvc_stereo::detail::capability_layout
