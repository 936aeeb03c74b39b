#pragma once

#include <mutex>
#include <string>

#include "sim/rig_state.h"

namespace tovanel::uvc_stereo::sim {

// The rig that the simulated vendor backend and capture listing serve: the newest one
// still alive, as with the platform overrides the rigs install. Its state is reached
// only through RigAccess, so a rig cannot be torn down under a call.
void activate_rig(SimulatedRig::State* state) noexcept;
// Forgets `state`; an older rig still alive becomes the active one again.
void deactivate_rig(SimulatedRig::State* state) noexcept;

// Marks the calling thread as running the call hooks of `state` for the call `call`, for as
// long as it lives: a vendor call the thread makes meanwhile comes from one of those hooks.
class HookRunMark {
 public:
  HookRunMark(SimulatedRig::State* state, const std::string* call) noexcept;
  ~HookRunMark();
  HookRunMark(const HookRunMark&) = delete;
  HookRunMark& operator=(const HookRunMark&) = delete;

 private:
  SimulatedRig::State* previous_state_;
  const std::string* previous_call_;
};

// Whether the calling thread is running the call hooks of `state` right now.
[[nodiscard]] bool running_hooks_of(const SimulatedRig::State* state) noexcept;

// Holds the active rig (and its state mutex) for as long as it lives. On a thread that is
// running call hooks it holds the rig whose call runs them, without the registry: that call
// holds the registry already, and waiting for it would wait for ever.
class RigAccess {
 public:
  RigAccess();
  RigAccess(const RigAccess&) = delete;
  RigAccess& operator=(const RigAccess&) = delete;

  // Null when no rig is active.
  [[nodiscard]] SimulatedRig::State* state() const noexcept { return state_; }
  // The call was made from a hook, while the call that runs the hook is still in progress.
  [[nodiscard]] bool reentered() const noexcept { return hooked_call_ != nullptr; }
  // The name of the call whose hook made this one; null unless reentered().
  [[nodiscard]] const std::string* hooked_call() const noexcept { return hooked_call_; }
  // Lets go of the rig's state (not of the rig itself, which stays active) until
  // retake_state(), so that code run in the middle of a call may use the rig's members.
  void release_state() { state_lock_.unlock(); }
  void retake_state() { state_lock_.lock(); }

 private:
  std::unique_lock<std::mutex> registry_;
  SimulatedRig::State* state_ = nullptr;
  const std::string* hooked_call_ = nullptr;
  std::unique_lock<std::mutex> state_lock_;
};

}  // namespace tovanel::uvc_stereo::sim
