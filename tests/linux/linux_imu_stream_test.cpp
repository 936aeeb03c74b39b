// The IMU stream on the Linux backend over a fake kernel whose camera's IMU lives in real time.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <vector>

#include "linux/linux_fixture.h"
#include "support/allocation_counter.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/imu_stream.h"

namespace tovanel::uvc_stereo::linux_testing {
namespace {

using LinuxImuStream = LinuxBackendTest;

// A camera whose IMU samples at 500 Hz, each read taking 0.2 to 0.6 ms of real time.
FakeUvcCamera timed_camera() {
  FakeUvcCamera camera = supported_camera("SN-STREAM", "1-2", 0);
  sim::SimulatedImuTiming timing;
  timing.rate_hz = 500.0;
  timing.latency_min_ns = 200000;
  timing.latency_max_ns = 600000;
  camera.model.imu.timing = timing;
  return camera;
}

TEST_F(LinuxImuStream, DeliversTheCamerasSamplesOnceInOrderWithoutAllocating) {
  const int camera = kernel_.add_camera(timed_camera());
  Result<Device> device = open_device(only_camera());
  ASSERT_TRUE(device.ok()) << device.status().message();
  Result<ImuStream> stream = ImuStream::open(device.value());
  ASSERT_TRUE(stream.ok()) << stream.status().message();
  static_cast<void>(kernel_.camera_state(camera).timed_imu->take_truth());

  std::vector<ImuStreamSample> samples(150);
  test_support::AllocationCount count;
  const ImuPull pulled = stream.value().pull(samples.data(), samples.size(), std::chrono::seconds(5));
  const long allocations = count.stop();

  ASSERT_TRUE(pulled.status.ok()) << pulled.status.message();
  ASSERT_EQ(pulled.count, samples.size());
  EXPECT_EQ(allocations, 0);
  const std::vector<sim::SimulatedImuSampleTruth> truth = kernel_.camera_state(camera).timed_imu->take_truth();
  ASSERT_EQ(truth.size(), pulled.count);
  for (std::size_t i = 0; i < pulled.count; ++i) {
    EXPECT_EQ(samples[i].counter, truth[i].counter) << "sample " << i;
    if (i > 0) {
      EXPECT_EQ(samples[i].sample_index, samples[i - 1].sample_index + 1 + samples[i].missed_before);
      EXPECT_GT(samples[i].host_time_ns, samples[i - 1].host_time_ns);
    }
    // Stamped on the clock the fake camera's truth is kept on (CLOCK_MONOTONIC), within the bounds its reads give,
    // however long the loaded machine made them.
    const double error_ns = static_cast<double>(samples[i].host_time_ns) - static_cast<double>(truth[i].taken_ns);
    const double allowed_ns = static_cast<double>(samples[i].host_time_uncertainty_ns) + 1e6;
    EXPECT_LE(error_ns < 0 ? -error_ns : error_ns, allowed_ns) << "sample " << i;
  }
  ASSERT_TRUE(device.value().close_imu().ok());
}

TEST_F(LinuxImuStream, ReadImuAllocatesNothingOnTheLinuxBackendEither) {
  kernel_.add_camera(supported_camera("SN-READ", "1-2", 0));
  Result<Device> device = open_device(only_camera());
  ASSERT_TRUE(device.ok()) << device.status().message();
  ASSERT_TRUE(device.value().open_imu().ok());
  ASSERT_TRUE(device.value().read_imu().ok());
  int successes = 0;
  test_support::AllocationCount count;
  for (int i = 0; i < 20; ++i) {
    successes += device.value().read_imu().ok() ? 1 : 0;
  }
  const long allocations = count.stop();
  EXPECT_EQ(successes, 20);
  EXPECT_EQ(allocations, 0);
  ASSERT_TRUE(device.value().close_imu().ok());
}

TEST_F(LinuxImuStream, StatusByteMidStreamEndsThePullAndTheNextPullCarriesOn) {
  const int camera = kernel_.add_camera(timed_camera());
  Result<Device> device = open_device(only_camera());
  ASSERT_TRUE(device.ok()) << device.status().message();
  Result<ImuStream> stream = ImuStream::open(device.value());
  ASSERT_TRUE(stream.ok());
  std::vector<ImuStreamSample> samples(20);
  ASSERT_EQ(stream.value().pull(samples.data(), samples.size(), std::chrono::seconds(2)).count, 20u);
  const std::uint64_t last_index = samples.back().sample_index;
  kernel_.camera_state(camera).imu_status.push_back(0xF1);
  const ImuPull failed = stream.value().pull(samples.data(), samples.size(), std::chrono::seconds(2));
  EXPECT_EQ(failed.status.code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(failed.status.message(), "IMU device reported initialization failure");
  const ImuPull resumed = stream.value().pull(samples.data(), samples.size(), std::chrono::seconds(2));
  ASSERT_TRUE(resumed.status.ok()) << resumed.status.message();
  ASSERT_GT(resumed.count, 0u);
  EXPECT_GT(samples[0].sample_index, last_index);
  ASSERT_TRUE(device.value().close_imu().ok());
}

}  // namespace
}  // namespace tovanel::uvc_stereo::linux_testing
