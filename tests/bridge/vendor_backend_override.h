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
inline const vendor::VendorBackend*& overridden_backend() {
  static const vendor::VendorBackend* backend = nullptr;
  return backend;
}

inline const vendor::VendorBackend& rig_backend() { return *overridden_backend(); }

// Installs a copy of the active backend with the entries a test replaced in `table()`, and puts the
// original back when it goes out of scope. Make it after the rig, so that it ends first.
class BackendOverride {
 public:
  BackendOverride() : original_(&vendor::active_vendor_backend()), table_(*original_) {
    overridden_backend() = original_;
  }
  ~BackendOverride() {
    installed_.reset();
    overridden_backend() = nullptr;
  }
  // Replaces the one entry `entry` with `replacement` and installs the table at once.
  template <typename Entry>
  BackendOverride(Entry vendor::VendorBackend::*entry, Entry replacement) : BackendOverride() {
    table_.*entry = replacement;
    install();
  }
  BackendOverride(const BackendOverride&) = delete;
  BackendOverride& operator=(const BackendOverride&) = delete;

  vendor::VendorBackend& table() { return table_; }
  void install() { installed_.emplace(vendor::replacing_vendor_backend(table_)); }

 private:
  const vendor::VendorBackend* original_;
  vendor::VendorBackend table_;
  std::optional<vendor::PlatformOverride> installed_;
};

// After a vendor call threw inside a session: the session was ended (SonixCam_UnInit is the last call), none is left
// open, and the process-wide lock is free again.
inline void expect_session_ended(const sim::SimulatedRig& rig) {
  EXPECT_EQ(rig.calls().back().name, "SonixCam_UnInit");
  EXPECT_EQ(rig.open_sessions(), 0);
  EXPECT_FALSE(vendor::process_lock_held_by_this_thread());
}

}  // namespace tovanel::uvc_stereo::vendor_testing
