#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bridge/os/pause.h"
#include "bridge/platform.h"
#include "bridge/vendor_backend_override.h"
#include "device/device_rig_support.h"
#include "flash/flash_rig_support.h"
#include "support/call_views.h"
#include "support/rig_checks.h"
#include "sweeps/fault_sweep.h"
#include "sweeps/sweep_rig.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/flash.h"

// The camera pulled out in the middle of an operation: between two of its vendor calls, during the firmware pause
// of an IMU open, and from another thread while its IMU streams. Every operation fails with its exact status, leaves
// no session open and the lock free, and the camera works again once plugged back.
namespace tovanel::uvc_stereo::sweeps {
namespace {

using device_testing::PauseRecorder;

// Pulls the target out right after the `after`-th call named `call` has returned.
struct UnplugPlan {
  sim::SimulatedRig* rig = nullptr;
  std::string call;
  std::uint32_t after = 0;
  std::uint32_t seen = 0;
};

UnplugPlan& unplug_plan() {
  static UnplugPlan plan;
  return plan;
}

void count_and_maybe_unplug(const char* call) {
  UnplugPlan& plan = unplug_plan();
  if (plan.rig != nullptr && plan.call == call && ++plan.seen == plan.after) {
    plan.rig->unplug(kTarget);
  }
}

bool erase_then_maybe_unplug(SonixLib::scDevice_t* device, std::uint32_t address, std::uint8_t command) {
  const bool erased = vendor_testing::rig_backend().sector_erase(device, address, command);
  count_and_maybe_unplug("SonixCam_SectorEraseSF");
  return erased;
}

bool read_then_maybe_unplug(SonixLib::scDevice_t* device, std::uint32_t address, std::uint8_t* buffer,
                            std::uint32_t length) {
  const bool read = vendor_testing::rig_backend().read_flash(device, address, buffer, length);
  count_and_maybe_unplug("SonixCam_CstmReadFromSF");
  return read;
}

const VendorFailure kDisconnect{7, false};

class Unplug : public ::testing::Test {
 protected:
  void SetUp() override {
    sim::SimulatedCamera target = target_camera(kFreeModelRow);
    target.capability_report = flash_and_imu_report();
    plug_pair(rig_, target);
    override_.table().sector_erase = &erase_then_maybe_unplug;
    override_.table().read_flash = &read_then_maybe_unplug;
    override_.install();
    unplug_plan() = UnplugPlan{};
  }
  void TearDown() override {
    unplug_plan() = UnplugPlan{};
    EXPECT_EQ(rig_.violations(), std::vector<std::string>{});
    EXPECT_EQ(rig_.open_sessions(), 0);
    EXPECT_EQ(test_support::session_balance(rig_.calls()), 0);
    EXPECT_EQ(test_support::calls_without_lock(rig_.calls()), std::vector<std::string>{});
    test_support::expect_vendor_lock_free();
  }

  Device open_target() {
    Result<Device> opened = open_device(scan_target());
    EXPECT_TRUE(opened.ok()) << opened.status().message();
    return std::move(opened).value();
  }

  void unplug_after(const std::string& call, std::uint32_t after) { unplug_plan() = UnplugPlan{&rig_, call, after, 0}; }

