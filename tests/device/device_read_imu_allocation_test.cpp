#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bridge/platform.h"
#include "bridge/vendor_backend.h"
#include "device/device_rig_support.h"
#include "support/allocation_counter.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/imu_stream.h"
#include "uvc_stereo/simulated_rig.h"

namespace tovanel::uvc_stereo {
namespace {

using device_testing::DeviceRigTest;
using device_testing::supported_camera;
using test_support::AllocationCount;

// The rig in use when a test began, which the uncounted read forwards to.
const detail::bridge::VendorBackend* g_rig_backend = nullptr;

// The rig's own bookkeeping allocates; only what the SDK does around the library call is counted.
bool uncounted_xu_read(SonixLib::scDevice_t* device, std::uint8_t* buffer, std::uint8_t length, std::uint8_t selector,
                       std::uint8_t unit_id) {
  const test_support::UncountedAllocations uncounted;
  return g_rig_backend->xu_read(device, buffer, length, selector, unit_id);
}

class DeviceReadImuAllocations : public DeviceRigTest {
 protected:
  // Routes extension-unit reads through the uncounted wrapper until the test ends.
  void uncount_rig_reads() {
    g_rig_backend = &detail::bridge::active_vendor_backend();
    table_ = *g_rig_backend;
    table_.xu_read = uncounted_xu_read;
    uncounted_.emplace(detail::bridge::replacing_vendor_backend(table_));
  }

  // Puts the rig's own reads back.
  void count_rig_reads() { uncounted_.reset(); }

  void TearDown() override {
    count_rig_reads();
    g_rig_backend = nullptr;
    DeviceRigTest::TearDown();
  }

  detail::bridge::VendorBackend table_{};
  std::optional<detail::bridge::PlatformOverride> uncounted_;
};

TEST_F(DeviceReadImuAllocations, SuccessfulReadsThroughTheDeviceAllocateNothing) {
  const DeviceInfo info = plug_and_scan(supported_camera(2, "SN-IMU-ALLOC"));
  DEVICE_TESTING_OPEN(device, info, 0);
  ASSERT_TRUE(device.open_imu().ok());
  uncount_rig_reads();
  ASSERT_TRUE(device.read_imu().ok());

  int successes = 0;
  AllocationCount count;
  for (int i = 0; i < 100; ++i) {
    const Result<ReadImuResult> sample = device.read_imu();
    successes += sample.ok() ? 1 : 0;
  }
  const long allocations = count.stop();

  EXPECT_EQ(successes, 100);
  EXPECT_EQ(allocations, 0);
  count_rig_reads();
  EXPECT_TRUE(device.close_imu().ok());
}

TEST_F(DeviceReadImuAllocations, StreamingAllocatesNothingPerSampleAfterOpen) {
  rig_.use_virtual_time();
  sim::SimulatedCamera camera = supported_camera(2, "SN-IMU-STREAM-ALLOC");
  camera.imu.timing = sim::SimulatedImuTiming{};
  camera.imu.timing->stall_probability = 0.01;
  const DeviceInfo info = plug_and_scan(camera);
  DEVICE_TESTING_OPEN(device, info, 0);
  Result<ImuStream> stream = ImuStream::open(device);
  ASSERT_TRUE(stream.ok());
  std::vector<ImuStreamSample> samples(512);
  uncount_rig_reads();

  std::size_t delivered = 0;
  AllocationCount count;
  for (int i = 0; i < 20; ++i) {
    const ImuPull pulled = stream.value().pull(samples.data(), samples.size(), std::chrono::seconds(1));
    delivered += pulled.status.ok() ? pulled.count : 0;
  }
  const long allocations = count.stop();

  EXPECT_GT(delivered, 3000u);
  EXPECT_EQ(allocations, 0);
  count_rig_reads();
}

// Guards the guard: the counter does see an allocation made under Device::read_imu, here the text of a refusal
// too long to live inside the string object.
TEST_F(DeviceReadImuAllocations, TheCountSeesTheMessageOfARefusedRead) {
  const DeviceInfo info = plug_and_scan(supported_camera(2, "SN-IMU-ALLOC-MOVED"));
  DEVICE_TESTING_OPEN(device, info, 0);
  const Device keeper = std::move(device);

  AllocationCount count;
  const Result<ReadImuResult> refused = device.read_imu();  // NOLINT(bugprone-use-after-move): the point of the test
  const long allocations = count.stop();

  ASSERT_FALSE(refused.ok());
  EXPECT_EQ(refused.status().message(), "device is closed or moved-from");
  EXPECT_GT(allocations, 0);
}

}  // namespace
}  // namespace tovanel::uvc_stereo
