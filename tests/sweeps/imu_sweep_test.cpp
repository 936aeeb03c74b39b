#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bridge/capability_probe.h"
#include "device/device_rig_support.h"
#include "flash/flash_rig_support.h"
#include "support/call_views.h"
#include "support/rig_checks.h"
#include "sweeps/fault_sweep.h"
#include "sweeps/sweep_rig.h"
#include "uvc_stereo/device.h"

// Every vendor call of the IMU operations and of the capability probe, failed in turn with each vendor code.
namespace tovanel::uvc_stereo::sweeps {
namespace {

using device_testing::PauseRecorder;
using test_support::args;
using test_support::folded_call_names;

// The target opened (without capability reporting, so with the default IMU transport) before the operation.
class ImuScenario : public Scenario {
 public:
  explicit ImuScenario(std::size_t model_row) : model_row_(model_row) {}
  void plug(sim::SimulatedRig& rig) override { plug_pair(rig, target_camera(model_row_)); }
  void prepare(sim::SimulatedRig& rig) override {
    const DeviceInfo info = scan_target();
    Result<Device> opened = open_device(info);
    ASSERT_TRUE(opened.ok()) << opened.status().message();
    device_.emplace(std::move(opened).value());
    pauses_.emplace(&rig);
  }
  void release() override {
    device_.reset();
    pauses_.reset();
  }

 protected:
  // Opens the IMU as part of the preparation.
  void open_imu_first() {
    const Status opened = device_->open_imu();
    ASSERT_TRUE(opened.ok()) << opened.message();
    pauses_->clear();
  }

  std::size_t model_row_;
  std::optional<Device> device_;
  std::optional<PauseRecorder> pauses_;
};

class OpenImuScenario : public ImuScenario {
 public:
  using ImuScenario::ImuScenario;
  std::string name() const override { return gated() ? "Device::open_imu, gated model" : "Device::open_imu"; }
  Status run() override { return device_->open_imu(); }

  Expectation expect(const FailurePoint* point, const VendorFailure& failure) override {
    const Status status = expected_status(point, failure);
    return {status, status.ok() ? 1 : 0};
  }

  void check_healthy_calls(const std::vector<sim::VendorCall>& calls) override {
    std::vector<std::string> expected;
    if (gated()) {
      expected = {"SonixCam_Init", "<lookup>", "SonixCam_GetSerialFlashType", "SonixCam_GetVersion", "SonixCam_UnInit"};
    }
    expected.insert(expected.end(), {"SonixCam_Init", "<lookup>", "SonixCam_SetNodeID"});
    EXPECT_EQ(folded_call_names(calls), expected);
    EXPECT_EQ(test_support::calls_named(calls, "SonixCam_SetNodeID").at(0).args, args({4}));
  }

  void check_after(sim::SimulatedRig& rig, const FailurePoint* /*point*/, const VendorFailure& /*f*/) override {
    const std::vector<RecordedPause> pauses = pauses_->pauses();
    if (!gated()) {
      EXPECT_TRUE(pauses.empty());
    } else if (pauses.size() != 1) {
      ADD_FAILURE() << "the gated model pauses once, after the firmware read; paused " << pauses.size() << " times";
    } else {
      // The pause comes after the firmware session has ended, and before the IMU session begins.
      EXPECT_EQ(pauses[0].duration, std::chrono::milliseconds(200));
      const std::vector<sim::VendorCall> calls = rig.calls();
      ASSERT_LT(pauses[0].calls_before, calls.size());
      const std::vector<sim::VendorCall> before(calls.begin(),
                                                calls.begin() + static_cast<std::ptrdiff_t>(pauses[0].calls_before));
      EXPECT_EQ(test_support::session_balance(before), 0);
      EXPECT_EQ(test_support::count_calls(before, "SonixCam_SetNodeID"), 0u);
      EXPECT_EQ(calls[pauses[0].calls_before].name, "SonixCam_Init");
    }
    const bool open = device_->has_imu_transport();
    const Result<ReadImuResult> sample = device_->read_imu();
    if (open) {
      EXPECT_TRUE(sample.ok()) << sample.status().message();
    } else {
      EXPECT_EQ(sample.status().code(), ErrorCode::InvalidArgument);
      EXPECT_EQ(sample.status().message(), "IMU is not open");
    }
  }

