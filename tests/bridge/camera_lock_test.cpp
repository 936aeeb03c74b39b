#include "bridge/os/camera_lock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

using std::chrono::milliseconds;

constexpr char kCamera[] = "\\\\?\\USB#VID_0C45&PID_6366&MI_00#7&1c0ffee&0&SN1#{65E8773D}\\GLOBAL";

class CameraLockTest : public ::testing::Test {
 protected:
  void TearDown() override { remove_private_camera_lock_place(place_); }

  Result<CameraLock> take(CameraUse use, milliseconds wait = milliseconds(0)) {
    return CameraLock::take(place_, key_, use, wait);
  }

  CameraLockPlace place_ = make_private_camera_lock_place();
  std::string key_ = camera_lock_key(kCamera, 0x0C45, 0x6366, "SN1");
};

TEST_F(CameraLockTest, ImuHoldsShareTheCamera) {
  Result<CameraLock> first = take(CameraUse::Imu);
  Result<CameraLock> second = take(CameraUse::Imu);
  ASSERT_TRUE(first.ok()) << first.status().message();
  ASSERT_TRUE(second.ok()) << second.status().message();
  EXPECT_TRUE(first.value().held());
  EXPECT_TRUE(second.value().held());
}

TEST_F(CameraLockTest, AnImuHoldKeepsAFlashAccessOutEvenInTheSameProcess) {
  Result<CameraLock> imu = take(CameraUse::Imu);
  ASSERT_TRUE(imu.ok());
  const Result<CameraLock> flash = take(CameraUse::Flash);
  ASSERT_FALSE(flash.ok());
  EXPECT_TRUE(is_camera_busy(flash.status()));
  EXPECT_EQ(flash.status().code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(flash.status().message().rfind("camera is busy: its IMU is open in ", 0), 0u) << flash.status().message();
}

TEST_F(CameraLockTest, AFlashAccessKeepsEveryoneElseOut) {
  Result<CameraLock> flash = take(CameraUse::Flash);
  ASSERT_TRUE(flash.ok());
  const Result<CameraLock> imu = take(CameraUse::Imu);
  const Result<CameraLock> other_flash = take(CameraUse::Flash);
  EXPECT_EQ(imu.status().message().rfind("camera is busy: its flash is being accessed by ", 0), 0u)
      << imu.status().message();
  EXPECT_EQ(other_flash.status().message().rfind("camera is busy: its flash is being accessed by ", 0), 0u)
      << other_flash.status().message();
}

TEST_F(CameraLockTest, ReleasingFreesTheCameraAndReleasingTwiceIsHarmless) {
  Result<CameraLock> imu = take(CameraUse::Imu);
  ASSERT_TRUE(imu.ok());
  imu.value().release();
  imu.value().release();
  EXPECT_FALSE(imu.value().held());
  EXPECT_TRUE(take(CameraUse::Flash).ok());
}

TEST_F(CameraLockTest, AMovedHoldKeepsTheCameraAndTheMovedFromOneHoldsNothing) {
  Result<CameraLock> taken = take(CameraUse::Flash);
  ASSERT_TRUE(taken.ok());
  CameraLock moved(std::move(taken).value());
  EXPECT_TRUE(moved.held());
  EXPECT_FALSE(take(CameraUse::Imu).ok());
  CameraLock target;
  target = std::move(moved);
  EXPECT_FALSE(moved.held());
  EXPECT_TRUE(target.held());
  EXPECT_FALSE(take(CameraUse::Imu).ok());
}

TEST_F(CameraLockTest, MoveAssigningOntoAHoldReleasesItsCamera) {
  const std::string other_key = camera_lock_key("\\\\?\\usb#other", 0, 0, "");
  Result<CameraLock> first = take(CameraUse::Flash);
  Result<CameraLock> second = CameraLock::take(place_, other_key, CameraUse::Flash, milliseconds(0));
  ASSERT_TRUE(first.ok());
  ASSERT_TRUE(second.ok());
  first.value() = std::move(second).value();
  EXPECT_TRUE(take(CameraUse::Flash).ok());
  EXPECT_FALSE(CameraLock::take(place_, other_key, CameraUse::Imu, milliseconds(0)).ok());
}

TEST_F(CameraLockTest, ABoundedWaitGivesUpAfterItsBound) {
  Result<CameraLock> imu = take(CameraUse::Imu);
  ASSERT_TRUE(imu.ok());
  const auto started = std::chrono::steady_clock::now();
  const Result<CameraLock> flash = take(CameraUse::Flash, milliseconds(40));
  EXPECT_GE(std::chrono::steady_clock::now() - started, milliseconds(40));
  EXPECT_TRUE(is_camera_busy(flash.status()));
}

TEST_F(CameraLockTest, EverySpellingOfOneDevicePathIsOneCamera) {
  const std::string lower =
      camera_lock_key("\\\\?\\usb#vid_0c45&pid_6366&mi_00#7&1c0ffee&0&sn1#{65e8773d}\\global", 0x0C45, 0x6366, "SN1");
  EXPECT_EQ(lower, key_);
  EXPECT_EQ(camera_lock_name(place_, lower), camera_lock_name(place_, key_));
  EXPECT_NE(camera_lock_name(place_, camera_lock_key("\\\\?\\usb#vid_0c45&pid_6366#other", 0, 0, "")),
            camera_lock_name(place_, key_));
}

TEST_F(CameraLockTest, ACameraWithoutAPathIsKnownByItsIdsAndSerialNumber) {
  EXPECT_EQ(camera_lock_key("", 0x0C45, 0x6366, "SN1"), "usb:0c456366:SN1");
  EXPECT_NE(camera_lock_key("", 0x0C45, 0x6366, "SN1"), camera_lock_key("", 0x0C45, 0x6366, "SN2"));
}

TEST_F(CameraLockTest, ThePlaceThatCannotBeReachedIsNotMistakenForABusyCamera) {
#ifdef _WIN32
  // A kernel object namespace that does not exist.
  const CameraLockPlace missing{"NoSuchNamespace\\"};
#else
  const CameraLockPlace missing{place_.where + "/no-such-directory"};
#endif
  const Result<CameraLock> held = CameraLock::take(missing, key_, CameraUse::Flash, milliseconds(0));
  ASSERT_FALSE(held.ok());
  EXPECT_EQ(held.status().code(), ErrorCode::DeviceUnavailable);
  EXPECT_FALSE(is_camera_busy(held.status()));
  EXPECT_NE(held.status().message().find(missing.where), std::string::npos) << held.status().message();
}

TEST(CameraBusyMessage, NamesWhatHoldsTheCameraAndTheProcesses) {
  EXPECT_EQ(camera_busy(CameraUse::Imu, {4211}).message(), "camera is busy: its IMU is open in process 4211");
  EXPECT_EQ(camera_busy(CameraUse::Imu, {4211, 4300}).message(),
            "camera is busy: its IMU is open in processes 4211, 4300");
  EXPECT_EQ(camera_busy(CameraUse::Flash, {77}).message(), "camera is busy: its flash is being accessed by process 77");
  EXPECT_EQ(camera_busy(CameraUse::Imu, {}).message(), "camera is busy: its IMU is open in another program");
  EXPECT_EQ(camera_busy(CameraUse::Flash, {}).message(),
            "camera is busy: its flash is being accessed by another program");
  EXPECT_TRUE(is_camera_busy(camera_busy(CameraUse::Flash, {})));
  EXPECT_FALSE(is_camera_busy(Status(ErrorCode::DeviceUnavailable, "SonixCam_Init failed")));
  EXPECT_FALSE(is_camera_busy(Status(ErrorCode::InternalError, "camera is busy: not really")));
}

}  // namespace
}  // namespace tovanel::uvc_stereo::detail::bridge
