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
  // Lets go of the rig's state (not of the rig itself, which stays active) until
  // retake_state(), so that code run in the middle of a call may use the rig's members.
  void release_state() { state_lock_.unlock(); }
  void retake_state() { state_lock_.lock(); }

 private:
  std::unique_lock<std::mutex> registry_;
  SimulatedRig::State* state_ = nullptr;
  std::unique_lock<std::mutex> state_lock_;
};

}  // namespace tovanel::uvc_stereo::sim
