#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "device/device_rig_support.h"
#include "flash/flash_rig_support.h"
#include "sweeps/fault_sweep.h"
#include "sweeps/sweep_rig.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/flash.h"

// Every vendor call of scanning, opening a device and its JSON record operations, failed in turn with each vendor code.
namespace tovanel::uvc_stereo::sweeps {
namespace {

using device_testing::ms;
using device_testing::PauseRecorder;
using device_testing::requiring;
using test_support::args;
using test_support::folded_call_names;

bool same_device(const DeviceInfo& a, const DeviceInfo& b) {
  return a.vendor_id == b.vendor_id && a.product_id == b.product_id && a.aux_flag_a == b.aux_flag_a &&
         a.aux_flag_b == b.aux_flag_b && a.serial_number == b.serial_number && a.descriptor_text == b.descriptor_text &&
         a.friendly_name == b.friendly_name && a.extra_text == b.extra_text && a.device_path == b.device_path &&
         a.backend_indices == b.backend_indices;
}

std::string describe_device(const DeviceInfo& info) {
  return info.serial_number + " / " + info.descriptor_text + " / " + info.friendly_name + " / " + info.device_path +
         " / " + std::to_string(info.backend_indices.size()) + " backend indices";
}

void expect_same_devices(const std::vector<DeviceInfo>& got, const std::vector<DeviceInfo>& want) {
  ASSERT_EQ(got.size(), want.size());
  for (std::size_t i = 0; i < got.size(); ++i) {
    EXPECT_TRUE(same_device(got[i], want[i])) << describe_device(got[i]) << "\n  expected " << describe_device(want[i]);
  }
}

// A scan of the target and the other camera, each capture backend listing the target.
class ScanScenario : public Scenario {
 public:
  std::string name() const override { return "scan_devices"; }
  void plug(sim::SimulatedRig& rig) override {
    plug_pair(rig, target_camera(kGatedModelRow));
    const std::vector<sim::SimulatedCaptureDevice> listing = {
        {"Tovanel Stereo Camera", target_camera(kGatedModelRow).device_path}};
    rig.set_capture_devices(OpenCvBackend::Msmf, listing);
    rig.set_capture_devices(OpenCvBackend::Dshow, listing);
  }
  Status run() override {
    result_.emplace(scan_devices());
    return result_->status();
  }

  Expectation expect(const FailurePoint* point, const VendorFailure& failure) override {
    if (point != nullptr && point->call.name == "SonixCam_Init" && !(failure.code == 4 && !failure.query_fails)) {
      return {Status(ErrorCode::PlatformError, vendor_message(point->call.name, failure)), 0};
    }
    return {Status(), 0};
  }

  void check_healthy_calls(const std::vector<sim::VendorCall>& calls) override {
    EXPECT_EQ(folded_call_names(calls), (std::vector<std::string>{"SonixCam_Init", "<lookup>", "SonixCam_UnInit"}));
  }

  void check_after(sim::SimulatedRig& /*rig*/, const FailurePoint* point, const VendorFailure& failure) override {
    if (!result_->ok()) {
      return;
    }
    if (point == nullptr) {
      healthy_ = result_->value();
      ASSERT_EQ(healthy_.size(), 2u);
      EXPECT_EQ(healthy_[0].serial_number, kTargetSerial);
      EXPECT_EQ(healthy_[0].descriptor_text, "Tovanel");
      EXPECT_EQ(healthy_[0].friendly_name, "Tovanel Stereo Camera");
      EXPECT_EQ(healthy_[0].backend_indices,
                (std::map<OpenCvBackend, int>{{OpenCvBackend::Msmf, 0}, {OpenCvBackend::Dshow, 0}}));
      EXPECT_EQ(healthy_[1].serial_number, kOtherSerial);
      return;
    }
    expect_same_devices(result_->value(), expected_list(*point, failure));
  }
  void release() override { result_.reset(); }

