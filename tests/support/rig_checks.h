#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "uvc_stereo/simulated_rig.h"

// Checks that every operation must leave behind, whatever happened inside it: the rig's rules kept, each library
// session it opened closed again, and the vendor lock free for this and for any other thread.
namespace tovanel::uvc_stereo::test_support {

// How long another thread may wait for the vendor lock before it counts as left held. A held lock would block every
// later operation of the process, so the test program is stopped rather than left hanging.
inline constexpr std::chrono::seconds kLockPatience{20};

// Fails the test when this thread still holds the vendor lock, and stops the program when another thread cannot take
// it within kLockPatience.
void expect_vendor_lock_free(const std::string& context = std::string());

// A test on a fresh rig whose rules must hold at its end: nothing broken, no session left open, the lock free.
class RigTest : public ::testing::Test {
 protected:
  void TearDown() override;

  sim::SimulatedRig rig_;
};

}  // namespace tovanel::uvc_stereo::test_support
