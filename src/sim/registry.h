#pragma once

#include <mutex>

#include "sim/rig_state.h"

namespace tovanel::uvc_stereo::sim {

// The one rig that the simulated vendor backend and capture listing serve. Its state
// is reached only through RigAccess, so a rig cannot be torn down under a call.
void activate_rig(SimulatedRig::State* state) noexcept;
// Forgets `state` if it is the active rig; returns whether it was.
bool deactivate_rig(SimulatedRig::State* state) noexcept;
[[nodiscard]] bool is_active_rig(const SimulatedRig::State* state) noexcept;

// Holds the active rig (and its state mutex) for as long as it lives.
class RigAccess {
 public:
  RigAccess();
  RigAccess(const RigAccess&) = delete;
  RigAccess& operator=(const RigAccess&) = delete;

  // Null when no rig is active.
  [[nodiscard]] SimulatedRig::State* state() const noexcept { return state_; }

 private:
  std::unique_lock<std::mutex> registry_;
  SimulatedRig::State* state_ = nullptr;
  std::unique_lock<std::mutex> state_lock_;
};

}  // namespace tovanel::uvc_stereo::sim
