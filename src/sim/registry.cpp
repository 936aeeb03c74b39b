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

RigAccess::RigAccess() : registry_(registry_mutex()), state_(g_newest) {
  if (state_ != nullptr) {
    state_lock_ = std::unique_lock<std::mutex>(state_->mutex);
  }
}

}  // namespace tovanel::uvc_stereo::sim