 private:
  // The healthy list as this failure changes it.
  std::vector<DeviceInfo> expected_list(const FailurePoint& point, const VendorFailure& failure) const {
    const std::string& name = point.call.name;
    if (name == "SonixCam_EnumCameras" || (name == "SonixCam_Init" && failure.code == 4)) {
      return {};  // no camera attached, as far as the library can tell
    }
    std::vector<DeviceInfo> list = healthy_;
    if (name != "SonixCam_GetDevDescriptor" || point.call.camera < 0 || point.call.args.empty()) {
      return list;
    }
    DeviceInfo& device = list.at(static_cast<std::size_t>(point.call.camera));
    switch (point.call.args[0]) {
      case 2:  // the library's device name stands in for the product string
        device.friendly_name = point.call.camera == kTarget ? "USB Video Device" : "Tovanel Stereo Camera";
        break;
      case 3:
        device.descriptor_text.clear();
        break;
      case 4:
        device.serial_number.clear();
        break;
      default:  // the ids are read from the device path instead
        break;
    }
    return list;
  }

  std::optional<Result<std::vector<DeviceInfo>>> result_;
  std::vector<DeviceInfo> healthy_;
};

// The target reports its flash and IMU and holds a small record.
class OpenDeviceScenario : public Scenario {
 public:
  explicit OpenDeviceScenario(std::uint32_t required) : required_(required) {}
  std::string name() const override { return "open_device requiring " + std::to_string(required_); }
  void plug(sim::SimulatedRig& rig) override {
    sim::SimulatedCamera target = target_camera(kGatedModelRow);
    target.capability_report = flash_and_imu_report();
    plug_pair(rig, target);
    rig.set_flash(kTarget, kUserSpace, record_);
  }
  void prepare(sim::SimulatedRig& /*rig*/) override {
    info_ = scan_target();
    pauses_.emplace();
  }
  Status run() override {
    result_.emplace(open_device(info_, requiring(required_)));
    return result_->status();
  }

  Expectation expect(const FailurePoint* point, const VendorFailure& failure) override {
    if (point == nullptr) {
      return {Status(), 0};
    }
    if (point->session == 0) {
      // The capability probe: whatever fails there only selects the fallback.
      return {probe_failure_selects_fallback(*point) || session_rule(*point, failure, Selection::ByPath).applies
                  ? Status()
                  : unknown_call(*point),
              0};
    }
    if (point->call.name == "SonixCam_CstmReadFromSF") {
      const std::uint64_t length = required_ == kTransportFlash ? 1 : (point->occurrence == 1 ? 16 : record_.size());
      return {Status(ErrorCode::ReadFailed, flash_access_message(point->call.name, failure, kUserSpace, length)), 0};
    }
    const SessionRule rule = session_rule(*point, failure, Selection::ByPath);
    return {rule.applies ? rule.fails.value_or(Status()) : unknown_call(*point), 0};
  }

  void check_healthy_calls(const std::vector<sim::VendorCall>& calls) override {
    std::vector<std::string> expected = {"SonixCam_Init", "<lookup>", "SonixCam_SetNodeID", "SonixCam_XuRead",
                                         "SonixCam_UnInit"};
    if (required_ == kTransportFlash) {
      expected.insert(expected.end(), {"SonixCam_Init", "<lookup>", "SonixCam_GetSerialFlashType",
                                       "SonixCam_CstmReadFromSF", "SonixCam_UnInit"});
    } else if (required_ == kTransportFlashJson) {
      expected.insert(expected.end(), {"SonixCam_Init", "<lookup>", "SonixCam_GetSerialFlashType",
                                       "SonixCam_CstmReadFromSF", "SonixCam_CstmReadFromSF", "SonixCam_UnInit"});
    }
    EXPECT_EQ(folded_call_names(calls), expected);
    EXPECT_EQ(test_support::calls_named(calls, "SonixCam_XuRead").at(0).args, args({64, 11, 4}));
    EXPECT_EQ(test_support::calls_named(calls, "SonixCam_SetNodeID").at(0).args, args({4}));
  }

