// The Linux backend when things go wrong: a camera pulled out mid-stream, a node this account may not open, an
// extension unit with another GUID, and the configuration record, which needs the vendor's own library.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "linux/linux_fixture.h"
#include "uvc_stereo/device.h"

namespace tovanel::uvc_stereo::linux_testing {
namespace {

using LinuxFaults = LinuxBackendTest;

TEST_F(LinuxFaults, ACameraUnpluggedWhileStreamingIsADisconnect) {
  const int camera = kernel_.add_camera(supported_camera("SN0001", "1-2", 0));
  Result<Device> device = open_device(only_camera());
  ASSERT_TRUE(device.ok()) << device.status().message();
  ASSERT_TRUE(device.value().open_imu().ok());
  ASSERT_TRUE(device.value().read_imu().ok());
  kernel_.unplug(camera);
  const Result<ReadImuResult> lost = device.value().read_imu();
  ASSERT_FALSE(lost.ok());
  EXPECT_EQ(lost.status().code(), ErrorCode::PlatformError);
  EXPECT_EQ(lost.status().message(), "SonixCam_XuRead failed: vendor_code=ecDeviceDisconnect(7)");
  EXPECT_TRUE(diagnosed(kernel_.usb_path("1-2"), "unplugged"));
  // Later reads keep saying so, and closing the reader still ends its session.
  const Result<ReadImuResult> still_lost = device.value().read_imu();
  ASSERT_FALSE(still_lost.ok());
  EXPECT_EQ(still_lost.status().message(), "SonixCam_XuRead failed: vendor_code=ecDeviceDisconnect(7)");
  EXPECT_TRUE(device.value().close_imu().ok());
  const Result<std::vector<DeviceInfo>> after = scan_devices();
  ASSERT_TRUE(after.ok());
  EXPECT_TRUE(after.value().empty());
}

TEST_F(LinuxFaults, ANodeThisAccountMayNotOpenIsNamedWithTheSystemsReason) {
  FakeUvcCamera camera = supported_camera("SN0001", "1-2", 0);
  camera.open_error = EACCES;
  kernel_.add_camera(camera);
  // Its descriptors come from sysfs, which anyone may read, so the scan still lists it by its first node.
  const DeviceInfo info = only_camera();
  EXPECT_EQ(info.serial_number, "SN0001");
  EXPECT_EQ(info.backend_indices.at(OpenCvBackend::V4l2), 0);
  const std::vector<std::string> lines = diagnostics();
  ASSERT_FALSE(lines.empty());
  EXPECT_NE(lines[0].find(kernel_.dev_node(0).substr(0, kernel_.dev_node(0).size() - 1)), std::string::npos)
      << lines[0];
  EXPECT_NE(lines[0].find("Permission denied"), std::string::npos) << lines[0];
  // Opening the IMU needs the node itself.
  Result<Device> device = open_device(info);
  ASSERT_TRUE(device.ok()) << device.status().message();
  EXPECT_EQ(device.value().capability_info().source, CapabilitySource::Fallback);
  const Status imu = device.value().open_imu();
  EXPECT_EQ(imu.code(), ErrorCode::PlatformError);
  EXPECT_EQ(imu.message(), "SonixCam_SetNodeID failed: vendor_code=ecGetKsControlFail(5)");
  EXPECT_TRUE(diagnosed("cannot open " + kernel_.dev_node(0), "Permission denied"));
}

TEST_F(LinuxFaults, AnExtensionUnitWithAnotherGuidIsNotTheCamerasUnit) {
  FakeUvcCamera camera = supported_camera("SN0001", "1-2", 0);
  camera.extension_unit_guid[15] ^= 0xFFu;
  kernel_.add_camera(camera);
  Result<Device> device = open_device(only_camera());
  ASSERT_TRUE(device.ok()) << device.status().message();
  EXPECT_EQ(device.value().capability_info().source, CapabilitySource::Fallback);
  const Status imu = device.value().open_imu();
  EXPECT_EQ(imu.message(), "SonixCam_SetNodeID failed: vendor_code=ecGetKsControlFail(5)");
  EXPECT_TRUE(diagnosed("has no extension unit 4", kernel_.usb_path("1-2")));
  // The unit is never asked for a control it may not have.
  for (const KernelAccess& access : kernel_.accesses()) {
    EXPECT_NE(access.what, "UVCIOC_CTRL_QUERY");
  }
}

TEST_F(LinuxFaults, AnExtensionUnitWithAnotherIdIsNotTheCamerasUnitEither) {
  FakeUvcCamera camera = supported_camera("SN0001", "1-2", 0);
  camera.extension_unit_id = 6;
  kernel_.add_camera(camera);
  Result<Device> device = open_device(only_camera());
  ASSERT_TRUE(device.ok()) << device.status().message();
  EXPECT_EQ(device.value().open_imu().message(), "SonixCam_SetNodeID failed: vendor_code=ecGetKsControlFail(5)");
}

TEST_F(LinuxFaults, TheConfigurationRecordFailsClearlyWithoutTheVendorLibrary) {
  kernel_.add_camera(supported_camera("SN0001", "1-2", 0));
  Result<Device> device = open_device(only_camera());
  ASSERT_TRUE(device.ok()) << device.status().message();
  const Result<ReadJsonResult> read = device.value().read_json();
  ASSERT_FALSE(read.ok());
  EXPECT_EQ(read.status().code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(read.status().message(), "SonixCam_GetSerialFlashType failed: vendor_code=ecGetKsControlFail(5)");
  const Status written = device.value().write_json("{\"a\":1}");
  EXPECT_FALSE(written.ok());
  EXPECT_EQ(written.message(), "SonixCam_GetSerialFlashType failed: vendor_code=ecGetKsControlFail(5)");
  EXPECT_TRUE(diagnosed("serial flash", "camera vendor's library"));
  // Nothing was ever written or erased.
  for (const std::string& name : call_names()) {
    EXPECT_NE(name, "SonixCam_WriteToSF");
    EXPECT_NE(name, "SonixCam_SectorEraseSF");
  }
}

TEST_F(LinuxFaults, AFlashRequiringOpenIsRefused) {
  kernel_.add_camera(supported_camera("SN0001", "1-2", 0));
  OpenDeviceOptions options;
  options.required_capabilities = kTransportFlashJson;
  const Result<Device> device = open_device(only_camera(), options);
  EXPECT_FALSE(device.ok());
}

}  // namespace
}  // namespace tovanel::uvc_stereo::linux_testing
