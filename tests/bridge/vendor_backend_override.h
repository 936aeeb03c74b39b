#pragma once

#include <gtest/gtest.h>

#include <optional>

#include "bridge/platform.h"
#include "bridge/process_lock.h"
#include "bridge/vendor_backend.h"
#include "uvc_stereo/simulated_rig.h"

// Lets a test change single vendor operations of the simulated rig (to throw, to look at the arguments, to stall)
// while every other operation still reaches the rig.
namespace tovanel::uvc_stereo::vendor_testing {

// The backend that was active when the newest override was made; replacement operations forward to it.
inline const detail::bridge::VendorBackend*& overridden_backend() {
  static const detail::bridge::VendorBackend* backend = nullptr;
  return backend;
}

inline const detail::bridge::VendorBackend& rig_backend() { return *overridden_backend(); }

// Installs a copy of the active backend with the entries a test replaced in `table()`, and puts the
// original back when it goes out of scope. Make it after the rig, so that it ends first.
class BackendOverride {
 public:
  BackendOverride() : original_(&detail::bridge::active_vendor_backend()), table_(*original_) {
    overridden_backend() = original_;
  }
  ~BackendOverride() {
    installed_.reset();
    overridden_backend() = nullptr;
  }
  // Replaces the one entry `entry` with `replacement` and installs the table at once.
  template <typename Entry>
  BackendOverride(Entry detail::bridge::VendorBackend::*entry, Entry replacement) : BackendOverride() {
    table_.*entry = replacement;
    install();
  }
  BackendOverride(const BackendOverride&) = delete;
  BackendOverride& operator=(const BackendOverride&) = delete;

  detail::bridge::VendorBackend& table() { return table_; }
  void install() { installed_.emplace(detail::bridge::replacing_vendor_backend(table_)); }

 private:
  const detail::bridge::VendorBackend* original_;
  detail::bridge::VendorBackend table_;
  std::optional<detail::bridge::PlatformOverride> installed_;
};

// After a vendor call threw inside a session: the session was ended (SonixCam_UnInit is the last call), none is left
// open, and the process-wide lock is free again.
inline void expect_session_ended(const sim::SimulatedRig& rig) {
  EXPECT_EQ(rig.calls().back().name, "SonixCam_UnInit");
  EXPECT_EQ(rig.open_sessions(), 0);
  EXPECT_FALSE(detail::bridge::process_lock_held_by_this_thread());
}

}  // namespace tovanel::uvc_stereo::vendor_testing