  void check_after(sim::SimulatedRig& /*rig*/, const FailurePoint* point, const VendorFailure& /*failure*/) override {
    const bool json_read = result_->ok() && required_ == kTransportFlashJson;
    EXPECT_EQ(pauses_->durations(), json_read ? ms({100}) : ms({}));
    if (!result_->ok()) {
      return;
    }
    const Device& device = result_->value();
    const bool fallback = point != nullptr && point->session == 0 && probe_failure_selects_fallback(*point);
    EXPECT_EQ(device.capability_info().source, fallback ? CapabilitySource::Fallback : CapabilitySource::Reported);
    EXPECT_EQ(device.capability_info().message, fallback ? "Capability reporting is not supported on this device" : "");
    EXPECT_EQ(device.flash_config().user_space_address, kUserSpace);
    EXPECT_EQ(device.flash_config().user_space_size, fallback ? 4096u : 0x10000u);
    const std::uint32_t flags = required_ == kTransportFlashJson ? 5u : required_;
    EXPECT_EQ(device.transport_flags(), flags);
  }
  void release() override {
    result_.reset();
    pauses_.reset();
  }

 private:
  // Calls of the probe whose failure leaves no report; the others (the texts of the lookup, UnInit) change nothing.
  static bool probe_failure_selects_fallback(const FailurePoint& point) {
    const std::string& name = point.call.name;
    return name == "SonixCam_Init" || name == "SonixCam_EnumCameras" || name == "SonixCam_SetNodeID" ||
           name == "SonixCam_XuRead";
  }

  std::uint32_t required_;
  std::vector<std::uint8_t> record_ = test_support::text_record("{ \"exposure\" : [1, 2, 3] }");
  DeviceInfo info_;
  std::optional<PauseRecorder> pauses_;
  std::optional<Result<Device>> result_;
};

// The pieces of the JSON scenarios: the target opened before the operation, pauses recorded.
class DeviceJsonScenario : public Scenario {
 public:
  void prepare(sim::SimulatedRig& /*rig*/) override {
    const DeviceInfo info = scan_target();
    Result<Device> opened = open_device(info);
    ASSERT_TRUE(opened.ok()) << opened.status().message();
    device_.emplace(std::move(opened).value());
    pauses_.emplace();
  }
  void release() override {
    device_.reset();
    pauses_.reset();
  }

 protected:
  std::optional<Device> device_;
  std::optional<PauseRecorder> pauses_;
};

// A camera without capability reporting (one 4 KiB sector of user space) holding a record of format version 7.
class ReadJsonScenario : public DeviceJsonScenario {
 public:
  std::string name() const override { return "Device::read_json"; }
  void plug(sim::SimulatedRig& rig) override {
    plug_pair(rig, target_camera(kFreeModelRow));
    rig.set_flash(kTarget, kUserSpace, record_);
  }
  Status run() override {
    result_.emplace(device_->read_json());
    return result_->status();
  }

  Expectation expect(const FailurePoint* point, const VendorFailure& failure) override {
    if (point == nullptr) {
      return {Status(), 0};
    }
    if (point->call.name == "SonixCam_CstmReadFromSF") {
      const std::uint64_t length = point->occurrence == 1 ? 16 : record_.size();
      return {Status(ErrorCode::ReadFailed, flash_access_message(point->call.name, failure, kUserSpace, length)), 0};
    }
    const SessionRule rule = session_rule(*point, failure, Selection::ByPath);
    return {rule.applies ? rule.fails.value_or(Status()) : unknown_call(*point), 0};
  }

  void check_healthy_calls(const std::vector<sim::VendorCall>& calls) override {
    EXPECT_EQ(folded_call_names(calls),
              (std::vector<std::string>{"SonixCam_Init", "<lookup>", "SonixCam_GetSerialFlashType",
                                        "SonixCam_CstmReadFromSF", "SonixCam_CstmReadFromSF", "SonixCam_UnInit"}));
  }

  void check_after(sim::SimulatedRig& /*rig*/, const FailurePoint* /*point*/, const VendorFailure& /*f*/) override {
    EXPECT_EQ(pauses_->durations(), result_->ok() ? ms({100}) : ms({}));
    if (result_->ok()) {
      EXPECT_EQ(result_->value().json, "{\"gain\":[1,2.5,-3],\"name\":\"left eye\"}");
      EXPECT_EQ(result_->value().format_version, 7);
    }
  }
  void release() override {
    result_.reset();
    DeviceJsonScenario::release();
  }

