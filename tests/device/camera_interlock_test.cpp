#include <gtest/gtest.h>
#ifndef _WIN32
#include <unistd.h>
#endif

#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bridge/os/camera_lock.h"
#include "device/device_rig_support.h"
#include "uvc_stereo/device.h"

// One camera, several Devices: an open IMU holds the camera shared with other IMU readers and keeps every flash
// access of other Devices out; a flash access holds it alone.
namespace tovanel::uvc_stereo {
namespace {

using device_testing::calls_named;
using device_testing::DeviceRigTest;
using device_testing::supported_camera;

constexpr char kImuOpen[] = "IMU must be closed before flash JSON access";

// The holder, as the busy message names it: this process where the platform tells which process holds the camera.
#ifdef _WIN32
std::string imu_busy_here() { return "camera is busy: its IMU is open in another program"; }
std::string flash_busy_here() { return "camera is busy: its flash is being accessed by another program"; }
#else
std::string imu_busy_here() { return "camera is busy: its IMU is open in process " + std::to_string(::getpid()); }
std::string flash_busy_here() {
  return "camera is busy: its flash is being accessed by process " + std::to_string(::getpid());
}
#endif

OpenDeviceOptions waiting(std::uint32_t busy_wait_ms) {
  OpenDeviceOptions options;
  options.busy_wait_ms = busy_wait_ms;
  return options;
}

class CameraInterlock : public DeviceRigTest {
 protected:
  void SetUp() override {
    // Model 0 has a firmware rule, so opening its IMU reads the firmware version first.
    info_ = plug_and_scan(supported_camera(0, "SN-LOCK-0001"));
    other_camera_ = plug_and_scan(supported_camera(2, "SN-LOCK-0002"));
  }

  Device open(const DeviceInfo& info, std::uint32_t busy_wait_ms) {
    Result<Device> opened = open_device(info, waiting(busy_wait_ms));
    EXPECT_TRUE(opened.ok()) << opened.status().message();
    return std::move(opened).value();
  }

  std::size_t flash_calls() const {
    return calls_named(rig_, "SonixCam_CstmReadFromSF").size() + calls_named(rig_, "SonixCam_WriteToSF").size() +
           calls_named(rig_, "SonixCam_SectorEraseSF").size();
  }

