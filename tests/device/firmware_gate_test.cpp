#include "device/firmware_gate.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "bridge/device_selector.h"
#include "device/device_rig_support.h"
#include "imu/firmware_gate.h"
#include "imu/model_table.h"
#include "uvc_stereo/device.h"

namespace tovanel::uvc_stereo {
namespace {

using device_testing::count_calls;
using device_testing::DeviceRigTest;
using device_testing::ms;
using device_testing::supported_camera;

constexpr char kNotSupported[] = "IMU is not supported on this device";

// Row indices of the model table: the first two carry a disabling firmware build, the third no rule at all.
constexpr std::size_t kRowOne = 0;
constexpr std::size_t kRowTwo = 1;
constexpr std::size_t kRowThree = 2;

class FirmwareGate : public DeviceRigTest {
 protected:
  // Plugs in a camera of `row` with `firmware` and asks the gate about it, from a clean call log.
  Status gate(std::size_t row, const std::string& firmware) {
    sim::SimulatedCamera camera = supported_camera(row, "SN-GATE-" + std::to_string(row));
    camera.firmware_version = firmware;
    info_ = plug_and_scan(camera);
    rig_.clear_calls();
    pauses_.clear();
    return detail::ensure_imu_supported_by_firmware(info_, detail::bridge::make_device_selector_config(info_));
  }