 private:
  std::vector<std::uint8_t> record_ =
      test_support::text_record("{ \"gain\" : [ 1, 2.5, -3 ],\n  \"name\" : \"left eye\" }", 7);
  std::optional<Result<ReadJsonResult>> result_;
};

// A camera reporting 64 KiB of user space; the new record spans two sectors.
class WriteJsonScenario : public DeviceJsonScenario {
 public:
  std::string name() const override { return "Device::write_json"; }
  void plug(sim::SimulatedRig& rig) override {
    sim::SimulatedCamera target = target_camera(kGatedModelRow);
    target.capability_report = flash_and_imu_report();
    plug_pair(rig, target);
    rig.set_flash(kTarget, kUserSpace, test_support::text_record(old_json_));
  }
  Status run() override { return device_->write_json(new_json_); }

  Expectation expect(const FailurePoint* point, const VendorFailure& failure) override {
    if (point == nullptr) {
      return {Status(), 0};
    }
    if (std::optional<Status> flash = flash_write_failure(*point, failure, record_size())) {
      return {*flash, 0};
    }
    const SessionRule rule = session_rule(*point, failure, Selection::ByPath);
    return {rule.applies ? rule.fails.value_or(Status()) : unknown_call(*point), 0};
  }

  void check_healthy_calls(const std::vector<sim::VendorCall>& calls) override {
    EXPECT_EQ(folded_call_names(calls),
              (std::vector<std::string>{"SonixCam_Init", "<lookup>", "SonixCam_GetSerialFlashType",
                                        "SonixCam_SetStatusRegBitWP", "SonixCam_SetWriteProtectedSF",
                                        "SonixCam_SectorEraseSF", "SonixCam_SectorEraseSF", "SonixCam_WriteToSF",
                                        "SonixCam_CstmReadFromSF", "SonixCam_UnInit"}));
  }

  void check_after(sim::SimulatedRig& /*rig*/, const FailurePoint* point, const VendorFailure& failure) override {
    const bool written = point == nullptr || expect(point, failure).status.ok();
    EXPECT_EQ(pauses_->durations(), written ? ms({100}) : ms({}));
    // The record now is the old one, the new one, or a clear failure.
    const Result<FlashBlob> now = read_blob_from_device(device_->flash_config());
    const std::string& name = point == nullptr ? std::string() : point->call.name;
    const bool erased = (name == "SonixCam_SectorEraseSF" && point->occurrence > 1) || name == "SonixCam_WriteToSF";
    if (written || name == "SonixCam_CstmReadFromSF") {
      ASSERT_TRUE(now.ok()) << now.status().message();
      EXPECT_TRUE(now.value().payload == device_testing::bytes_of(new_json_)) << "not the new record";
    } else if (erased) {
      EXPECT_EQ(now.status().code(), ErrorCode::BadMagic);
      EXPECT_EQ(now.status().message(), "flash magic mismatch");
    } else {
      ASSERT_TRUE(now.ok()) << now.status().message();
      EXPECT_TRUE(now.value().payload == device_testing::bytes_of(old_json_)) << "not the old record";
    }
  }

 private:
  std::uint64_t record_size() const { return 16 + new_json_.size(); }

  std::string old_json_ = "{\"baseline_mm\":60}";
  std::string new_json_ = json_of_length(5000, 3);
};

TEST(DeviceSweep, ScanReportsEveryVendorFailureAndClosesTheSession) {
  ScanScenario scenario;
  sweep(scenario);
}

TEST(DeviceSweep, OpenWithoutRequirementsFallsBackOnEveryProbeFailure) {
  OpenDeviceScenario scenario(0);
  sweep(scenario);
}

TEST(DeviceSweep, OpenRequiringTheFlashTransportReportsEveryVendorFailure) {
  OpenDeviceScenario scenario(kTransportFlash);
  sweep(scenario);
}

TEST(DeviceSweep, OpenRequiringTheJsonRecordReportsEveryVendorFailure) {
  OpenDeviceScenario scenario(kTransportFlashJson);
  sweep(scenario);
}

TEST(DeviceSweep, ReadJsonReportsEveryVendorFailureAndPausesOnlyAfterSuccess) {
  ReadJsonScenario scenario;
  sweep(scenario);
}

TEST(DeviceSweep, WriteJsonReportsEveryVendorFailureAndLeavesTheOldTheNewOrNoRecord) {
  WriteJsonScenario scenario;
  sweep(scenario);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::sweeps
