#include "sim/registry.h"

namespace tovanel::uvc_stereo::sim {
namespace {

// Taken before any rig's own mutex, and held for a whole vendor call.
std::mutex& registry_mutex() noexcept {
  static std::mutex mutex;
  return mutex;
}

SimulatedRig::State* g_active = nullptr;

}  // namespace

void activate_rig(SimulatedRig::State* state) noexcept {
  const std::lock_guard<std::mutex> guard(registry_mutex());
  g_active = state;
}

bool deactivate_rig(SimulatedRig::State* state) noexcept {
  const std::lock_guard<std::mutex> guard(registry_mutex());
  if (g_active != state) {
    return false;
  }
  g_active = nullptr;
  return true;
}

bool is_active_rig(const SimulatedRig::State* state) noexcept {
  const std::lock_guard<std::mutex> guard(registry_mutex());
  return g_active == state;
}

RigAccess::RigAccess() : registry_(registry_mutex()), state_(g_active) {
  if (state_ != nullptr) {
    state_lock_ = std::unique_lock<std::mutex>(state_->mutex);
  }
}

}  // namespace tovanel::uvc_stereo::sim