  DeviceInfo info_;
};

TEST_F(FirmwareGate, TheModelTableCarriesTheDisablingBuildsOfRowsOneAndTwoOnly) {
  const auto& models = detail::supported_models();
  EXPECT_EQ(models[kRowOne].disabling_version, "260416");
  EXPECT_EQ(models[kRowTwo].disabling_version, "260408");
  EXPECT_TRUE(models[kRowThree].disabling_version.empty());
  EXPECT_TRUE(models[kRowThree].required_version.empty());
}

TEST_F(FirmwareGate, RowThreePassesWithoutAnyVendorCallOrPause) {
  const Status status = gate(kRowThree, "V260416-b");
  EXPECT_TRUE(status.ok()) << status.message();
  EXPECT_TRUE(rig_.calls().empty());
  EXPECT_TRUE(pauses_.pauses().empty());
}

TEST_F(FirmwareGate, DeviceOutsideTheTablePassesWithoutAccess) {
  DeviceInfo stranger;
  stranger.vendor_id = 0x1234;
  stranger.product_id = 0x5678;
  stranger.serial_number = "SN-STRANGER";
  ASSERT_EQ(detail::find_supported_model(0x1234, 0x5678), nullptr);
  const Status status =
      detail::ensure_imu_supported_by_firmware(stranger, detail::bridge::make_device_selector_config(stranger));
  EXPECT_TRUE(status.ok()) << status.message();
  EXPECT_TRUE(rig_.calls().empty());
  EXPECT_TRUE(pauses_.pauses().empty());
}

TEST_F(FirmwareGate, RowOneRefusesFirmwareContainingItsDisablingBuild) {
  const Status status = gate(kRowOne, "V260416-b");
  EXPECT_EQ(status.code(), ErrorCode::NotSupported);
  EXPECT_EQ(status.message(), kNotSupported);
  EXPECT_EQ(count_calls(rig_.calls(), "SonixCam_GetVersion"), 1u);
  EXPECT_EQ(pauses_.durations(), ms({200}));
}

TEST_F(FirmwareGate, RowOneAllowsTheNeighbouringBuild) {
  const Status status = gate(kRowOne, "260415");
  EXPECT_TRUE(status.ok()) << status.message();
  EXPECT_EQ(count_calls(rig_.calls(), "SonixCam_GetVersion"), 1u);
  EXPECT_EQ(pauses_.durations(), ms({200}));
}

TEST_F(FirmwareGate, RowOneAllowsTheImuWhenTheVersionCannotBeRead) {
  sim::SimulatedCamera camera = supported_camera(kRowOne, "SN-GATE-FAULT");
  camera.firmware_version = "V260416-b";
  info_ = plug_and_scan(camera);
  rig_.clear_calls();
  pauses_.clear();
  sim::VendorFault fault;
  fault.call = "SonixCam_GetVersion";
  fault.vendor_code = 17;
  rig_.add_fault(fault);

  const Status status =
      detail::ensure_imu_supported_by_firmware(info_, detail::bridge::make_device_selector_config(info_));
  EXPECT_TRUE(status.ok()) << status.message();
  const auto versions = device_testing::calls_named(rig_.calls(), "SonixCam_GetVersion");
  ASSERT_EQ(versions.size(), 1u);
  EXPECT_FALSE(versions[0].succeeded);
  EXPECT_EQ(pauses_.durations(), ms({200}));
}

TEST_F(FirmwareGate, RowTwoRefusesItsDisablingBuildAnywhereInTheText) {
  const Status status = gate(kRowTwo, "fw-260408.3");
  EXPECT_EQ(status.code(), ErrorCode::NotSupported);
  EXPECT_EQ(status.message(), kNotSupported);
  EXPECT_EQ(pauses_.durations(), ms({200}));
}

TEST_F(FirmwareGate, RowTwoAllowsOtherBuildsAndRowOnesDisablingBuild) {
  const Status status = gate(kRowTwo, "V260416-b");
  EXPECT_TRUE(status.ok()) << status.message();
  EXPECT_EQ(pauses_.durations(), ms({200}));
}

TEST_F(FirmwareGate, RowTwoAllowsTheImuWhenTheFirmwareAnswersAnEmptyVersion) {
  // An empty version text is a failed read, which a model with only a disabling build lets through.
  const Status status = gate(kRowTwo, "");
  EXPECT_TRUE(status.ok()) << status.message();
  EXPECT_EQ(count_calls(rig_.calls(), "SonixCam_GetVersion"), 1u);
  EXPECT_EQ(pauses_.durations(), ms({200}));
}

TEST_F(FirmwareGate, RowTwoAllowsTheImuWhenTheCameraIsGone) {
  sim::SimulatedCamera camera = supported_camera(kRowTwo, "SN-GATE-GONE");
  camera.firmware_version = "260408";
  info_ = plug_and_scan(camera);
  rig_.unplug(0);
  rig_.clear_calls();
  pauses_.clear();
  const Status status =
      detail::ensure_imu_supported_by_firmware(info_, detail::bridge::make_device_selector_config(info_));
  EXPECT_TRUE(status.ok()) << status.message();
  EXPECT_EQ(count_calls(rig_.calls(), "SonixCam_GetVersion"), 0u);
  EXPECT_EQ(pauses_.durations(), ms({200}));
}

TEST_F(FirmwareGate, PausesOnlyAfterTheVersionReadHasEnded) {
  ASSERT_TRUE(gate(kRowOne, "260415").ok());
  const auto pauses = pauses_.pauses();
  ASSERT_EQ(pauses.size(), 1u);
  const auto calls = rig_.calls();
  // The read's whole session, UnInit included, lies before the pause.
  EXPECT_EQ(pauses[0].calls_before, calls.size());
  ASSERT_FALSE(calls.empty());
  EXPECT_EQ(calls.back().name, "SonixCam_UnInit");
}

TEST_F(FirmwareGate, AsksTheCameraThatTheConfigSelects) {
  sim::SimulatedCamera other = supported_camera(kRowOne, "SN-GATE-OTHER");
  other.firmware_version = "260415";
  rig_.add_camera(other);
  sim::SimulatedCamera disabled = supported_camera(kRowOne, "SN-GATE-DISABLED");
  disabled.firmware_version = "V260416-b";
  const DeviceInfo info = plug_and_scan(disabled);
  rig_.clear_calls();
  const Status status =
      detail::ensure_imu_supported_by_firmware(info, detail::bridge::make_device_selector_config(info));
  EXPECT_EQ(status.code(), ErrorCode::NotSupported);
  const auto versions = device_testing::calls_named(rig_.calls(), "SonixCam_GetVersion");
  ASSERT_EQ(versions.size(), 1u);
  EXPECT_EQ(versions[0].camera, 1);
}

TEST(FirmwareGateVerdict, RequiredVersionMustMatchExactly) {
  EXPECT_TRUE(detail::judge_imu_firmware("A1", "", Result<std::string>(std::string("A1"))).ok());
  const Status blank = detail::judge_imu_firmware("A1", "", Result<std::string>(std::string("A1 ")));
  EXPECT_EQ(blank.code(), ErrorCode::NotSupported);
  EXPECT_EQ(blank.message(), kNotSupported);
  EXPECT_EQ(detail::judge_imu_firmware("A1", "", Result<std::string>(std::string("a1"))).code(),
            ErrorCode::NotSupported);
}

TEST(FirmwareGateVerdict, UnreadableVersionRefusesOnlyWhenAVersionIsRequired) {
  const Result<std::string> unreadable(Status(ErrorCode::ReadFailed, "SonixCam_GetVersion failed"));
  const Status required = detail::judge_imu_firmware("A1", "", unreadable);
  EXPECT_EQ(required.code(), ErrorCode::NotSupported);
  EXPECT_EQ(required.message(), kNotSupported);
  const Status disabling_only = detail::judge_imu_firmware("", "260416", unreadable);
  EXPECT_TRUE(disabling_only.ok());
  EXPECT_TRUE(disabling_only.message().empty());
}

TEST(FirmwareGateVerdict, DisablingBuildWinsOverAnExactRequiredMatch) {
  const Status status = detail::judge_imu_firmware("X260416", "260416", Result<std::string>(std::string("X260416")));
  EXPECT_EQ(status.code(), ErrorCode::NotSupported);
}

TEST(FirmwareGateVerdict, DisablingTextLongerThanTheFirmwareNeverDisables) {
  EXPECT_TRUE(detail::judge_imu_firmware("", "123", Result<std::string>(std::string("12"))).ok());
  EXPECT_EQ(detail::judge_imu_firmware("", "12", Result<std::string>(std::string("x12y"))).code(),
            ErrorCode::NotSupported);
}

}  // namespace
}  // namespace tovanel::uvc_stereo
