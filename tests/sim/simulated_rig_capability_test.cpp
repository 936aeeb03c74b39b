#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

#include "capability/capability_report_encoder.h"
#include "simulated_rig_fixture.h"
#include "support/reported_imu.h"
#include "uvc_stereo/capability.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/simulated_rig.h"

// A simulated camera given its capability report as a record answers it as a camera sends it.
namespace tovanel::uvc_stereo::sim {
namespace {

using rig_testing::LockedSession;
using rig_testing::supported_camera;

CapabilityReport flash_and_imu_report() {
  CapabilityReport report = test_support::flash_and_imu_report(0x60000, 0x8000);
  report.minor_version = 2;
  report.imu = test_support::reported_imu("BMI088", 4, 10, 17, 1, 23.0, 512.0, 1365.0, 16.4);
  return report;
}

// What the one camera of the active rig answers to a capability read.
std::array<std::uint8_t, 64> capability_answer() {
  const LockedSession session;
  EXPECT_TRUE(session.opened());
  std::vector<SonixLib::scDevice_t> records = rig_testing::enumerate_records();
  std::array<std::uint8_t, 64> answer{};
  EXPECT_EQ(records.size(), 1u);
  if (records.size() == 1) {
    EXPECT_TRUE(SonixCam_XuRead(&records[0], answer.data(), 64, 11, 4));
  }
  return answer;
}

TEST(SimulatedRigCapability, ARecordIsAnsweredAsTheSdksEncoderWritesIt) {
  SimulatedRig rig;
  SimulatedCamera camera = supported_camera("C1");
  camera.capability = flash_and_imu_report();
  rig.add_camera(camera);

  EXPECT_EQ(capability_answer(), detail::encode_xu_capability_report(flash_and_imu_report()));
}

TEST(SimulatedRigCapability, ARecordTakesPrecedenceOverRawBytes) {
  SimulatedRig rig;
  SimulatedCamera camera = supported_camera("C1");
  camera.capability_report.fill(0xEE);
  camera.capability = flash_and_imu_report();
  rig.add_camera(camera);

  EXPECT_EQ(capability_answer(), detail::encode_xu_capability_report(flash_and_imu_report()));
}

TEST(SimulatedRigCapability, ARecordSetWhilePluggedIsAnsweredFromThen) {
  SimulatedRig rig;
  const int index = rig.add_camera(supported_camera("C1"));
  EXPECT_EQ(capability_answer(), (std::array<std::uint8_t, 64>{}));

  rig.set_capability_report(index, flash_and_imu_report());

  EXPECT_EQ(capability_answer(), detail::encode_xu_capability_report(flash_and_imu_report()));
}

TEST(SimulatedRigCapability, OpenDeviceReadsARecordAsReported) {
  SimulatedRig rig;
  SimulatedCamera camera = supported_camera("C1");
  camera.capability = flash_and_imu_report();
  rig.add_camera(camera);
  const Result<std::vector<DeviceInfo>> scanned = scan_devices();
  ASSERT_TRUE(scanned.ok()) << scanned.status().message();
  ASSERT_EQ(scanned.value().size(), 1u);

  Result<Device> opened = open_device(scanned.value()[0]);

  ASSERT_TRUE(opened.ok()) << opened.status().message();
  const DeviceCapabilityInfo& info = opened.value().capability_info();
  EXPECT_EQ(info.source, CapabilitySource::Reported);
  ASSERT_TRUE(info.report.has_value());
  EXPECT_EQ(info.report->minor_version, 2);
  EXPECT_EQ(info.report->capability_bits, kCapabilityFlashUserSpace | kCapabilityImu);
  ASSERT_TRUE(info.report->flash_user_space.has_value());
  EXPECT_EQ(info.report->flash_user_space->start, 0x60000u);
  EXPECT_EQ(info.report->flash_user_space->size, 0x8000u);
  ASSERT_TRUE(info.report->imu.has_value());
  EXPECT_EQ(info.report->imu->model, "BMI088");
  EXPECT_DOUBLE_EQ(info.report->imu->accel_lsb_per_g, 1365.0);
  EXPECT_DOUBLE_EQ(info.report->imu->temperature_offset_c, 23.0);
  EXPECT_TRUE(rig.violations().empty()) << ::testing::PrintToString(rig.violations());
}

}  // namespace
}  // namespace tovanel::uvc_stereo::sim