  sim::SimulatedRig rig_;
  vendor_testing::BackendOverride override_;
  PauseRecorder pauses_;
};

TEST_F(Unplug, BetweenTheLastEraseAndTheWriteTheWriteFailsAndThePluggedBackCameraIsRestoredByARewrite) {
  Device device = open_target();
  ASSERT_TRUE(device.write_json("{\"generation\":1}").ok());
  const std::string json = json_of_length(6000, 5);  // two sectors
  const test_support::DebugCapture debug;
  unplug_after("SonixCam_SectorEraseSF", 2);

  const Status cut = device.write_json(json);

  const std::string expected = flash_access_message("SonixCam_WriteToSF", kDisconnect, kUserSpace, 16 + json.size());
  EXPECT_EQ(cut.code(), ErrorCode::WriteFailed);
  EXPECT_EQ(cut.message(), expected);
  EXPECT_EQ(debug.texts(), (std::vector<std::string>{expected, "\n"}));
  EXPECT_EQ(rig_.open_sessions(), 0);
  test_support::expect_vendor_lock_free();

  // While it is out, the camera cannot be found by its path.
  const Result<ReadJsonResult> while_out = device.read_json();
  EXPECT_EQ(while_out.status().code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(while_out.status().message(), "preferred device_path not found in current scan");

  rig_.plug(kTarget);
  const Result<ReadJsonResult> erased = device.read_json();
  EXPECT_EQ(erased.status().code(), ErrorCode::BadMagic);
  EXPECT_EQ(erased.status().message(), "flash magic mismatch");
  ASSERT_TRUE(device.write_json(json).ok());
  const Result<ReadJsonResult> restored = device.read_json();
  ASSERT_TRUE(restored.ok()) << restored.status().message();
  EXPECT_EQ(restored.value().json, json);
}

TEST_F(Unplug, BetweenTheHeaderPreviewAndTheWholeRecordTheReadFails) {
  Device device = open_target();
  const std::string json = json_of_length(300, 6);
  ASSERT_TRUE(device.write_json(json).ok());
  unplug_after("SonixCam_CstmReadFromSF", 1);

  const Result<ReadJsonResult> cut = device.read_json();

  EXPECT_EQ(cut.status().code(), ErrorCode::ReadFailed);
  EXPECT_EQ(cut.status().message(),
            flash_access_message("SonixCam_CstmReadFromSF", kDisconnect, kUserSpace, 16 + json.size()));
  rig_.plug(kTarget);
  const Result<ReadJsonResult> again = device.read_json();
  ASSERT_TRUE(again.ok()) << again.status().message();
  EXPECT_EQ(again.value().json, json);
}

TEST_F(Unplug, BeforeTheFlashIsProvenTheOpenFailsWithTheLookupFailure) {
  const DeviceInfo info = scan_target();
  rig_.unplug(kTarget);

  const Result<Device> opened = open_device(info, device_testing::requiring(kTransportFlash));

  EXPECT_EQ(opened.status().code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(opened.status().message(), "preferred device_path not found in current scan");
}

// Pulls a camera out when the SDK pauses: the gated IMU open pauses between its firmware read and its IMU session.
struct PauseUnplug {
  sim::SimulatedRig* rig;
  int camera;
};

void unplug_on_pause(std::chrono::milliseconds /*duration*/, void* context) {
  const auto* unplug = static_cast<const PauseUnplug*>(context);
  unplug->rig->unplug(unplug->camera);
}

// Installs the unplugging pause for its lifetime, so that no later test finds it.
class UnplugOnPause {
 public:
  UnplugOnPause(sim::SimulatedRig& rig, int camera)
      : unplug_{&rig, camera}, hook_{&unplug_on_pause, &unplug_}, installed_(detail::bridge::replacing_pauses(hook_)) {}
  UnplugOnPause(const UnplugOnPause&) = delete;
  UnplugOnPause& operator=(const UnplugOnPause&) = delete;

 private:
  PauseUnplug unplug_;
  const detail::bridge::PauseHook hook_;
  const detail::bridge::PlatformOverride installed_;
};

TEST(UnplugDuringImuOpen, PulledDuringTheFirmwarePauseTheOpenFailsAndLeavesNoReader) {
  sim::SimulatedRig rig;
  plug_pair(rig, target_camera(kGatedModelRow));
  Result<Device> opened = open_device(scan_target());
  ASSERT_TRUE(opened.ok()) << opened.status().message();
  Device device = std::move(opened).value();
  const UnplugOnPause unplug(rig, kTarget);

  const Status status = device.open_imu();

  EXPECT_EQ(status.code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(status.message(), "preferred device_path not found in current scan");
  EXPECT_FALSE(device.has_imu_transport());
  EXPECT_EQ(device.read_imu().status().message(), "IMU is not open");
  EXPECT_EQ(rig.open_sessions(), 0);
  EXPECT_EQ(rig.violations(), std::vector<std::string>{});
  test_support::expect_vendor_lock_free();
}

TEST(UnplugDuringImuOpen, PulledWhenItIsTheOnlyCameraTheLibraryCannotStart) {
  sim::SimulatedRig rig;
  rig.add_camera(target_camera(kGatedModelRow));
  Result<Device> opened = open_device(scan_target());
  ASSERT_TRUE(opened.ok()) << opened.status().message();
  Device device = std::move(opened).value();
  const UnplugOnPause unplug(rig, kTarget);

  const Status status = device.open_imu();

  EXPECT_EQ(status.code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(status.message(), "SonixCam_Init failed: vendor_code=ecNotFindDevice(4)");
  EXPECT_EQ(rig.open_sessions(), 0);
  EXPECT_EQ(rig.violations(), std::vector<std::string>{});
  test_support::expect_vendor_lock_free();
}

TEST(UnplugWhileStreaming, PulledFromAnotherThreadTheStreamFailsAndClosingLeavesNothingOpen) {
  sim::SimulatedRig rig;
  plug_pair(rig, target_camera(kFreeModelRow));
  Result<Device> opened = open_device(scan_target());
  ASSERT_TRUE(opened.ok()) << opened.status().message();
  Device device = std::move(opened).value();
  ASSERT_TRUE(device.open_imu().ok());

  constexpr std::uint32_t kSamplesBeforeUnplug = 200;
  std::atomic<std::uint32_t> samples{0};
  std::vector<std::uint32_t> counters;
  Status first_failure;
  std::thread stream([&] {
    // Reads until the camera is gone; the Device is used by this thread alone until it is joined.
    const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < give_up) {
      const Result<ReadImuResult> sample = device.read_imu();
      if (!sample.ok()) {
        first_failure = sample.status();
        return;
      }
      counters.push_back(sample.value().sample_counter);
      samples.fetch_add(1, std::memory_order_release);
    }
  });
  while (samples.load(std::memory_order_acquire) < kSamplesBeforeUnplug) {
    std::this_thread::yield();
  }
  rig.unplug(kTarget);
  stream.join();

  EXPECT_EQ(first_failure.code(), ErrorCode::PlatformError);
  EXPECT_EQ(first_failure.message(), "SonixCam_XuRead failed: vendor_code=ecDeviceDisconnect(7)");
  ASSERT_GE(counters.size(), kSamplesBeforeUnplug);
  for (std::size_t i = 0; i < counters.size(); ++i) {
    EXPECT_EQ(counters[i], i) << "samples before the unplug were lost or repeated";
  }
  EXPECT_EQ(device.read_imu().status().message(), "SonixCam_XuRead failed: vendor_code=ecDeviceDisconnect(7)");
  EXPECT_EQ(rig.open_sessions(), 1) << "the reader keeps its session until it is closed";

  EXPECT_TRUE(device.close_imu().ok());
  EXPECT_EQ(rig.open_sessions(), 0);
  test_support::expect_vendor_lock_free();
  const Status while_out = device.open_imu();
  EXPECT_EQ(while_out.code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(while_out.message(), "preferred device_path not found in current scan");

  rig.plug(kTarget);
  ASSERT_TRUE(device.open_imu().ok());
  const Result<ReadImuResult> back = device.read_imu();
  ASSERT_TRUE(back.ok()) << back.status().message();
  EXPECT_EQ(back.value().sample_counter, counters.size()) << "the IMU carries on where it stopped";
  EXPECT_TRUE(device.close_imu().ok());
  EXPECT_EQ(rig.open_sessions(), 0);
  EXPECT_EQ(rig.violations(), std::vector<std::string>{});
  EXPECT_EQ(test_support::session_balance(rig.calls()), 0);
  test_support::expect_vendor_lock_free();
}

}  // namespace
}  // namespace tovanel::uvc_stereo::sweeps
