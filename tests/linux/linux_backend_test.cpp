// The SDK end to end on the Linux backend over a fake kernel: scanning, opening and the IMU stream.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "linux/linux_fixture.h"
#include "uvc_stereo/device.h"

namespace tovanel::uvc_stereo::linux_testing {
namespace {

using LinuxScan = LinuxBackendTest;
using LinuxOpen = LinuxBackendTest;
using LinuxImu = LinuxBackendTest;

TEST_F(LinuxScan, NoCameraIsAnEmptyList) {
  const Result<std::vector<DeviceInfo>> scan = scan_devices();
  ASSERT_TRUE(scan.ok()) << scan.status().message();
  EXPECT_TRUE(scan.value().empty());
  // No camera: Init says so and no session is opened.
  EXPECT_EQ(call_names(), (std::vector<std::string>{"SonixCam_Init", "SonixCam_GetErrorCode"}));
}

TEST_F(LinuxScan, NoVideoClassAtAllIsAnEmptyListToo) {
  kernel_.remove_video_class();
  const Result<std::vector<DeviceInfo>> scan = scan_devices();
  ASSERT_TRUE(scan.ok()) << scan.status().message();
  EXPECT_TRUE(scan.value().empty());
}

TEST_F(LinuxScan, OneCameraWithItsIdsTextsPathAndCaptureIndex) {
  kernel_.add_camera(supported_camera("SN0001", "1-2", 0));
  const Result<std::vector<DeviceInfo>> scan = scan_devices();
  ASSERT_TRUE(scan.ok()) << scan.status().message();
  ASSERT_EQ(scan.value().size(), 1u);
  const DeviceInfo& info = scan.value()[0];
  EXPECT_EQ(info.vendor_id, 0x0C45);
  EXPECT_EQ(info.product_id, 0x6366);
  EXPECT_EQ(info.serial_number, "SN0001");
  EXPECT_EQ(info.friendly_name, "Tovanel Stereo SN0001");
  EXPECT_EQ(info.descriptor_text, "Tovanel");
  EXPECT_EQ(info.device_path, kernel_.usb_path("1-2"));
  EXPECT_EQ(info.backend_indices, (std::map<OpenCvBackend, int>{{OpenCvBackend::V4l2, 0}}));
}

TEST_F(LinuxScan, ThreeCamerasInCaptureNodeOrderEachWithItsOwnIndex) {
  kernel_.add_camera(supported_camera("SN-C", "3-1", 4));
  kernel_.add_camera(supported_camera("SN-A", "1-2", 0));
  kernel_.add_camera(supported_camera("SN-B", "1-4.2", 2));
  const Result<std::vector<DeviceInfo>> scan = scan_devices();
  ASSERT_TRUE(scan.ok()) << scan.status().message();
  ASSERT_EQ(scan.value().size(), 3u);
  const std::vector<std::string> serials = {scan.value()[0].serial_number, scan.value()[1].serial_number,
                                            scan.value()[2].serial_number};
  EXPECT_EQ(serials, (std::vector<std::string>{"SN-A", "SN-B", "SN-C"}));
  EXPECT_EQ(scan.value()[0].backend_indices.at(OpenCvBackend::V4l2), 0);
  EXPECT_EQ(scan.value()[1].backend_indices.at(OpenCvBackend::V4l2), 2);
  EXPECT_EQ(scan.value()[2].backend_indices.at(OpenCvBackend::V4l2), 4);
  EXPECT_EQ(scan.value()[1].device_path, kernel_.usb_path("1-4.2"));
}

TEST_F(LinuxScan, TheSameCamerasGiveTheSameListEveryTime) {
  kernel_.add_camera(supported_camera("SN-A", "1-2", 0));
  kernel_.add_camera(supported_camera("SN-B", "1-3", 2));
  const Result<std::vector<DeviceInfo>> first = scan_devices();
  const Result<std::vector<DeviceInfo>> second = scan_devices();
  ASSERT_TRUE(first.ok() && second.ok());
  ASSERT_EQ(first.value().size(), second.value().size());
  for (std::size_t i = 0; i < first.value().size(); ++i) {
    EXPECT_EQ(first.value()[i].device_path, second.value()[i].device_path);
    EXPECT_EQ(first.value()[i].backend_indices, second.value()[i].backend_indices);
  }
}

TEST_F(LinuxScan, ACameraOfAnotherModelIsNotListed) {
  FakeUvcCamera other = supported_camera("OTHER", "1-5", 0);
  other.model.product_id = 0x6300;
  kernel_.add_camera(other);
  kernel_.add_camera(supported_camera("SN0001", "1-2", 2));
  const Result<std::vector<DeviceInfo>> scan = scan_devices();
  ASSERT_TRUE(scan.ok()) << scan.status().message();
  ASSERT_EQ(scan.value().size(), 1u);
  EXPECT_EQ(scan.value()[0].serial_number, "SN0001");
  EXPECT_EQ(scan.value()[0].backend_indices.at(OpenCvBackend::V4l2), 2);
}

TEST_F(LinuxScan, OnlyACameraOfAnotherModelIsNoSupportedCamera) {
  FakeUvcCamera other = supported_camera("OTHER", "1-5", 0);
  other.model.vendor_id = 0x046D;
  kernel_.add_camera(other);
  const Result<std::vector<DeviceInfo>> scan = scan_devices();
  ASSERT_TRUE(scan.ok()) << scan.status().message();
  EXPECT_TRUE(scan.value().empty());
}

TEST_F(LinuxScan, ACameraWithoutASerialNumberHasAnEmptyOneAndARequiringFilterDropsIt) {
  FakeUvcCamera camera = supported_camera("unused", "1-2", 0);
  camera.model.serial_number.reset();
  kernel_.add_camera(camera);
  const Result<std::vector<DeviceInfo>> scan = scan_devices();
  ASSERT_TRUE(scan.ok()) << scan.status().message();
  ASSERT_EQ(scan.value().size(), 1u);
  EXPECT_EQ(scan.value()[0].serial_number, "");
  DeviceScanFilter filter;
  filter.require_serial_number = true;
  const Result<std::vector<DeviceInfo>> filtered = scan_devices(filter);
  ASSERT_TRUE(filtered.ok());
  EXPECT_TRUE(filtered.value().empty());
}

TEST_F(LinuxScan, AVideoDeviceThatIsNotAUsbCameraIsIgnored) {
  kernel_.add_non_usb_node(0);
  kernel_.add_camera(supported_camera("SN0001", "1-2", 1));
  const Result<std::vector<DeviceInfo>> scan = scan_devices();
  ASSERT_TRUE(scan.ok()) << scan.status().message();
  ASSERT_EQ(scan.value().size(), 1u);
  EXPECT_EQ(scan.value()[0].backend_indices.at(OpenCvBackend::V4l2), 1);
}

TEST_F(LinuxScan, AUsbDeviceWithoutUvcVideoControlIsIgnored) {
  FakeUvcCamera vendor_specific = supported_camera("SN0001", "1-2", 0);
  vendor_specific.video_control = false;
  kernel_.add_camera(vendor_specific);
  const Result<std::vector<DeviceInfo>> scan = scan_devices();
  ASSERT_TRUE(scan.ok()) << scan.status().message();
  EXPECT_TRUE(scan.value().empty());
}

TEST_F(LinuxScan, TheMetadataNodeIsNotTheCaptureNodeWhicheverComesFirst) {
  FakeUvcCamera camera = supported_camera("SN0001", "1-2", 3);
  camera.metadata_node = 2;  // numbered below the capture node
  kernel_.add_camera(camera);
  const Result<std::vector<DeviceInfo>> scan = scan_devices();
  ASSERT_TRUE(scan.ok()) << scan.status().message();
  ASSERT_EQ(scan.value().size(), 1u);
  EXPECT_EQ(scan.value()[0].backend_indices.at(OpenCvBackend::V4l2), 3);
}

TEST_F(LinuxOpen, WithACapabilityReport) {
  kernel_.add_camera(supported_camera("SN0001", "1-2", 0));
  const Result<Device> device = open_device(only_camera());
  ASSERT_TRUE(device.ok()) << device.status().message();
  const DeviceCapabilityInfo& capability = device.value().capability_info();
  EXPECT_EQ(capability.source, CapabilitySource::Reported);
  ASSERT_TRUE(capability.report.has_value());
  ASSERT_TRUE(capability.report->imu.has_value());
  EXPECT_EQ(capability.report->imu->model, "BMI088");
  ASSERT_TRUE(capability.report->flash_user_space.has_value());
  EXPECT_EQ(capability.report->flash_user_space->start, 0x51000u);
}

TEST_F(LinuxOpen, WithoutACapabilityReportFallsBackToTheDefaults) {
  FakeUvcCamera camera = supported_camera("SN0001", "1-2", 0);
  camera.model.capability.reset();  // the unit answers 64 zero bytes
  kernel_.add_camera(camera);
  const Result<Device> device = open_device(only_camera());
  ASSERT_TRUE(device.ok()) << device.status().message();
  EXPECT_EQ(device.value().capability_info().source, CapabilitySource::Fallback);
  EXPECT_FALSE(device.value().capability_info().report.has_value());
}

TEST_F(LinuxOpen, TheProbeReadsTheCapabilityControlOfTheExtensionUnit) {
  kernel_.add_camera(supported_camera("SN0001", "1-2", 0));
  const DeviceInfo camera = only_camera();
  clear_audited_calls();
  const Result<Device> device = open_device(camera);
  ASSERT_TRUE(device.ok()) << device.status().message();
  const std::vector<std::string> names = call_names();
  EXPECT_NE(std::find(names.begin(), names.end(), "SonixCam_SetNodeID"), names.end());
  EXPECT_NE(std::find(names.begin(), names.end(), "SonixCam_XuRead"), names.end());
  int queries = 0;
  for (const KernelAccess& access : kernel_.accesses()) {
    queries += access.what == "UVCIOC_CTRL_QUERY" ? 1 : 0;
  }
  EXPECT_EQ(queries, 1);
}

TEST_F(LinuxImu, StreamsConvertedSamplesWithARisingCounter) {
  const int camera = kernel_.add_camera(supported_camera("SN0001", "1-2", 0));
  Result<Device> device = open_device(only_camera());
  ASSERT_TRUE(device.ok()) << device.status().message();
  ASSERT_TRUE(device.value().open_imu().ok());
  const std::size_t accesses_before = kernel_.accesses().size();
  const std::uint32_t first_counter = kernel_.camera_state(camera).imu.next_counter();
  for (std::uint32_t i = 0; i < 20; ++i) {
    const Result<ReadImuResult> sample = device.value().read_imu();
    ASSERT_TRUE(sample.ok()) << sample.status().message();
    EXPECT_EQ(sample.value().sample_counter, (first_counter + i) & 0xFFFFFu);
    const Result<ConvertedImuResult> converted = device.value().convert_imu(sample.value());
    ASSERT_TRUE(converted.ok()) << converted.status().message();
    // At rest: about 1 g along z and no rotation, at the die's temperature.
    EXPECT_NEAR(converted.value().accel_g[2], 1.0, 0.05);
    EXPECT_NEAR(converted.value().gyro_dps[0], 0.0, 1.0);
    EXPECT_NEAR(converted.value().temperature_c, 31.5, 0.5);
  }
  // The stream reads through the node opened with the reader: one control query per sample and nothing else.
  const std::vector<KernelAccess> accesses = kernel_.accesses();
  ASSERT_EQ(accesses.size(), accesses_before + 20);
  for (std::size_t i = accesses_before; i < accesses.size(); ++i) {
    EXPECT_EQ(accesses[i].what, "UVCIOC_CTRL_QUERY");
  }
  ASSERT_TRUE(device.value().close_imu().ok());
}

TEST_F(LinuxImu, TheReaderKeepsOneSessionAndClosesItsNodeWhenClosed) {
  kernel_.add_camera(supported_camera("SN0001", "1-2", 0));
  Result<Device> device = open_device(only_camera());
  ASSERT_TRUE(device.ok()) << device.status().message();
  ASSERT_TRUE(device.value().open_imu().ok());
  EXPECT_EQ(kernel_.open_descriptors(), 1);
  // Another operation meanwhile nests a session of its own and leaves the reader's node open.
  const Result<std::vector<DeviceInfo>> again = scan_devices();
  ASSERT_TRUE(again.ok());
  EXPECT_EQ(again.value().size(), 1u);
  EXPECT_EQ(kernel_.open_descriptors(), 1);
  ASSERT_TRUE(device.value().read_imu().ok());
  ASSERT_TRUE(device.value().close_imu().ok());
  EXPECT_EQ(kernel_.open_descriptors(), 0);
}

TEST_F(LinuxImu, AnImuStatusByteIsReportedAsTheCameraSendsIt) {
  const int camera = kernel_.add_camera(supported_camera("SN0001", "1-2", 0));
  Result<Device> device = open_device(only_camera());
  ASSERT_TRUE(device.ok()) << device.status().message();
  ASSERT_TRUE(device.value().open_imu().ok());
  kernel_.camera_state(camera).imu_status.push_back(0xF2);
  const Result<ReadImuResult> failed = device.value().read_imu();
  EXPECT_FALSE(failed.ok());
  EXPECT_TRUE(device.value().read_imu().ok());
  ASSERT_TRUE(device.value().close_imu().ok());
}

}  // namespace
}  // namespace tovanel::uvc_stereo::linux_testing
