#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/call_views.h"
#include "support/debug_capture.h"
#include "support/flash_records.h"
#include "support/rig_cameras.h"
#include "support/rig_checks.h"
#include "uvc_stereo/flash_config.h"
#include "uvc_stereo/result.h"
#include "uvc_stereo/simulated_rig.h"

// The flash transport tests' rig: one supported camera, and a failure checked as both its caller and a debugger
// see it. Records laid out by hand, the debug-output recorder and the call views come from the test support.
namespace tovanel::uvc_stereo::test_support {

// A flash failure as both its caller and a debugger see it: the status, and the same text told to the debugger
// followed by a line break.
inline void expect_reported_failure(const Status& status, ErrorCode code, const std::string& message,
                                    const DebugCapture& debug) {
  EXPECT_EQ(status.code(), code);
  EXPECT_EQ(status.message(), message);
  EXPECT_EQ(debug.texts(), (std::vector<std::string>{message, "\n"}));
}

// One rig with one supported camera whose user space is the default one. Every test ends
// with the rig's rules kept, no session left open and the vendor lock free.
class FlashRigTest : public RigTest {
 protected:
  void SetUp() override { camera_ = rig_.add_camera(supported_camera(0, "SN-FLASH-0001")); }

  // The rig saw the vendor lock held on every call.
  void expect_calls_under_lock() const {
    for (const sim::VendorCall& call : rig_.calls()) {
      EXPECT_TRUE(call.lock_held) << call.name;
    }
  }

  int camera_ = -1;
  FlashConfig config_;
};

}  // namespace tovanel::uvc_stereo::test_support
