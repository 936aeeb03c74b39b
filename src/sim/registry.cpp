#include "sim/registry.h"

namespace tovanel::uvc_stereo::sim {
namespace {

// Taken before any rig's own mutex, and held for a whole vendor call.
std::mutex& registry_mutex() noexcept {
  static std::mutex mutex;
  return mutex;
}

// The newest living rig; each links to the one alive before it.
SimulatedRig::State* g_newest = nullptr;

// The rig whose call hooks this thread is running, and the call that runs them.
thread_local SimulatedRig::State* t_hooked_rig = nullptr;
thread_local const std::string* t_hooked_call = nullptr;

}  // namespace

void activate_rig(SimulatedRig::State* state) noexcept {
  const std::lock_guard<std::mutex> guard(registry_mutex());
  state->older_rig = g_newest;
  g_newest = state;
}

void deactivate_rig(SimulatedRig::State* state) noexcept {
  const std::lock_guard<std::mutex> guard(registry_mutex());
  for (SimulatedRig::State** link = &g_newest; *link != nullptr; link = &(*link)->older_rig) {
    if (*link == state) {
      *link = state->older_rig;
      state->older_rig = nullptr;
      return;
    }
  }
}

HookRunMark::HookRunMark(SimulatedRig::State* state, const std::string* call) noexcept
    : previous_state_(t_hooked_rig), previous_call_(t_hooked_call) {
  t_hooked_rig = state;
  t_hooked_call = call;
}

HookRunMark::~HookRunMark() {
  t_hooked_rig = previous_state_;
  t_hooked_call = previous_call_;
}

bool running_hooks_of(const SimulatedRig::State* state) noexcept { return state != nullptr && t_hooked_rig == state; }

RigAccess::RigAccess() {
  if (t_hooked_rig != nullptr) {
    state_ = t_hooked_rig;
    hooked_call_ = t_hooked_call;
  } else {
    registry_ = std::unique_lock<std::mutex>(registry_mutex());
    state_ = g_newest;
  }
  if (state_ != nullptr) {
    state_lock_ = std::unique_lock<std::mutex>(state_->mutex);
  }
}

}  // namespace tovanel::uvc_stereo::sim
