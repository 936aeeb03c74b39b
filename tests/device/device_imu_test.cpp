#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "capability/capability_report_encoder.h"
#include "device/device_rig_support.h"
#include "uvc_stereo/device.h"

namespace tovanel::uvc_stereo {
namespace {

using device_testing::calls_named;
using device_testing::count_calls;
using device_testing::DeviceRigTest;
using device_testing::ms;
using device_testing::supported_camera;

constexpr char kNoImu[] = "IMU is not supported on this device";

// The IMU reads of the call log: extension-unit reads other than the capability report's selector 11.
std::vector<sim::VendorCall> imu_reads(const std::vector<sim::VendorCall>& calls) {
  std::vector<sim::VendorCall> reads;
  for (const sim::VendorCall& call : calls_named(calls, "SonixCam_XuRead")) {
    if (call.args.size() >= 3 && call.args[1] != 11) {
      reads.push_back(call);
    }
  }
  return reads;
}

CapabilityReport flash_only_report() {
  CapabilityReport report;
  report.capability_bits = kCapabilityFlashUserSpace;
  report.flash_user_space = FlashUserSpace{0x51000, 0x10000};
  return report;
}

class DeviceImu : public DeviceRigTest {
 protected:
  DeviceInfo plug(std::size_t row, const std::string& serial, const std::string& firmware = "V1.0.0") {
    sim::SimulatedCamera camera = supported_camera(row, serial);
    camera.firmware_version = firmware;
    DeviceInfo info = plug_and_scan(camera);
    rig_.clear_calls();
    pauses_.clear();
    return info;
  }
};

TEST_F(DeviceImu, ReadBeforeOpenIsRefused) {
  const DeviceInfo info = plug(2, "SN-IMU-NOTOPEN");
  DEVICE_TESTING_OPEN(device, info, 0);
  rig_.clear_calls();
  const Result<ReadImuResult> sample = device.read_imu();
  EXPECT_EQ(sample.status().code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(sample.status().message(), "IMU is not open");
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(DeviceImu, OpenReadsSamplesAndCloseEndsTheSession) {
  const DeviceInfo info = plug(2, "SN-IMU-READ");
  DEVICE_TESTING_OPEN(device, info, 0);
  rig_.clear_calls();
  ASSERT_TRUE(device.open_imu().ok());
  EXPECT_EQ(rig_.open_sessions(), 1);
  EXPECT_TRUE(device.has_imu_transport());
  EXPECT_EQ(device.transport_flags(), kTransportImu);

  const Result<ReadImuResult> first = device.read_imu();
  ASSERT_TRUE(first.ok()) << first.status().message();
  const Result<ReadImuResult> second = device.read_imu();
  ASSERT_TRUE(second.ok()) << second.status().message();
  EXPECT_EQ(second.value().sample_counter, (first.value().sample_counter + 1) & 0xFFFFFu);
  EXPECT_GE(second.value().host_timestamp_ns, first.value().host_timestamp_ns);

  const auto reads = imu_reads(rig_.calls());
  ASSERT_EQ(reads.size(), 2u);
  EXPECT_EQ(reads[0].args, (std::vector<std::int64_t>{17, 10, 4}));

  ASSERT_TRUE(device.close_imu().ok());
  EXPECT_EQ(rig_.open_sessions(), 0);
  EXPECT_EQ(rig_.call_names().back(), "SonixCam_UnInit");
  EXPECT_EQ(device.read_imu().status().message(), "IMU is not open");
}

TEST_F(DeviceImu, SecondOpenKeepsTheFirstReader) {
  const DeviceInfo info = plug(2, "SN-IMU-TWICE");
  DEVICE_TESTING_OPEN(device, info, 0);
  ASSERT_TRUE(device.open_imu().ok());
  const Result<ReadImuResult> before = device.read_imu();
  ASSERT_TRUE(before.ok());
  rig_.clear_calls();

  const Status again = device.open_imu();
  EXPECT_TRUE(again.ok());
  EXPECT_TRUE(again.message().empty());
  EXPECT_EQ(count_calls(rig_.calls(), "SonixCam_Init"), 0u);
  EXPECT_TRUE(rig_.calls().empty());
  EXPECT_EQ(rig_.open_sessions(), 1);

  // The same reader goes on: the counter continues where it was.
  const Result<ReadImuResult> after = device.read_imu();
  ASSERT_TRUE(after.ok());
  EXPECT_EQ(after.value().sample_counter, (before.value().sample_counter + 1) & 0xFFFFFu);
}

TEST_F(DeviceImu, ImuTransportStaysProvenAfterClose) {
  const DeviceInfo info = plug(3, "SN-IMU-STAYS");
  DEVICE_TESTING_OPEN(device, info, 1);
  EXPECT_FALSE(device.has_imu_transport());
  ASSERT_TRUE(device.open_imu().ok());
  ASSERT_TRUE(device.close_imu().ok());
  EXPECT_TRUE(device.has_imu_transport());
  EXPECT_TRUE(device.has_flash_transport());
  EXPECT_EQ(device.transport_flags(), kTransportFlash | kTransportImu);
}

TEST_F(DeviceImu, CloseWithoutAReaderSucceeds) {
  const DeviceInfo info = plug(3, "SN-IMU-CLOSE");
  DEVICE_TESTING_OPEN(device, info, 0);
  rig_.clear_calls();
  const Status closed = device.close_imu();
  EXPECT_TRUE(closed.ok());
  EXPECT_TRUE(rig_.calls().empty());
  EXPECT_TRUE(device.close_imu().ok());
}

TEST_F(DeviceImu, DeviceWithoutImuRefusesOpenAndConversion) {
  sim::SimulatedCamera camera = supported_camera(2, "SN-IMU-NONE");
  camera.capability_report = detail::encode_xu_capability_report(flash_only_report());
  const DeviceInfo info = plug_and_scan(camera);
  DEVICE_TESTING_OPEN(device, info, 0);
  rig_.clear_calls();

  const Status opened = device.open_imu();
  EXPECT_EQ(opened.code(), ErrorCode::NotSupported);
  EXPECT_EQ(opened.message(), kNoImu);
  EXPECT_EQ(device.imu_conversion_options().status().code(), ErrorCode::NotSupported);
  EXPECT_EQ(device.imu_conversion_options().status().message(), kNoImu);
  EXPECT_EQ(device.convert_imu(ReadImuResult{}).status().message(), kNoImu);
  EXPECT_TRUE(rig_.calls().empty());
  EXPECT_FALSE(device.has_imu_transport());
  // The flash is declared, so its (erased) record is read rather than refused.
  EXPECT_EQ(device.read_json().status().code(), ErrorCode::BadMagic);
}

TEST_F(DeviceImu, FirmwareGateRefusalLeavesNoReader) {
  const DeviceInfo info = plug(0, "SN-IMU-GATED", "V260416-b");
  DEVICE_TESTING_OPEN(device, info, 0);
  rig_.clear_calls();
  pauses_.clear();
  const Status opened = device.open_imu();
  EXPECT_EQ(opened.code(), ErrorCode::NotSupported);
  EXPECT_EQ(opened.message(), kNoImu);
  EXPECT_EQ(pauses_.durations(), ms({200}));
  EXPECT_EQ(count_calls(rig_.calls(), "SonixCam_SetNodeID"), 0u);
  EXPECT_FALSE(device.has_imu_transport());
  EXPECT_EQ(device.read_imu().status().message(), "IMU is not open");
  // Flash JSON access is still possible: no reader was left behind.
  EXPECT_NE(device.read_json().status().message(), "IMU must be closed before flash JSON access");
}

TEST_F(DeviceImu, GatedModelWithAllowedFirmwarePausesOnceBeforeTheReaderOpens) {
  const DeviceInfo info = plug(0, "SN-IMU-ALLOWED", "260415");
  DEVICE_TESTING_OPEN(device, info, 0);
  rig_.clear_calls();
  pauses_.clear();
  ASSERT_TRUE(device.open_imu().ok());
  const auto pauses = pauses_.pauses();
  ASSERT_EQ(pauses.size(), 1u);
  EXPECT_EQ(pauses[0].duration, std::chrono::milliseconds(200));
  // The version read's session had ended and the reader's had not begun when the pause came.
  const auto calls = rig_.calls();
  ASSERT_GT(calls.size(), pauses[0].calls_before);
  EXPECT_EQ(calls[pauses[0].calls_before - 1].name, "SonixCam_UnInit");
  EXPECT_EQ(calls[pauses[0].calls_before].name, "SonixCam_Init");
  EXPECT_EQ(count_calls(rig_.calls(), "SonixCam_GetVersion"), 1u);
}

TEST_F(DeviceImu, UngatedModelOpensWithoutVersionReadOrPause) {
  const DeviceInfo info = plug(4, "SN-IMU-UNGATED", "V260416-b");
  DEVICE_TESTING_OPEN(device, info, 0);
  rig_.clear_calls();
  pauses_.clear();
  ASSERT_TRUE(device.open_imu().ok());
  EXPECT_TRUE(pauses_.pauses().empty());
  EXPECT_EQ(count_calls(rig_.calls(), "SonixCam_GetVersion"), 0u);
}

TEST_F(DeviceImu, FailedPlatformOpenLeavesNoReaderAndNoSession) {
  const DeviceInfo info = plug(3, "SN-IMU-NODE");
  DEVICE_TESTING_OPEN(device, info, 0);
  sim::VendorFault fault;
  fault.call = "SonixCam_SetNodeID";
  fault.vendor_code = 5;
  rig_.add_fault(fault);
  const Status opened = device.open_imu();
  EXPECT_EQ(opened.code(), ErrorCode::PlatformError);
  EXPECT_EQ(opened.message().rfind("SonixCam_SetNodeID failed: vendor_code=", 0), 0u) << opened.message();
  EXPECT_EQ(rig_.open_sessions(), 0);
  EXPECT_FALSE(device.has_imu_transport());
  EXPECT_EQ(device.read_imu().status().message(), "IMU is not open");
  ASSERT_TRUE(device.open_imu().ok());
}

TEST_F(DeviceImu, DeviceStatusBytesComeBackAsFailures) {
  const DeviceInfo info = plug(3, "SN-IMU-STATUS");
  DEVICE_TESTING_OPEN(device, info, 0);
  ASSERT_TRUE(device.open_imu().ok());
  rig_.queue_imu_status(0, 0xF1);
  rig_.queue_imu_status(0, 0xF2);
  const Result<ReadImuResult> init_failure = device.read_imu();
  EXPECT_EQ(init_failure.status().code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(init_failure.status().message(), "IMU device reported initialization failure");
  const Result<ReadImuResult> read_failure = device.read_imu();
  EXPECT_EQ(read_failure.status().code(), ErrorCode::ReadFailed);
  EXPECT_EQ(read_failure.status().message(), "IMU device reported read failure");
  EXPECT_TRUE(device.read_imu().ok());
}

TEST_F(DeviceImu, DestroyingTheDeviceClosesTheReader) {
  const DeviceInfo info = plug(3, "SN-IMU-DESTROY");
  {
    DEVICE_TESTING_OPEN(device, info, 0);
    ASSERT_TRUE(device.open_imu().ok());
    EXPECT_EQ(rig_.open_sessions(), 1);
    rig_.clear_calls();
  }
  EXPECT_EQ(rig_.open_sessions(), 0);
  const auto names = rig_.call_names();
  ASSERT_FALSE(names.empty());
  EXPECT_EQ(names.back(), "SonixCam_UnInit");
  EXPECT_EQ(names, std::vector<std::string>{"SonixCam_UnInit"});
}

TEST_F(DeviceImu, DefaultScalesTurnReferenceCountsIntoRoundPhysicalValues) {
  const DeviceInfo info = plug(3, "SN-IMU-CONVERT");
  DEVICE_TESTING_OPEN(device, info, 0);
  ReadImuResult raw;
  raw.host_timestamp_ns = 123456789;
  raw.sample_counter = 77;
  raw.temperature_raw = 0;
  raw.accel_raw = {2048, -1024, 0};
  raw.gyro_raw = {164, -82, 0};
  // No reader is needed to convert.
  const Result<ConvertedImuResult> converted = device.convert_imu(raw);
  ASSERT_TRUE(converted.ok()) << converted.status().message();
  EXPECT_EQ(converted.value().host_timestamp_ns, 123456789u);
  EXPECT_DOUBLE_EQ(converted.value().temperature_c, 25.0);
  EXPECT_DOUBLE_EQ(converted.value().accel_g[0], 1.0);
  EXPECT_DOUBLE_EQ(converted.value().accel_g[1], -0.5);
  EXPECT_DOUBLE_EQ(converted.value().accel_g[2], 0.0);
  EXPECT_DOUBLE_EQ(converted.value().gyro_dps[0], 10.0);
  EXPECT_DOUBLE_EQ(converted.value().gyro_dps[1], -5.0);
  raw.temperature_raw = 128;
  EXPECT_DOUBLE_EQ(device.convert_imu(raw).value().temperature_c, 26.0);
}

TEST_F(DeviceImu, SamplesAtRestConvertToPlausiblePhysicalValues) {
  sim::SimulatedCamera camera = supported_camera(3, "SN-IMU-REST");
  camera.imu.motion = sim::ImuMotion::AtRest;
  camera.imu.temperature_c = 31.5;
  const DeviceInfo info = plug_and_scan(camera);
  DEVICE_TESTING_OPEN(device, info, 0);
  ASSERT_TRUE(device.open_imu().ok());
  for (int i = 0; i < 10; ++i) {
    const Result<ReadImuResult> raw = device.read_imu();
    ASSERT_TRUE(raw.ok()) << raw.status().message();
    const Result<ConvertedImuResult> sample = device.convert_imu(raw.value());
    ASSERT_TRUE(sample.ok());
    const ConvertedImuResult& value = sample.value();
    EXPECT_NEAR(value.temperature_c, 31.5, 0.5);
    EXPECT_NEAR(value.accel_g[0], 0.0, 0.1);
    EXPECT_NEAR(value.accel_g[1], 0.0, 0.1);
    EXPECT_NEAR(value.accel_g[2], 1.0, 0.1);
    for (double rate : value.gyro_dps) {
      EXPECT_NEAR(rate, 0.0, 2.0);
    }
    EXPECT_EQ(value.host_timestamp_ns, raw.value().host_timestamp_ns);
  }
}

TEST_F(DeviceImu, ReadsTheMovingImuAsChangingRates) {
  sim::SimulatedCamera camera = supported_camera(3, "SN-IMU-MOVING");
  camera.imu.motion = sim::ImuMotion::Moving;
  const DeviceInfo info = plug_and_scan(camera);
  DEVICE_TESTING_OPEN(device, info, 0);
  ASSERT_TRUE(device.open_imu().ok());
  double smallest = 1e9;
  double largest = -1e9;
  for (int i = 0; i < 50; ++i) {
    const Result<ReadImuResult> raw = device.read_imu();
    ASSERT_TRUE(raw.ok()) << raw.status().message();
    const ConvertedImuResult value = device.convert_imu(raw.value()).value();
    const double magnitude = std::sqrt(value.accel_g[0] * value.accel_g[0] + value.accel_g[1] * value.accel_g[1] +
                                       value.accel_g[2] * value.accel_g[2]);
    EXPECT_NEAR(magnitude, 1.0, 0.3);
    smallest = std::min(smallest, value.gyro_dps[1]);
    largest = std::max(largest, value.gyro_dps[1]);
  }
  // A sway is a rotation whose rate changes from sample to sample, well beyond the sensor noise.
  EXPECT_GT(largest - smallest, 5.0);
}

}  // namespace
}  // namespace tovanel::uvc_stereo
