#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "device/imu_stream_support.h"
#include "uvc_stereo/imu_stream.h"

// What the IMU stream does when a read fails mid-stream: the pull ends with the SDK's
// error after everything read before it, and the stream carries on with the next pull.
namespace tovanel::uvc_stereo {
namespace {

using device_testing::DeviceRigTest;
using device_testing::kSecond;
using device_testing::stream_for;
using device_testing::StreamedTrace;
using device_testing::timed_camera;

class ImuStreamFaultTest : public DeviceRigTest {
 protected:
  void SetUp() override { rig_.use_virtual_time(); }

  // Runs `fault` as the `nth` IMU read from now begins.
  void on_read_number(int nth, std::function<void()> fault) {
    auto seen = std::make_shared<int>(0);
    rig_.on_call("SonixCam_XuRead", [seen, nth, fault](const sim::VendorCall&) {
      if (++*seen == nth) {
        fault();
      }
    });
  }

  // Pulls up to 100 samples with a generous timeout.
  static ImuPull pull_into(ImuStream& stream, std::vector<ImuStreamSample>& samples) {
    samples.assign(100, ImuStreamSample{});
    const ImuPull pulled = stream.pull(samples.data(), samples.size(), std::chrono::seconds(5));
    samples.resize(pulled.count);
    return pulled;
  }
};

struct StatusByteCase {
  std::uint8_t status_byte;
  ErrorCode code;
  const char* message;
};

class ImuStreamStatusByte : public ImuStreamFaultTest, public ::testing::WithParamInterface<StatusByteCase> {};

TEST_P(ImuStreamStatusByte, EndsThePullWithItsErrorAfterTheSamplesReadBeforeAndTheNextPullCarriesOn) {
  IMU_STREAM_TESTING_OPEN(device, stream, timed_camera("SN-FAULT-STATUS", 200.0, 0.0), ImuStreamOptions{});
  static_cast<void>(rig_.take_imu_truth(0));
  on_read_number(40, [this] { rig_.queue_imu_status(0, GetParam().status_byte); });

  std::vector<ImuStreamSample> before;
  const ImuPull failed = pull_into(stream, before);
  EXPECT_EQ(failed.status.code(), GetParam().code);
  EXPECT_EQ(failed.status.message(), GetParam().message);
  const std::vector<sim::SimulatedImuSampleTruth> truth_before = rig_.take_imu_truth(0);
  ASSERT_EQ(before.size(), truth_before.size()) << "every sample read before the failure is delivered";
  ASSERT_GE(before.size(), 10u);
  EXPECT_EQ(before.back().counter, truth_before.back().counter);

  std::vector<ImuStreamSample> after;
  const ImuPull resumed = pull_into(stream, after);
  EXPECT_TRUE(resumed.status.ok()) << resumed.status.message();
  ASSERT_FALSE(after.empty());
  EXPECT_EQ(after.front().sample_index, before.back().sample_index + 1 + after.front().missed_before)
      << "the same timeline continues";
  EXPECT_GT(after.front().host_time_ns, before.back().host_time_ns);
  EXPECT_FALSE(after.front().restarted);
  const ImuStreamStatistics stats = stream.statistics().value();
  EXPECT_EQ(stats.failed_reads, 1u);
  EXPECT_EQ(stats.reads, stats.samples_delivered + stats.duplicate_reads + stats.failed_reads);
}

INSTANTIATE_TEST_SUITE_P(
    StatusBytes, ImuStreamStatusByte,
    ::testing::Values(StatusByteCase{0xF1, ErrorCode::DeviceUnavailable, "IMU device reported initialization failure"},
                      StatusByteCase{0xF2, ErrorCode::ReadFailed, "IMU device reported read failure"}));

TEST_F(ImuStreamFaultTest, UnplugEndsThePullWithTheReadsFailureAfterTheSamplesReadBefore) {
  IMU_STREAM_TESTING_OPEN(device, stream, timed_camera("SN-FAULT-UNPLUG", 200.0, 0.0), ImuStreamOptions{});
  static_cast<void>(rig_.take_imu_truth(0));
  on_read_number(30, [this] { rig_.unplug(0); });

  std::vector<ImuStreamSample> before;
  const ImuPull failed = pull_into(stream, before);
  EXPECT_EQ(failed.status.code(), ErrorCode::PlatformError);
  EXPECT_NE(failed.status.message().find("SonixCam_XuRead failed"), std::string::npos) << failed.status.message();
  EXPECT_EQ(before.size(), rig_.take_imu_truth(0).size());
  ASSERT_GE(before.size(), 5u);

  // While the camera is gone every pull fails the same way, at once and with nothing delivered.
  std::vector<ImuStreamSample> gone;
  const ImuPull again = pull_into(stream, gone);
  EXPECT_EQ(again.status.code(), ErrorCode::PlatformError);
  EXPECT_TRUE(gone.empty());
}

TEST_F(ImuStreamFaultTest, CameraPluggedBackContinuesAsARestart) {
  IMU_STREAM_TESTING_OPEN(device, stream, timed_camera("SN-FAULT-REPLUG", 200.0, 0.0), ImuStreamOptions{});
  const StreamedTrace first = stream_for(rig_, stream, 3 * kSecond);
  ASSERT_FALSE(first.samples.empty());
  rig_.unplug(0);
  std::vector<ImuStreamSample> gone;
  EXPECT_FALSE(pull_into(stream, gone).status.ok());
  rig_.plug(0);
  const StreamedTrace second = stream_for(rig_, stream, 2 * kSecond);
  ASSERT_TRUE(second.last_status.ok()) << second.last_status.message();
  ASSERT_FALSE(second.samples.empty());
  EXPECT_TRUE(second.samples.front().restarted) << "the camera powered up afresh, its counter from 0";
  EXPECT_GT(second.samples.front().host_time_ns, first.samples.back().host_time_ns);
  EXPECT_EQ(stream.statistics().value().restarts, 1u);
}

TEST_F(ImuStreamFaultTest, FailedVendorReadEndsThePullAndTheNextPullCarriesOn) {
  IMU_STREAM_TESTING_OPEN(device, stream, timed_camera("SN-FAULT-VENDOR", 200.0, 0.0), ImuStreamOptions{});
  sim::VendorFault fault;
  fault.call = "SonixCam_XuRead";
  fault.nth = 25;
  fault.vendor_code = 7;
  rig_.add_fault(fault);
  std::vector<ImuStreamSample> before;
  const ImuPull failed = pull_into(stream, before);
  EXPECT_EQ(failed.status.code(), ErrorCode::PlatformError);
  EXPECT_NE(failed.status.message().find("SonixCam_XuRead failed"), std::string::npos) << failed.status.message();
  EXPECT_GE(before.size(), 5u);
  std::vector<ImuStreamSample> after;
  EXPECT_TRUE(pull_into(stream, after).status.ok());
  EXPECT_FALSE(after.empty());
}

}  // namespace
}  // namespace tovanel::uvc_stereo
