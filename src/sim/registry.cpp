#include "sim/registry.h"

#include <algorithm>
#include <vector>

namespace tovanel::uvc_stereo::sim {
namespace {

// Taken before any rig's own mutex, and held for a whole vendor call.
std::mutex& registry_mutex() noexcept {
  static std::mutex mutex;
  return mutex;
}

// Every living rig, oldest first.
std::vector<SimulatedRig::State*>& living_rigs() noexcept {
  static std::vector<SimulatedRig::State*> rigs;
  return rigs;
}

SimulatedRig::State* newest_rig() noexcept { return living_rigs().empty() ? nullptr : living_rigs().back(); }

}  // namespace

void activate_rig(SimulatedRig::State* state) {
  const std::lock_guard<std::mutex> guard(registry_mutex());
  living_rigs().push_back(state);
}

void deactivate_rig(SimulatedRig::State* state) noexcept {
  const std::lock_guard<std::mutex> guard(registry_mutex());
  std::vector<SimulatedRig::State*>& rigs = living_rigs();
  rigs.erase(std::remove(rigs.begin(), rigs.end(), state), rigs.end());
}

RigAccess::RigAccess() : registry_(registry_mutex()), state_(newest_rig()) {
  if (state_ != nullptr) {
    state_lock_ = std::unique_lock<std::mutex>(state_->mutex);
  }
}

}  // namespace tovanel::uvc_stereo::sim
