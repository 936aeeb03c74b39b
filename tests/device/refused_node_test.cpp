// A camera whose video node this account may not open, on the simulated rig: found by a scan, opened without its
// capability report, and each operation that needs the node failing with the code the kernel's refusal gives.
#include <gtest/gtest.h>

#include <string>

#include "capability/capability_report_encoder.h"
#include "device/device_rig_support.h"
#include "support/reported_imu.h"
#include "uvc_stereo/camera_access.h"
#include "uvc_stereo/device.h"

namespace tovanel::uvc_stereo {
namespace {

using device_testing::DeviceRigTest;
using device_testing::supported_camera;

constexpr char kRefused[] = "vendor_code=ecGetKsControlFail(5)";

// A camera that reports its flash and IMU, so that only the refused node keeps the report from being read.
sim::SimulatedCamera reporting_camera(const std::string& serial, sim::SimulatedNodeAccess access) {
  sim::SimulatedCamera camera = supported_camera(0, serial);
  CapabilityReport report;
  report.capability_bits = kCapabilityFlashUserSpace | kCapabilityImu;
  report.flash_user_space = FlashUserSpace{0x51000, 0x10000};
  report.imu = test_support::reported_imu("BMI088", 4, 10, 17, 2, 25.0, 128.0, 2048.0, 16.4);
  camera.capability = report;
  camera.node_access = access;
  return camera;
}

using RefusedNodeDevice = DeviceRigTest;

TEST_F(RefusedNodeDevice, TheScanListsItAsAnyOther) {
  const sim::SimulatedCamera camera = reporting_camera("SN-REFUSED", sim::SimulatedNodeAccess::PermissionDenied);
  const DeviceInfo info = plug_and_scan(camera);
  EXPECT_EQ(info.serial_number, "SN-REFUSED");
  EXPECT_EQ(info.device_path, camera.device_path);
}

TEST_F(RefusedNodeDevice, OpeningFallsBackToTheModelTableAsOnLinux) {
  const DeviceInfo info = plug_and_scan(reporting_camera("SN-REFUSED", sim::SimulatedNodeAccess::PermissionDenied));
  Result<Device> device = open_device(info);
  ASSERT_TRUE(device.ok()) << device.status().message();
  EXPECT_EQ(device.value().capability_info().source, CapabilitySource::Fallback);
}

TEST_F(RefusedNodeDevice, TheSameCameraAllowedItsNodeOpensWithItsReport) {
  const DeviceInfo info = plug_and_scan(reporting_camera("SN-ALLOWED", sim::SimulatedNodeAccess::Allowed));
  Result<Device> device = open_device(info);
  ASSERT_TRUE(device.ok()) << device.status().message();
  EXPECT_EQ(device.value().capability_info().source, CapabilitySource::Reported);
}

TEST_F(RefusedNodeDevice, ReadingTheRecordFailsWithTheRefusalsCode) {
  const DeviceInfo info = plug_and_scan(reporting_camera("SN-REFUSED", sim::SimulatedNodeAccess::PermissionDenied));
  Result<Device> device = open_device(info);
  ASSERT_TRUE(device.ok()) << device.status().message();
  const Result<ReadJsonResult> read = device.value().read_json();
  ASSERT_FALSE(read.ok());
  // The flash session cannot start, as on Linux, where the flash is out of reach too.
  EXPECT_EQ(read.status().code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(read.status().message(), std::string("SonixCam_GetSerialFlashType failed: ") + kRefused);
}

TEST_F(RefusedNodeDevice, WritingTheRecordFailsAndLeavesTheFlashErased) {
  const DeviceInfo info = plug_and_scan(reporting_camera("SN-REFUSED", sim::SimulatedNodeAccess::Busy));
  Result<Device> device = open_device(info);
  ASSERT_TRUE(device.ok()) << device.status().message();
  const Status written = device.value().write_json(R"({"a":1})");
  EXPECT_EQ(written.code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(written.message(), std::string("SonixCam_GetSerialFlashType failed: ") + kRefused);
  EXPECT_EQ(rig_.flash(0, 0x51000, 4), (std::vector<std::uint8_t>{0xFF, 0xFF, 0xFF, 0xFF}));
}

TEST_F(RefusedNodeDevice, OpeningTheImuFailsAsOnLinux) {
  const DeviceInfo info = plug_and_scan(reporting_camera("SN-REFUSED", sim::SimulatedNodeAccess::PermissionDenied));
  Result<Device> device = open_device(info);
  ASSERT_TRUE(device.ok()) << device.status().message();
  const Status imu = device.value().open_imu();
  EXPECT_EQ(imu.code(), ErrorCode::PlatformError);
  EXPECT_EQ(imu.message(), std::string("SonixCam_SetNodeID failed: ") + kRefused);
}

TEST_F(RefusedNodeDevice, OnceGivenAccessTheSameDeviceReadsItsRecordAndImu) {
  const DeviceInfo info = plug_and_scan(reporting_camera("SN-REFUSED", sim::SimulatedNodeAccess::PermissionDenied));
  Result<Device> device = open_device(info);
  ASSERT_TRUE(device.ok()) << device.status().message();
  ASSERT_FALSE(device.value().read_json().ok());
  rig_.set_node_access(0, sim::SimulatedNodeAccess::Allowed);
  ASSERT_TRUE(device.value().write_json(R"({"a":1})").ok());
  const Result<ReadJsonResult> read = device.value().read_json();
  ASSERT_TRUE(read.ok()) << read.status().message();
  EXPECT_EQ(read.value().json, R"({"a":1})");
  EXPECT_TRUE(device.value().open_imu().ok());
  EXPECT_TRUE(device.value().close_imu().ok());
}

TEST_F(RefusedNodeDevice, TheProblemNamesTheDeviceTheScanLists) {
  const DeviceInfo info = plug_and_scan(reporting_camera("SN-REFUSED", sim::SimulatedNodeAccess::PermissionDenied));
  const Result<std::vector<CameraAccessProblem>> problems = find_camera_access_problems();
  ASSERT_TRUE(problems.ok());
  ASSERT_FALSE(problems.value().empty());
  EXPECT_EQ(problems.value()[0].device_path, info.device_path);
}

}  // namespace
}  // namespace tovanel::uvc_stereo