  DeviceInfo info_;
  DeviceInfo other_camera_;
};

TEST_F(CameraInterlock, OpenImuInOneDeviceRefusesFlashAccessInAnotherWithTheBusyError) {
  Device streaming = open(info_, 0);
  Device configuring = open(info_, 0);
  ASSERT_TRUE(streaming.open_imu().ok());
  rig_.clear_calls();

  const Result<ReadJsonResult> read = configuring.read_json();
  EXPECT_EQ(read.status().code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(read.status().message(), imu_busy_here());
  const Status written = configuring.write_json("{\"a\":1}");
  EXPECT_EQ(written.code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(written.message(), imu_busy_here());
  EXPECT_EQ(flash_calls(), 0u);
}

TEST_F(CameraInterlock, ClosingTheImuFreesTheCameraForTheOtherDevice) {
  Device streaming = open(info_, 0);
  Device configuring = open(info_, 0);
  ASSERT_TRUE(streaming.open_imu().ok());
  ASSERT_FALSE(configuring.write_json("{\"a\":1}").ok());

  ASSERT_TRUE(streaming.close_imu().ok());
  const Status written = configuring.write_json("{\"a\":1}");
  ASSERT_TRUE(written.ok()) << written.message();
  const Result<ReadJsonResult> read = configuring.read_json();
  ASSERT_TRUE(read.ok()) << read.status().message();
  EXPECT_EQ(read.value().json, "{\"a\":1}");
}

TEST_F(CameraInterlock, DestroyingTheDeviceWithTheOpenImuFreesTheCamera) {
  Device configuring = open(info_, 0);
  {
    Device streaming = open(info_, 0);
    ASSERT_TRUE(streaming.open_imu().ok());
    ASSERT_FALSE(configuring.read_json().ok());
  }
  // The camera answers again: its erased flash holds no record yet.
  EXPECT_EQ(configuring.read_json().status().code(), ErrorCode::BadMagic);
}

TEST_F(CameraInterlock, TheSameDeviceKeepsItsOwnMessage) {
  Device device = open(info_, 0);
  ASSERT_TRUE(device.open_imu().ok());
  const Status written = device.write_json("{}");
  EXPECT_EQ(written.code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(written.message(), kImuOpen);
}

TEST_F(CameraInterlock, ImuReadersShareTheCamera) {
  Device first = open(info_, 0);
  Device second = open(info_, 0);
  ASSERT_TRUE(first.open_imu().ok());
  const Status opened = second.open_imu();
  ASSERT_TRUE(opened.ok()) << opened.message();
  EXPECT_TRUE(first.read_imu().ok());
  EXPECT_TRUE(second.read_imu().ok());
}

TEST_F(CameraInterlock, AnotherCameraIsNotHeld) {
  Device streaming = open(info_, 0);
  Device elsewhere = open(other_camera_, 0);
  ASSERT_TRUE(streaming.open_imu().ok());
  const Status written = elsewhere.write_json("{\"b\":2}");
  EXPECT_TRUE(written.ok()) << written.message();
}

TEST_F(CameraInterlock, ImuOpenIsRefusedWhileAFlashAccessHoldsTheCamera) {
  Device device = open(info_, 0);
  Result<detail::bridge::CameraLock> flash = detail::bridge::CameraLock::take(
      detail::bridge::active_camera_lock_place(),
      detail::bridge::camera_lock_key(info_.device_path, info_.vendor_id, info_.product_id, info_.serial_number),
      detail::bridge::CameraUse::Flash, std::chrono::milliseconds(0));
  ASSERT_TRUE(flash.ok()) << flash.status().message();

  const Status opened = device.open_imu();
  EXPECT_EQ(opened.code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(opened.message(), flash_busy_here());
  EXPECT_EQ(device.read_imu().status().message(), "IMU is not open");
  EXPECT_EQ(rig_.open_sessions(), 0);
}

TEST_F(CameraInterlock, ABusyRefusalAfterItsWaitTouchesNoFlashAndLeavesNoSession) {
  Device streaming = open(info_, 0);
  Device configuring = open(info_, 30);
  ASSERT_TRUE(streaming.open_imu().ok());
  rig_.clear_calls();

  const auto started = std::chrono::steady_clock::now();
  const Status written = configuring.write_json("{\"a\":1}");
  const auto waited = std::chrono::steady_clock::now() - started;
  EXPECT_EQ(written.message(), imu_busy_here());
  EXPECT_GE(waited, std::chrono::milliseconds(30));
  EXPECT_EQ(flash_calls(), 0u);
  // The wait happened outside any library session of the refused access: only the streaming one is open.
  EXPECT_EQ(rig_.open_sessions(), 1);
}

TEST_F(CameraInterlock, AFlashAccessWaitsForAHolderThatLetsGoInTime) {
  Device streaming = open(info_, 0);
  Device configuring = open(info_, 20000);
  ASSERT_TRUE(streaming.open_imu().ok());

  std::thread closer([&streaming] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_TRUE(streaming.close_imu().ok());
  });
  const Status written = configuring.write_json("{\"waited\":true}");
  closer.join();
  ASSERT_TRUE(written.ok()) << written.message();
  EXPECT_EQ(configuring.read_json().value().json, "{\"waited\":true}");
}

TEST_F(CameraInterlock, TheWaitBoundComesFromTheOpenOptions) {
  EXPECT_EQ(OpenDeviceOptions{}.busy_wait_ms, 5000u);
  EXPECT_EQ(FlashConfig{}.busy_wait_ms, 5000u);
  Device device = open(info_, 1234);
  EXPECT_EQ(device.flash_config().busy_wait_ms, 1234u);
}

}  // namespace
}  // namespace tovanel::uvc_stereo