 private:
  using RecordedPause = device_testing::RecordedPause;

  bool gated() const { return model_row_ == kGatedModelRow; }

  Status expected_status(const FailurePoint* point, const VendorFailure& failure) const {
    if (point == nullptr) {
      return Status();
    }
    if (gated() && point->session == 0) {
      // A version that cannot be read does not stop a model whose only rule is a disabling build.
      const bool firmware_call = point->call.name == "SonixCam_GetVersion";
      return firmware_call || session_rule(*point, failure, Selection::ByPath).applies ? Status()
                                                                                       : unknown_call(*point);
    }
    if (point->call.name == "SonixCam_SetNodeID") {
      return Status(ErrorCode::PlatformError, vendor_message(point->call.name, failure));
    }
    const SessionRule rule = session_rule(*point, failure, Selection::ByPath);
    return rule.applies ? rule.fails.value_or(Status()) : unknown_call(*point);
  }
};

class ReadImuScenario : public ImuScenario {
 public:
  ReadImuScenario() : ImuScenario(kFreeModelRow) {}
  std::string name() const override { return "Device::read_imu"; }
  void prepare(sim::SimulatedRig& rig) override {
    ImuScenario::prepare(rig);
    open_imu_first();
  }
  Status run() override {
    result_.emplace(device_->read_imu());
    return result_->status();
  }

  Expectation expect(const FailurePoint* point, const VendorFailure& failure) override {
    if (point == nullptr) {
      return {Status(), 1};
    }
    if (point->call.name == "SonixCam_XuRead") {
      return {Status(ErrorCode::PlatformError, vendor_message(point->call.name, failure)), 1};
    }
    return {unknown_call(*point), 1};
  }

  void check_healthy_calls(const std::vector<sim::VendorCall>& calls) override {
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].name, "SonixCam_XuRead");
    EXPECT_EQ(calls[0].args, args({17, 10, 4}));
  }

  void check_after(sim::SimulatedRig& /*rig*/, const FailurePoint* point, const VendorFailure& /*f*/) override {
    // A failed read takes no sample, and the reader goes on reading.
    const Result<ReadImuResult> next = device_->read_imu();
    ASSERT_TRUE(next.ok()) << next.status().message();
    EXPECT_EQ(next.value().sample_counter, point == nullptr ? 1u : 0u);
    if (result_->ok()) {
      EXPECT_EQ(result_->value().sample_counter, 0u);
    }
  }
  void release() override {
    result_.reset();
    ImuScenario::release();
  }

 private:
  std::optional<Result<ReadImuResult>> result_;
};

class CloseImuScenario : public ImuScenario {
 public:
  CloseImuScenario() : ImuScenario(kFreeModelRow) {}
  std::string name() const override { return "Device::close_imu"; }
  void prepare(sim::SimulatedRig& rig) override {
    ImuScenario::prepare(rig);
    open_imu_first();
  }
  Status run() override { return device_->close_imu(); }

  Expectation expect(const FailurePoint* point, const VendorFailure& /*failure*/) override {
    // Closing cannot fail: the reader is gone whatever the library says about its session.
    return {point == nullptr || point->call.name == "SonixCam_UnInit" ? Status() : unknown_call(*point), 0};
  }

  void check_healthy_calls(const std::vector<sim::VendorCall>& calls) override {
    EXPECT_EQ(folded_call_names(calls), std::vector<std::string>{"SonixCam_UnInit"});
  }

  void check_after(sim::SimulatedRig& /*rig*/, const FailurePoint* /*point*/, const VendorFailure& /*f*/) override {
    const Result<ReadImuResult> sample = device_->read_imu();
    EXPECT_EQ(sample.status().code(), ErrorCode::InvalidArgument);
    EXPECT_EQ(sample.status().message(), "IMU is not open");
    EXPECT_TRUE(device_->has_imu_transport());
  }
};

