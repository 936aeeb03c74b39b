#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "simulated_rig_fixture.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/simulated_rig.h"

// Faults that let the failing call answer first, as the real library may: a failed call
// with its out-values written.
namespace tovanel::uvc_stereo::sim {
namespace {

using rig_testing::LockedSession;
using rig_testing::reported_vendor_code;
using rig_testing::supported_camera;

VendorFault answering_fault(const char* call, std::int32_t vendor_code) {
  VendorFault fault;
  fault.call = call;
  fault.vendor_code = vendor_code;
  fault.still_answers = true;
  return fault;
}

class SimulatedRigAnsweringFault : public ::testing::Test {
 protected:
  void TearDown() override {
    EXPECT_TRUE(rig_.violations().empty()) << ::testing::PrintToString(rig_.violations());
    EXPECT_EQ(rig_.open_sessions(), 0);
  }

  // The count a failing enumeration writes under `fault`, in an open session.
  std::int32_t count_under(const VendorFault& fault) {
    const LockedSession session;
    EXPECT_TRUE(session.opened());
    rig_.add_fault(fault);
    std::vector<SonixLib::scDevice_t> records(8);
    std::int32_t count = 0;
    EXPECT_FALSE(SonixCam_EnumCameras(&count, records.data(), 8));
    EXPECT_EQ(reported_vendor_code(), fault.vendor_code) << "the fault's code, not ecNotFindDevice";
    return count;
  }

  SimulatedRig rig_;
};

TEST_F(SimulatedRigAnsweringFault, FailingEnumerationStillReportsTheCamerasItSees) {
  rig_.add_camera(supported_camera("A1"));
  rig_.add_camera(supported_camera("A2"));
  const LockedSession session;
  ASSERT_TRUE(session.opened());
  rig_.add_fault(answering_fault("SonixCam_EnumCameras", SonixLib::ecEnumDeviceFail));

  std::vector<SonixLib::scDevice_t> records(8);
  std::int32_t count = 0;
  EXPECT_FALSE(SonixCam_EnumCameras(&count, records.data(), 8));

  EXPECT_EQ(count, 2);
  EXPECT_EQ(rig_testing::path_of(records[1]), supported_camera("A2").device_path);
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecEnumDeviceFail);
  const std::vector<VendorCall> calls = rig_.calls();
  ASSERT_GE(calls.size(), 2u);
  EXPECT_EQ(calls[1].name, "SonixCam_EnumCameras");
  EXPECT_FALSE(calls[1].succeeded);
}

TEST_F(SimulatedRigAnsweringFault, FailingEnumerationReportsTheCountItIsGiven) {
  rig_.add_camera(supported_camera("A1"));
  VendorFault fault = answering_fault("SonixCam_EnumCameras", SonixLib::ecEnumDeviceFail);
  fault.reported_count = 5;

  EXPECT_EQ(count_under(fault), 5);
}

TEST_F(SimulatedRigAnsweringFault, ReportedCountAppliesEvenWithNoCameraToSee) {
  rig_.set_init_fails_without_cameras(false);
  VendorFault fault = answering_fault("SonixCam_EnumCameras", SonixLib::ecEnumDeviceFail);
  fault.reported_count = 3;

  EXPECT_EQ(count_under(fault), 3);
}

TEST_F(SimulatedRigAnsweringFault, FailingExtensionUnitReadStillFillsTheBuffer) {
  SimulatedCamera camera = supported_camera("X1");
  for (std::size_t i = 0; i < camera.capability_report.size(); ++i) {
    camera.capability_report[i] = static_cast<std::uint8_t>(i + 7);
  }
  rig_.add_camera(camera);
  const LockedSession session;
  ASSERT_TRUE(session.opened());
  std::vector<SonixLib::scDevice_t> records = rig_testing::enumerate_records();
  ASSERT_EQ(records.size(), 1u);
  rig_.add_fault(answering_fault("SonixCam_XuRead", SonixLib::ecGetKsControlFail));

  std::uint8_t buffer[64] = {};
  EXPECT_FALSE(SonixCam_XuRead(&records[0], buffer, 64, 11, 4));

  EXPECT_EQ(std::memcmp(buffer, camera.capability_report.data(), 64), 0);
  EXPECT_EQ(reported_vendor_code(&records[0]), SonixLib::ecGetKsControlFail);
}

TEST_F(SimulatedRigAnsweringFault, FailingFlashReadStillReadsAndTheNextCallSucceeds) {
  const int index = rig_.add_camera(supported_camera("R1"));
  rig_.set_flash(index, 0x51000, {0x11, 0x22, 0x33});
  const LockedSession session;
  ASSERT_TRUE(session.opened());
  std::vector<SonixLib::scDevice_t> records = rig_testing::enumerate_records();
  ASSERT_EQ(records.size(), 1u);
  rig_.add_fault(answering_fault("SonixCam_CstmReadFromSF", SonixLib::ecSyncTransTimeOut));

  std::uint8_t buffer[3] = {};
  EXPECT_FALSE(SonixCam_CstmReadFromSF(&records[0], 0x51000, buffer, 3));
  EXPECT_EQ(buffer[0], 0x11);
  EXPECT_EQ(buffer[2], 0x33);

  std::uint8_t again[3] = {};
  EXPECT_TRUE(SonixCam_CstmReadFromSF(&records[0], 0x51000, again, 3)) << "the fault fired once";
}

TEST_F(SimulatedRigAnsweringFault, FailingFlashTypeQueryStillWritesTheType) {
  SimulatedCamera camera = supported_camera("T1");
  camera.flash_type = 7;
  rig_.add_camera(camera);
  const LockedSession session;
  ASSERT_TRUE(session.opened());
  std::vector<SonixLib::scDevice_t> records = rig_testing::enumerate_records();
  ASSERT_EQ(records.size(), 1u);
  rig_.add_fault(answering_fault("SonixCam_GetSerialFlashType", SonixLib::ecDeviceDisconnect));

  SonixLib::SERIAL_FLASH_TYPE type = 0;
  EXPECT_FALSE(SonixCam_GetSerialFlashType(&records[0], &type));
  EXPECT_EQ(type, 7);
}

// What the SDK makes of it: a failed enumeration that still counts cameras is a real failure, not an empty list.
TEST_F(SimulatedRigAnsweringFault, AScanWhoseEnumerationFailsWithCamerasCountedIsAPlatformError) {
  rig_.add_camera(supported_camera("S1"));
  rig_.add_fault(answering_fault("SonixCam_EnumCameras", SonixLib::ecEnumDeviceFail));

  const Result<std::vector<DeviceInfo>> scanned = scan_devices();

  ASSERT_FALSE(scanned.ok());
  EXPECT_EQ(scanned.status().code(), ErrorCode::PlatformError);
  EXPECT_EQ(scanned.status().message(), "SonixCam_EnumCameras failed: vendor_code=ecEnumDeviceFail(3)");
}

TEST_F(SimulatedRigAnsweringFault, AScanWhoseEnumerationFailsWithNoCameraCountedIsEmpty) {
  rig_.add_camera(supported_camera("S1"));
  VendorFault fault = answering_fault("SonixCam_EnumCameras", SonixLib::ecEnumDeviceFail);
  fault.reported_count = 0;
  rig_.add_fault(fault);

  const Result<std::vector<DeviceInfo>> scanned = scan_devices();

  ASSERT_TRUE(scanned.ok()) << scanned.status().message();
  EXPECT_TRUE(scanned.value().empty());
}

}  // namespace
}  // namespace tovanel::uvc_stereo::sim
