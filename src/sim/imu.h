#pragma once

#include <array>
#include <cstdint>

#include "imu/imu_payload.h"
#include "uvc_stereo/simulated_rig.h"

namespace tovanel::uvc_stereo::sim {

// The bytes of one IMU sample as the camera's extension unit sends them.
using ImuPayload = std::array<std::uint8_t, detail::kImuPayloadSize>;

// Produces the sample stream of one simulated IMU: repeatable for a given seed, with
// values a real sensor would give (about 1 g, small rates, noise of a few counts).
class SimulatedImuGenerator {
 public:
  explicit SimulatedImuGenerator(const SimulatedImu& config);

  // The 20-bit counter the next sample will carry.
  [[nodiscard]] std::uint32_t next_counter() const noexcept { return counter_; }
  // The next sample, advancing the counter and the motion.
  [[nodiscard]] ImuPayload next_sample();

 private:
  [[nodiscard]] int noise(int amplitude);

  SimulatedImu config_;
  std::uint32_t counter_;
  std::uint64_t samples_ = 0;
  std::uint32_t noise_state_;
};

}  // namespace tovanel::uvc_stereo::sim