class DestroyDeviceScenario : public ImuScenario {
 public:
  DestroyDeviceScenario() : ImuScenario(kFreeModelRow) {}
  std::string name() const override { return "destroying a Device with its IMU open"; }
  void prepare(sim::SimulatedRig& rig) override {
    ImuScenario::prepare(rig);
    open_imu_first();
  }
  Status run() override {
    device_.reset();
    return Status();
  }
  Expectation expect(const FailurePoint* point, const VendorFailure& /*failure*/) override {
    return {point == nullptr || point->call.name == "SonixCam_UnInit" ? Status() : unknown_call(*point), 0};
  }
  void check_healthy_calls(const std::vector<sim::VendorCall>& calls) override {
    EXPECT_EQ(folded_call_names(calls), std::vector<std::string>{"SonixCam_UnInit"});
  }
};

// The internal probe on its own: its failures come back in the result, with the fallback selected.
class CapabilityProbeScenario : public Scenario {
 public:
  std::string name() const override { return "probe_xu_capability"; }
  void plug(sim::SimulatedRig& rig) override {
    sim::SimulatedCamera target = target_camera(kFreeModelRow);
    target.capability_report = flash_and_imu_report();
    plug_pair(rig, target);
  }
  void prepare(sim::SimulatedRig& /*rig*/) override { info_ = scan_target(); }
  Status run() override {
    result_.emplace(detail::probe_xu_capability(info_));
    return result_->status;
  }

  Expectation expect(const FailurePoint* point, const VendorFailure& failure) override {
    if (point == nullptr) {
      return {Status(), 0};
    }
    const std::string& name = point->call.name;
    if (name == "SonixCam_SetNodeID" || name == "SonixCam_XuRead") {
      return {Status(ErrorCode::PlatformError, vendor_message(name, failure)), 0};
    }
    const SessionRule rule = session_rule(*point, failure, Selection::ByPath);
    return {rule.applies ? rule.fails.value_or(Status()) : unknown_call(*point), 0};
  }

  void check_healthy_calls(const std::vector<sim::VendorCall>& calls) override {
    EXPECT_EQ(folded_call_names(calls), (std::vector<std::string>{"SonixCam_Init", "<lookup>", "SonixCam_SetNodeID",
                                                                  "SonixCam_XuRead", "SonixCam_UnInit"}));
  }

  void check_after(sim::SimulatedRig& /*rig*/, const FailurePoint* /*point*/, const VendorFailure& /*f*/) override {
    const bool ok = result_->status.ok();
    EXPECT_EQ(result_->legacy_fallback, !ok);
    EXPECT_EQ(result_->report.has_value(), ok);
    if (result_->report.has_value()) {
      EXPECT_EQ(result_->report->capability_bits, kCapabilityFlashUserSpace | kCapabilityImu);
    }
  }
  void release() override { result_.reset(); }

 private:
  DeviceInfo info_;
  std::optional<detail::XuCapabilityProbeResult> result_;
};

TEST(ImuSweep, OpenOnAGatedModelIgnoresFirmwareReadFailuresAndReportsOpenFailures) {
  OpenImuScenario scenario(kGatedModelRow);
  sweep(scenario);
}

TEST(ImuSweep, OpenOnAnUngatedModelReportsEveryVendorFailure) {
  OpenImuScenario scenario(kFreeModelRow);
  sweep(scenario);
}

TEST(ImuSweep, ReadReportsAFailedTransferAndKeepsTheReaderOpen) {
  ReadImuScenario scenario;
  sweep(scenario);
}

TEST(ImuSweep, CloseEndsTheSessionWhateverTheLibraryAnswers) {
  CloseImuScenario scenario;
  sweep(scenario);
}

TEST(ImuSweep, DestroyingTheDeviceEndsTheSessionWhateverTheLibraryAnswers) {
  DestroyDeviceScenario scenario;
  sweep(scenario);
}

TEST(CapabilityProbeSweep, ReportsEveryVendorFailureInTheResultAndClosesTheSession) {
  CapabilityProbeScenario scenario;
  sweep(scenario);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::sweeps
