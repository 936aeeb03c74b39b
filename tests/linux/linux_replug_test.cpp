// A camera pulled out and another (or the same one) plugged into its port: whatever holds an open session on the
// first camera learns it has gone, and never reads the newcomer under the first camera's name.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "bridge/sonix_camera.h"
#include "bridge/vendor_status.h"
#include "linux/linux_fixture.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/vendor_lock.h"

namespace tovanel::uvc_stereo::linux_testing {
namespace {

constexpr char kDisconnect[] = "SonixCam_XuRead failed: vendor_code=ecDeviceDisconnect(7)";

DeviceInfo camera_with_serial(const std::string& serial) {
  const Result<std::vector<DeviceInfo>> scan = scan_devices();
  EXPECT_TRUE(scan.ok()) << scan.status().message();
  for (const DeviceInfo& info : scan.ok() ? scan.value() : std::vector<DeviceInfo>()) {
    if (info.serial_number == serial) {
      return info;
    }
  }
  ADD_FAILURE() << "no camera " << serial;
  return DeviceInfo();
}

class LinuxReplug : public LinuxBackendTest {
 protected:
  // Opens camera `serial`, opens its IMU and reads one sample.
  void start_streaming(const std::string& serial) {
    Result<Device> opened = open_device(camera_with_serial(serial));
    ASSERT_TRUE(opened.ok()) << opened.status().message();
    device_.emplace(std::move(opened.value()));
    ASSERT_TRUE(device_->open_imu().ok());
    ASSERT_TRUE(device_->read_imu().ok());
  }
  Device& device() { return *device_; }

