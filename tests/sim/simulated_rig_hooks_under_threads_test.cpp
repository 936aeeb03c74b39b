#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "simulated_rig_fixture.h"
#include "support/scanned_device.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/simulated_rig.h"

// Hooks and the threads around them: clearing the hooks waits for the ones running, and a hook
// that calls the SDK is refused instead of waiting for ever.
namespace tovanel::uvc_stereo::sim {
namespace {

using namespace std::chrono_literals;

// What a hook's caller hands it and frees once the hooks are cleared.
struct HookContext {
  std::atomic<int> runs{0};
};

// A rig with one camera, opened through the SDK as an application opens it.
class RigHookThreadsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    rig_.add_camera(rig_testing::supported_camera("HT1"));
    Result<Device> opened = open_device(test_support::scanned_device("HT1"), OpenDeviceOptions{});
    ASSERT_TRUE(opened.ok()) << opened.status().message();
    device_ = std::make_unique<Device>(std::move(opened).value());
  }

  void TearDown() override {
    rig_.clear_call_hooks();
    device_.reset();
    EXPECT_EQ(rig_.open_sessions(), 0);
  }

  SimulatedRig rig_;
  std::unique_ptr<Device> device_;
};

TEST_F(RigHookThreadsTest, ClearingWaitsForTheHooksRunningOnAnotherThreadAndStopsTheRestOfTheirRun) {
  auto* context = new HookContext;
  std::atomic<bool> first_started{false};
  std::atomic<bool> first_returned{false};
  rig_.on_call("SonixCam_Init", [&first_started, &first_returned](const VendorCall&) {
    first_started = true;
    std::this_thread::sleep_for(100ms);
    first_returned = true;
  });
  rig_.on_call("SonixCam_Init", [context](const VendorCall&) { ++context->runs; });

  std::thread writer([this] { EXPECT_TRUE(device_->write_json(R"({"a":1})").ok()); });
  while (!first_started) {
    std::this_thread::yield();
  }
  rig_.clear_call_hooks();
  EXPECT_TRUE(first_returned) << "the clear returned while a hook was still running";
  delete context;
  writer.join();
  EXPECT_TRUE(rig_.violations().empty()) << ::testing::PrintToString(rig_.violations());
}

TEST_F(RigHookThreadsTest, AHookThatClearsTheHooksEndsItsRunWithoutWaitingForItself) {
  int later_runs = 0;
  rig_.on_call("SonixCam_Init", [this](const VendorCall&) { rig_.clear_call_hooks(); });
  rig_.on_call("SonixCam_Init", [&later_runs](const VendorCall&) { ++later_runs; });
  std::thread writer([this] { EXPECT_TRUE(device_->write_json(R"({"a":1})").ok()); });
  writer.join();
  EXPECT_EQ(later_runs, 0) << "a hook cleared before it began still ran";
  ASSERT_TRUE(device_->write_json(R"({"a":2})").ok());
  EXPECT_EQ(later_runs, 0);
}

TEST_F(RigHookThreadsTest, HooksClearedFromAnotherThreadWithNoneRunningNoLongerRun) {
  int runs = 0;
  rig_.on_call("*", [&runs](const VendorCall&) { ++runs; });
  std::thread clearer([this] { rig_.clear_call_hooks(); });
  clearer.join();
  ASSERT_TRUE(device_->write_json(R"({"a":1})").ok());
  EXPECT_EQ(runs, 0);
  EXPECT_TRUE(rig_.violations().empty()) << ::testing::PrintToString(rig_.violations());
}

TEST_F(RigHookThreadsTest, TheSdkCalledFromAHookIsRefusedAndListedAsABrokenRule) {
  ASSERT_TRUE(device_->write_json(R"({"kept":true})").ok());
  std::vector<Status> inner;
  rig_.on_call("SonixCam_CstmReadFromSF", [this, &inner](const VendorCall&) {
    if (inner.empty()) {
      inner.push_back(device_->write_json(R"({"from":"hook"})"));
    }
  });
  const Result<ReadJsonResult> outer = device_->read_json();
  rig_.clear_call_hooks();

  ASSERT_EQ(inner.size(), 1u);
  EXPECT_EQ(inner[0].code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(inner[0].message(), "SonixCam_Init failed: vendor_code=ecLibInitFail(2)");
  ASSERT_TRUE(outer.ok()) << outer.status().message();
  EXPECT_EQ(outer.value().json, R"({"kept":true})") << "the refused call changed the record";
  EXPECT_EQ(rig_.violations(),
            (std::vector<std::string>{"SonixCam_Init called from a hook on SonixCam_CstmReadFromSF: a hook may use the "
                                      "rig, not the SDK or the vendor library",
                                      "SonixCam_GetErrorCode called from a hook on SonixCam_CstmReadFromSF: a hook may "
                                      "use the rig, not the SDK or the vendor library"}));
}

TEST_F(RigHookThreadsTest, AVendorCallFromAHookLeavesTheErrorCodeOfTheCallThatRanIt) {
  rig_.add_fault({"SonixCam_CstmReadFromSF", 1, 1, SonixLib::ecSyncTransTimeOut, false});
  bool refused = false;
  rig_.on_call("SonixCam_GetErrorCode", [&refused](const VendorCall&) {
    if (!refused) {
      refused = true;
      std::uint8_t byte = 0;
      SonixLib::scDevice_t nothing{};
      EXPECT_FALSE(SonixCam_CstmReadFromSF(&nothing, 0x51000, &byte, 1));
    }
  });
  const Result<ReadJsonResult> read = device_->read_json();
  rig_.clear_call_hooks();
  ASSERT_TRUE(refused);
  EXPECT_EQ(read.status().code(), ErrorCode::ReadFailed);
  EXPECT_NE(read.status().message().find("ecSyncTransTimeOut"), std::string::npos) << read.status().message();
  ASSERT_EQ(rig_.violations().size(), 1u);
  EXPECT_EQ(rig_.violations()[0],
            "SonixCam_CstmReadFromSF called from a hook on SonixCam_GetErrorCode: a hook may use the rig, not the SDK "
            "or the vendor library");
}

}  // namespace
}  // namespace tovanel::uvc_stereo::sim
