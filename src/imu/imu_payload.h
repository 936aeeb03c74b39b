#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "uvc_stereo/records.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::detail {

// Bytes of one IMU sample as the extension unit sends it; a longer read carries the sample in its first bytes.
inline constexpr std::size_t kImuPayloadSize = 17;

// Status values the device puts in the first byte instead of the temperature's high byte.
inline constexpr std::uint8_t kImuStatusInitFailed = 0xF1;
inline constexpr std::uint8_t kImuStatusReadFailed = 0xF2;

// Decodes one big-endian IMU sample, leaving host_timestamp_ns at 0. Takes a pointer and length so the reader
// can decode its reusable buffer; a successful decode allocates nothing. A null `data` counts as no bytes.
[[nodiscard]] Result<ReadImuResult> decode_imu_payload(const std::uint8_t* data, std::size_t length);

// Writes the payload the device would send for `sample`, as the simulated rig's IMU does (the host timestamp is
// not part of it and the counter keeps its low 20 bits). A temperature whose high byte is a status value is
// written as it stands.
void encode_imu_payload(const ReadImuResult& sample, std::array<std::uint8_t, kImuPayloadSize>& out);

}  // namespace tovanel::uvc_stereo::detail
