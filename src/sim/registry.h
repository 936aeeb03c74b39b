#pragma once

#include <mutex>

#include "sim/rig_state.h"

namespace tovanel::uvc_stereo::sim {

// The rig that the simulated vendor backend and capture listing serve: the newest one
// still alive, as with the platform overrides the rigs install. Its state is reached
// only through RigAccess, so a rig cannot be torn down under a call.
void activate_rig(SimulatedRig::State* state) noexcept;
// Forgets `state`; an older rig still alive becomes the active one again.
void deactivate_rig(SimulatedRig::State* state) noexcept;

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
