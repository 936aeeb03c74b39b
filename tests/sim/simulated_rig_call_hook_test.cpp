#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "simulated_rig_fixture.h"
#include "uvc_stereo/simulated_rig.h"

// A hook runs at the moment a vendor call begins, before its work and its faults, and may
// use the rig while it runs.
namespace tovanel::uvc_stereo::sim {
namespace {

using rig_testing::reported_vendor_code;
using rig_testing::supported_camera;

constexpr std::uint32_t kUserSpace = 0x51000;

class SimulatedRigCallHookTest : public rig_testing::OneCameraSessionTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(open_session_on(supported_camera("H1")));
    rig_.set_flash(camera_, kUserSpace, {0x12, 0x34});
    ASSERT_NO_FATAL_FAILURE(unlock_flash());
  }

  void TearDown() override {
    // The hooks capture the test body's locals, which are gone by now; the session's UnInit must not reach them.
    rig_.clear_call_hooks();
    session_.reset();
    EXPECT_EQ(rig_.open_sessions(), 0);
  }

  bool erase_user_space() { return SonixCam_SectorEraseSF(&record_, kUserSpace, 0x20); }
};

TEST_F(SimulatedRigCallHookTest, AHookSeesTheCallBeforeItsWorkAndMayUseTheRig) {
  std::vector<VendorCall> seen;
  std::vector<std::uint8_t> flash_during_hook;
  rig_.on_call("SonixCam_SectorEraseSF", [&](const VendorCall& call) {
    seen.push_back(call);
    flash_during_hook = rig_.flash(camera_, kUserSpace, 2);
  });
  ASSERT_TRUE(erase_user_space());
  ASSERT_EQ(seen.size(), 1u);
  EXPECT_EQ(seen[0].name, "SonixCam_SectorEraseSF");
  EXPECT_EQ(seen[0].args, (std::vector<std::int64_t>{kUserSpace, 0x20}));
  EXPECT_EQ(seen[0].camera, camera_);
  EXPECT_TRUE(seen[0].lock_held);
  EXPECT_EQ(seen[0].open_sessions, 1);
  EXPECT_EQ(flash_during_hook, (std::vector<std::uint8_t>{0x12, 0x34})) << "the hook ran after the erase";
  EXPECT_EQ(rig_.flash(camera_, kUserSpace, 2), (std::vector<std::uint8_t>{0xFF, 0xFF}));
  EXPECT_TRUE(rig_.violations().empty()) << ::testing::PrintToString(rig_.violations());
}

TEST_F(SimulatedRigCallHookTest, AHookWatchesOnlyItsCallAndStarWatchesEveryCall) {
  std::vector<std::string> erases;
  std::vector<std::string> every;
  rig_.on_call("SonixCam_SectorEraseSF", [&](const VendorCall& call) { erases.push_back(call.name); });
  rig_.on_call("*", [&](const VendorCall& call) { every.push_back(call.name); });
  std::uint8_t byte = 0;
  ASSERT_TRUE(SonixCam_CstmReadFromSF(&record_, kUserSpace, &byte, 1));
  ASSERT_TRUE(erase_user_space());
  static_cast<void>(reported_vendor_code(&record_));
  EXPECT_EQ(erases, (std::vector<std::string>{"SonixCam_SectorEraseSF"}));
  EXPECT_EQ(every,
            (std::vector<std::string>{"SonixCam_CstmReadFromSF", "SonixCam_SectorEraseSF", "SonixCam_GetErrorCode"}));
}

TEST_F(SimulatedRigCallHookTest, AnUnplugFromTheHookFailsTheCallThatBegan) {
  rig_.on_call("SonixCam_SectorEraseSF", [&](const VendorCall&) { rig_.unplug(camera_); });
  EXPECT_FALSE(erase_user_space());
  EXPECT_EQ(reported_vendor_code(&record_), SonixLib::ecDeviceDisconnect);
  EXPECT_EQ(rig_.flash(camera_, kUserSpace, 2), (std::vector<std::uint8_t>{0x12, 0x34}));
}

TEST_F(SimulatedRigCallHookTest, AHookRunsAlsoWhenAFaultFailsTheCall) {
  int runs = 0;
  rig_.on_call("SonixCam_SectorEraseSF", [&](const VendorCall&) { ++runs; });
  rig_.add_fault({"SonixCam_SectorEraseSF", 1, 1, SonixLib::ecSectorEraseFail, false});
  EXPECT_FALSE(erase_user_space());
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(reported_vendor_code(&record_), SonixLib::ecSectorEraseFail);
}

TEST_F(SimulatedRigCallHookTest, ClearedHooksNoLongerRunAndAHookMayClearThemItself) {
  int runs = 0;
  rig_.on_call("SonixCam_SectorEraseSF", [&](const VendorCall&) {
    ++runs;
    rig_.clear_call_hooks();
  });
  ASSERT_TRUE(erase_user_space());
  ASSERT_TRUE(erase_user_space());
  EXPECT_EQ(runs, 1);
  rig_.on_call("SonixCam_SectorEraseSF", [&](const VendorCall&) { ++runs; });
  rig_.clear_call_hooks();
  ASSERT_TRUE(erase_user_space());
  EXPECT_EQ(runs, 1);
}

TEST_F(SimulatedRigCallHookTest, AHookThatThrowsIsABrokenRuleAndTheCallGoesOn) {
  rig_.on_call("SonixCam_SectorEraseSF", [](const VendorCall&) { throw std::runtime_error("boom"); });
  EXPECT_TRUE(erase_user_space());
  EXPECT_EQ(rig_.violations(), (std::vector<std::string>{"a hook on SonixCam_SectorEraseSF threw"}));
  EXPECT_EQ(rig_.flash(camera_, kUserSpace, 2), (std::vector<std::uint8_t>{0xFF, 0xFF}));
}

}  // namespace
}  // namespace tovanel::uvc_stereo::sim
