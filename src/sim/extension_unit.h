#pragma once

#include <cstddef>
#include <cstdint>

#include "sim/rig_state.h"
#include "uvc_stereo/simulated_rig.h"

// A simulated camera's extension unit on its own, so that other stand-ins for the camera
// (the fake kernel behind the Linux backend's tests) answer exactly as the rig does.
namespace tovanel::uvc_stereo::sim {

// The capability extension unit's control: unit 4, selector 11, 64 bytes.
inline constexpr std::uint8_t kCapabilityUnit = 4;
inline constexpr std::uint8_t kCapabilitySelector = 11;
inline constexpr std::uint8_t kCapabilityLength = 64;

// The state of `camera` as it is plugged in at host time `now_ns`: its capability record,
// if any, encoded as the camera sends it, and a timed IMU starting to sample.
[[nodiscard]] CameraState plugged_camera_state(const SimulatedCamera& camera, std::uint64_t now_ns);

// Answers a read of `length` bytes of control `selector` of unit `unit_id`, issued at host
// time `now_ns`: the capability report, or the IMU's sample (or a queued status byte).
// `transfer_ns` receives how long the read takes (0 but for a timed IMU). False, with
// nothing written, when the camera has no such control or the length does not fit it.
[[nodiscard]] bool read_extension_unit(CameraState& camera, std::uint8_t selector, std::uint8_t unit_id,
                                       std::uint8_t* buffer, std::size_t length, std::uint64_t now_ns,
                                       std::uint64_t& transfer_ns);

}  // namespace tovanel::uvc_stereo::sim
