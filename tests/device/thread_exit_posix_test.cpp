#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <string>

#include "device/device_rig_support.h"
#include "support/rig_checks.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/uvc_stereo_c.h"

// A thread may end itself (pthread_exit) from a rig hook in the middle of an SDK operation. It unwinds with a forced
// unwind that every catch in the SDK must let pass: the thread then ends cleanly, and the destructors on its way
// close the library session and free the vendor lock, so the SDK goes on serving other threads.
namespace tovanel::uvc_stereo {
namespace {

using device_testing::DeviceRigTest;
using device_testing::supported_camera;

// What a thread returns when its operation came back instead of ending the thread.
void* const kOperationReturned = reinterpret_cast<void*>(static_cast<std::intptr_t>(1));
// What pthread_exit hands its joiner from the hook.
void* const kThreadExited = reinterpret_cast<void*>(static_cast<std::intptr_t>(2));

// Runs `operation` on a new thread and returns what the thread ended with.
template <typename Operation>
void* run_on_own_thread(Operation& operation) {
  pthread_t thread{};
  const auto start = [](void* argument) -> void* {
    (*static_cast<Operation*>(argument))();
    return kOperationReturned;
  };
  EXPECT_EQ(pthread_create(&thread, nullptr, start, &operation), 0);
  void* ended_with = nullptr;
  EXPECT_EQ(pthread_join(thread, &ended_with), 0);
  return ended_with;
}

class ThreadExit : public DeviceRigTest {
 protected:
  // The first `call` the rig serves ends the calling thread; later calls (the session's close on the way out) go on.
  void exit_thread_on(const std::string& call) {
    rig_.on_call(call, [this](const sim::VendorCall&) {
      if (!exited_.exchange(true)) {
        pthread_exit(kThreadExited);
      }
    });
  }

  std::atomic<bool> exited_{false};
};

TEST_F(ThreadExit, InsideAScanEndsTheThreadAndLeavesTheSdkUsable) {
  rig_.add_camera(supported_camera(0, "SN-EXIT-1"));
  exit_thread_on("SonixCam_EnumCameras");
  auto scan = [] { (void)scan_devices(); };

  EXPECT_EQ(run_on_own_thread(scan), kThreadExited);

  EXPECT_EQ(rig_.open_sessions(), 0);
  test_support::expect_vendor_lock_free("after a thread ended inside a scan");
  const Result<std::vector<DeviceInfo>> again = scan_devices();
  ASSERT_TRUE(again.ok()) << again.status().message();
  EXPECT_EQ(again.value().size(), 1U);
}

TEST_F(ThreadExit, InsideAFlashReadEndsTheThreadAndLeavesTheDeviceUsable) {
  const DeviceInfo info = plug_and_scan(supported_camera(0, "SN-EXIT-2"));
  DEVICE_TESTING_OPEN(device, info, 0);
  exit_thread_on("SonixCam_CstmReadFromSF");
  auto read = [&device] { (void)device.read_json(); };

  EXPECT_EQ(run_on_own_thread(read), kThreadExited);

  EXPECT_EQ(rig_.open_sessions(), 0);
  test_support::expect_vendor_lock_free("after a thread ended inside a flash read");
  rig_.clear_call_hooks();
  const Result<ReadJsonResult> again = device.read_json();
  EXPECT_NE(again.status().code(), ErrorCode::InternalError) << again.status().message();
}

TEST_F(ThreadExit, InsideACScanEndsTheThreadAndLeavesTheSdkUsable) {
  rig_.add_camera(supported_camera(0, "SN-EXIT-3"));
  exit_thread_on("SonixCam_EnumCameras");
  auto scan = [] {
    uvc_stereo_device_list_t* list = nullptr;
    (void)uvc_stereo_scan_devices(nullptr, &list);
    uvc_stereo_device_list_free(list);
  };

  EXPECT_EQ(run_on_own_thread(scan), kThreadExited);

  EXPECT_EQ(rig_.open_sessions(), 0);
  test_support::expect_vendor_lock_free("after a thread ended inside a C scan");
  uvc_stereo_device_list_t* list = nullptr;
  ASSERT_EQ(uvc_stereo_scan_devices(nullptr, &list), UVC_STEREO_OK);
  std::size_t count = 0;
  EXPECT_EQ(uvc_stereo_device_list_count(list, &count), UVC_STEREO_OK);
  EXPECT_EQ(count, 1U);
  uvc_stereo_device_list_free(list);
}

}  // namespace
}  // namespace tovanel::uvc_stereo
