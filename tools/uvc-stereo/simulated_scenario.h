#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "uvc_stereo/result.h"
#include "uvc_stereo/simulated_rig.h"

namespace tovanel::uvc_stereo::cli {

// The cameras --simulate puts on the simulated rig:
//   0: a camera with a capability report (its own flash user space and IMU block), IMU at rest;
//      both IMUs sample at 200 Hz in time, a few millionths off the host clock;
//   1: an older camera without capability reporting (the SDK falls back to fixed defaults),
//      IMU swaying, its sample counter close to the 20-bit wrap.
// Both hold a stored JSON configuration and are listed by both capture backends, behind a
// laptop's integrated webcam, so their capture indices differ per backend.
struct ScenarioCamera {
  std::string serial_number;
  std::string stored_json;  ///< minified, as the camera holds it
  std::uint32_t user_space_address = 0;
  std::uint32_t user_space_size = 0;
};

inline constexpr int kScenarioCameraCount = 2;

// The scenario's cameras, in rig (and scan) order.
[[nodiscard]] std::array<ScenarioCamera, kScenarioCameraCount> scenario_cameras();

// Plugs the scenario's cameras into `rig` and stores their configuration records; a rig kept
// in a directory that already holds them keeps them as they are. The capture listings are set
// either way.
[[nodiscard]] Status populate_simulated_scenario(sim::SimulatedRig& rig);

// A rig holding the scenario, installed as the process's vendor backend while it lives.
class SimulatedScenario {
 public:
  // Builds the rig, in memory or kept in `directory` (made with the scenario's cameras when it
  // holds none yet); `status()` tells whether the scenario could be set up.
  explicit SimulatedScenario(const std::string& directory = std::string());
  [[nodiscard]] const Status& status() const noexcept { return status_; }
  [[nodiscard]] sim::SimulatedRig& rig() noexcept { return *rig_; }

 private:
  std::unique_ptr<sim::SimulatedRig> rig_;
  Status status_;
};

// The capability report of scenario camera 0; the rig sends it as a camera would, checksum included.
[[nodiscard]] CapabilityReport scenario_capability_report();

}  // namespace tovanel::uvc_stereo::cli