 private:
  std::optional<Device> device_;
};

TEST_F(LinuxReplug, AnotherCameraInTheSamePortIsADisconnectAndNeverRead) {
  const int a = kernel_.add_camera(supported_camera("SN-A", "1-2", 0));
  ASSERT_NO_FATAL_FAILURE(start_streaming("SN-A"));

  const int b = kernel_.replug(a, supported_camera("SN-B", "1-2", 0));
  const std::uint32_t b_counter = kernel_.camera_state(b).imu.next_counter();
  for (int i = 0; i < 3; ++i) {
    const Result<ReadImuResult> read = device().read_imu();
    ASSERT_FALSE(read.ok()) << "read " << i << " took a sample from the camera now at the port";
    EXPECT_EQ(read.status().code(), ErrorCode::PlatformError);
    EXPECT_EQ(read.status().message(), kDisconnect);
  }
  // Camera B gave no sample to A's reader, and its node was never asked for one.
  EXPECT_EQ(kernel_.camera_state(b).imu.next_counter(), b_counter);
  EXPECT_TRUE(diagnosed(kernel_.usb_path("1-2"), "unplugged"));
  EXPECT_EQ(device().info().serial_number, "SN-A");
  ASSERT_TRUE(device().close_imu().ok());

  // B is a camera of its own, opened and read under its own serial number.
  Result<Device> other = open_device(camera_with_serial("SN-B"));
  ASSERT_TRUE(other.ok()) << other.status().message();
  ASSERT_TRUE(other.value().open_imu().ok());
  const Result<ReadImuResult> sample = other.value().read_imu();
  ASSERT_TRUE(sample.ok()) << sample.status().message();
  EXPECT_EQ(sample.value().sample_counter, b_counter & 0xFFFFFu);
  ASSERT_TRUE(other.value().close_imu().ok());
}

TEST_F(LinuxReplug, TheSameCameraPluggedInAgainIsANewDeviceForAnOpenReader) {
  const int a = kernel_.add_camera(supported_camera("SN-A", "1-2", 0));
  ASSERT_NO_FATAL_FAILURE(start_streaming("SN-A"));
  kernel_.replug(a, supported_camera("SN-A", "1-2", 0));
  EXPECT_EQ(device().read_imu().status().message(), kDisconnect);
  EXPECT_EQ(device().read_imu().status().message(), kDisconnect);
  ASSERT_TRUE(device().close_imu().ok());
  // Opened again, the camera streams.
  ASSERT_TRUE(device().open_imu().ok());
  EXPECT_TRUE(device().read_imu().ok());
  ASSERT_TRUE(device().close_imu().ok());
}

TEST_F(LinuxReplug, AScanWhileAReaderIsOpenDoesNotHandTheReaderTheNewCamera) {
  const int a = kernel_.add_camera(supported_camera("SN-A", "1-2", 0));
  ASSERT_NO_FATAL_FAILURE(start_streaming("SN-A"));
  const int b = kernel_.replug(a, supported_camera("SN-B", "1-2", 0));
  // The scan nests a session in the reader's and lists the port's new camera.
  const DeviceInfo listed = camera_with_serial("SN-B");
  EXPECT_EQ(listed.device_path, kernel_.usb_path("1-2"));
  const std::uint32_t b_counter = kernel_.camera_state(b).imu.next_counter();
  EXPECT_EQ(device().read_imu().status().message(), kDisconnect);
  EXPECT_EQ(device().read_imu().status().message(), kDisconnect);
  EXPECT_EQ(kernel_.camera_state(b).imu.next_counter(), b_counter);
  ASSERT_TRUE(device().close_imu().ok());
}

TEST_F(LinuxReplug, ACameraReplacedBeforeItsNodeOpensIsADisconnectWhenTheReaderStarts) {
  const int a = kernel_.add_camera(supported_camera("SN-A", "1-2", 0));
  Result<Device> camera = open_device(camera_with_serial("SN-A"));
  ASSERT_TRUE(camera.ok()) << camera.status().message();
  // The camera changes after the reader's session has listed it and before its node opens.
  before_next_call("SonixCam_SetNodeID", [&] { kernel_.replug(a, supported_camera("SN-B", "1-2", 0)); });
  const Status started = camera.value().open_imu();
  EXPECT_EQ(started.code(), ErrorCode::PlatformError);
  EXPECT_EQ(started.message(), "SonixCam_SetNodeID failed: vendor_code=ecDeviceDisconnect(7)");
  EXPECT_TRUE(diagnosed(kernel_.usb_path("1-2"), "another camera"));
}

TEST_F(LinuxReplug, AFailedReadOfACameraStillThereKeepsItsOwnCodeAndTheNextReadWorks) {
  kernel_.add_camera(supported_camera("SN-A", "1-2", 0));
  Result<Device> camera = open_device(camera_with_serial("SN-A"));
  ASSERT_TRUE(camera.ok()) << camera.status().message();
  ASSERT_TRUE(camera.value().open_imu().ok());
  kernel_.fail_next_control_query(ETIMEDOUT);
  const Result<ReadImuResult> late = camera.value().read_imu();
  ASSERT_FALSE(late.ok());
  EXPECT_EQ(late.status().message(), "SonixCam_XuRead failed: vendor_code=ecSyncTransTimeOut(8)");
  EXPECT_TRUE(camera.value().read_imu().ok());
  ASSERT_TRUE(camera.value().close_imu().ok());
}

TEST_F(LinuxReplug, MemoryRunningOutInAnOperationIsMemoryMallocFailAndTheNextOneWorks) {
  kernel_.add_camera(supported_camera("SN-A", "1-2", 0));
  Result<Device> camera = open_device(camera_with_serial("SN-A"));
  ASSERT_TRUE(camera.ok()) << camera.status().message();
  before_next_call("SonixCam_SetNodeID", [&] { kernel_.exhaust_memory_on_next_open(); });
  const Status failed = camera.value().open_imu();
  EXPECT_EQ(failed.code(), ErrorCode::PlatformError);
  EXPECT_EQ(failed.message(), "SonixCam_SetNodeID failed: vendor_code=ecMemoryMallocFail(6)");
  ASSERT_TRUE(camera.value().open_imu().ok());
  EXPECT_TRUE(camera.value().read_imu().ok());
  ASSERT_TRUE(camera.value().close_imu().ok());
}

TEST_F(LinuxReplug, ARecordTheBackendDidNotHandOutNamesNoCamera) {
  kernel_.add_camera(supported_camera("SN-A", "1-2", 0));
  const win_detail::SonixGlobalLock lock;
  ASSERT_TRUE(SonixCam_Init());
  SonixLib::scDevice_t listed[2] = {};
  std::int32_t count = 0;
  ASSERT_TRUE(SonixCam_EnumCameras(&count, listed, 2));
  ASSERT_EQ(count, 1);
  // The same path and name, but not a record of this backend's.
  SonixLib::scDevice_t forged = {};
  std::memcpy(forged.devicePath, listed[0].devicePath, sizeof(forged.devicePath));
  std::memcpy(forged.deviceName, listed[0].deviceName, sizeof(forged.deviceName));
  std::uint8_t buffer[17] = {};
  EXPECT_FALSE(SonixCam_XuRead(&forged, buffer, sizeof(buffer), 1, 4));
  EXPECT_EQ(win_detail::get_vendor_error_code(nullptr), SonixLib::ecNotFindDevice);
  std::uint8_t ids[4] = {};
  EXPECT_FALSE(SonixCam_GetDevDescriptor(&forged, 0, ids, sizeof(ids), 0, 0));
  EXPECT_TRUE(SonixCam_GetDevDescriptor(&listed[0], 0, ids, sizeof(ids), 0, 0));
  EXPECT_TRUE(SonixCam_UnInit());
}

}  // namespace
}  // namespace tovanel::uvc_stereo::linux_testing
