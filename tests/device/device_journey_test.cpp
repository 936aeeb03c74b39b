#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "capability/capability_report_encoder.h"
#include "device/device_rig_support.h"
#include "support/reported_imu.h"
#include "uvc_stereo/device.h"

namespace tovanel::uvc_stereo {
namespace {

using device_testing::calls_named;
using device_testing::DeviceRigTest;
using device_testing::supported_camera;
using device_testing::text_record;

class DeviceJourney : public DeviceRigTest {};

TEST_F(DeviceJourney, ScanOpenConfigureAndReadTheImuOfEveryCamera) {
  rig_.add_camera(supported_camera(0, "SN-JOURNEY-A"));
  rig_.add_camera(supported_camera(3, "SN-JOURNEY-B"));
  const Result<std::vector<DeviceInfo>> scan = scan_devices();
  ASSERT_TRUE(scan.ok()) << scan.status().message();
  ASSERT_EQ(scan.value().size(), 2u);

  for (const DeviceInfo& info : scan.value()) {
    SCOPED_TRACE(info.serial_number);
    // A fresh camera has no record yet: everything that does not need one opens.
    for (std::uint32_t required : {0u, 1u, 2u, 3u}) {
      DEVICE_TESTING_OPEN(device, info, required);
      EXPECT_EQ(device.transport_flags(), (required & 1u) != 0 ? 1u : 0u) << required;
    }
    EXPECT_EQ(open_device(info, device_testing::requiring(4)).status().code(), ErrorCode::BadMagic);

    {
      DEVICE_TESTING_OPEN(device, info, 0);
      const std::string json = "{ \"serial\" : \"" + info.serial_number + "\",\n  \"rectify\" : true }";
      ASSERT_TRUE(device.write_json(json).ok());
      const Result<ReadJsonResult> read = device.read_json();
      ASSERT_TRUE(read.ok()) << read.status().message();
      EXPECT_EQ(read.value().json, "{\"serial\":\"" + info.serial_number + "\",\"rectify\":true}");
    }

    for (std::uint32_t required = 0; required <= 7; ++required) {
      DEVICE_TESTING_OPEN(device, info, required);
      const std::uint32_t expected = (required & 4u) != 0 ? 5u : (required & 1u);
      EXPECT_EQ(device.transport_flags(), expected) << required;
    }
    EXPECT_EQ(open_device(info, device_testing::requiring(8)).status().message(),
              "open_device required_capabilities contains unknown bits");

    DEVICE_TESTING_OPEN(device, info, 5);
    ASSERT_TRUE(device.open_imu().ok());
    for (int i = 0; i < 5; ++i) {
      const Result<ReadImuResult> raw = device.read_imu();
      ASSERT_TRUE(raw.ok()) << raw.status().message();
      const Result<ConvertedImuResult> sample = device.convert_imu(raw.value());
      ASSERT_TRUE(sample.ok());
      EXPECT_NEAR(sample.value().accel_g[2], 1.0, 0.1);
      EXPECT_NEAR(sample.value().temperature_c, 31.5, 0.5);
    }
    ASSERT_TRUE(device.close_imu().ok());
    EXPECT_EQ(device.transport_flags(), 7u);
    EXPECT_TRUE(device.read_json().ok());
  }
}

TEST_F(DeviceJourney, ReportedUserSpaceAndImuBlockAreUsedEndToEnd) {
  CapabilityReport report;
  report.capability_bits = kCapabilityFlashUserSpace | kCapabilityImu;
  report.flash_user_space = FlashUserSpace{0x80000, 0x8000};
  report.imu = test_support::reported_imu("ICM42688", 6, 3, 24, 1, 20.0, 64.0, 4096.0, 32.8);

  sim::SimulatedCamera camera = supported_camera(2, "SN-JOURNEY-REPORTED");
  camera.capability_report = detail::encode_xu_capability_report(report);
  camera.user_space_address = 0x80000;
  camera.user_space_size = 0x8000;
  camera.imu_unit = 6;
  camera.imu_selector = 3;
  camera.imu_length = 24;
  const DeviceInfo info = plug_and_scan(camera);
  DEVICE_TESTING_OPEN(device, info, 1);
  EXPECT_EQ(device.capability_info().source, CapabilitySource::Reported);

  ASSERT_TRUE(device.write_json("{\"where\": \"declared\"}").ok());
  const std::vector<std::uint8_t> record = text_record("{\"where\":\"declared\"}");
  EXPECT_EQ(rig_.flash(0, 0x80000, static_cast<std::uint32_t>(record.size())), record);
  EXPECT_EQ(rig_.flash(0, 0x51000, 4), std::vector<std::uint8_t>(4, 0xFF));
  ASSERT_TRUE(device.read_json().ok());
  for (const sim::VendorCall& read : calls_named(rig_.calls(), "SonixCam_CstmReadFromSF")) {
    EXPECT_EQ(read.args.at(0), 0x80000);
  }
  for (const sim::VendorCall& erase : calls_named(rig_.calls(), "SonixCam_SectorEraseSF")) {
    EXPECT_EQ(erase.args.at(0), 0x80000);
  }

  rig_.clear_calls();
  ASSERT_TRUE(device.open_imu().ok());
  const Result<ReadImuResult> raw = device.read_imu();
  ASSERT_TRUE(raw.ok()) << raw.status().message();
  const auto node = calls_named(rig_.calls(), "SonixCam_SetNodeID");
  ASSERT_EQ(node.size(), 1u);
  EXPECT_EQ(node[0].args.at(0), 6);
  const auto reads = calls_named(rig_.calls(), "SonixCam_XuRead");
  ASSERT_EQ(reads.size(), 1u);
  EXPECT_EQ(reads[0].args, (std::vector<std::int64_t>{24, 3, 6}));

  const Result<ConvertedImuResult> converted = device.convert_imu(raw.value());
  ASSERT_TRUE(converted.ok());
  const ReadImuResult& r = raw.value();
  EXPECT_DOUBLE_EQ(converted.value().temperature_c, r.temperature_raw / 64.0 + 20.0);
  EXPECT_DOUBLE_EQ(converted.value().accel_g[2], r.accel_raw[2] / 4096.0);
  EXPECT_DOUBLE_EQ(converted.value().gyro_dps[0], r.gyro_raw[0] / 32.8);
  // The camera measures in its own default scale of 2048 counts per g, so the declared 4096 halves it.
  EXPECT_NEAR(converted.value().accel_g[2], 0.5, 0.05);
}

TEST_F(DeviceJourney, OpenImuReaderSurvivesScansAndFlashAccessFromOtherThreads) {
  rig_.add_camera(supported_camera(3, "SN-THREAD-IMU"));
  rig_.add_camera(supported_camera(4, "SN-THREAD-FLASH"));
  const Result<std::vector<DeviceInfo>> scan = scan_devices();
  ASSERT_TRUE(scan.ok());
  ASSERT_EQ(scan.value().size(), 2u);
  const DeviceInfo imu_info = scan.value()[0].serial_number == "SN-THREAD-IMU" ? scan.value()[0] : scan.value()[1];
  const DeviceInfo flash_info = scan.value()[0].serial_number == "SN-THREAD-IMU" ? scan.value()[1] : scan.value()[0];

  DEVICE_TESTING_OPEN(imu_device, imu_info, 0);
  ASSERT_TRUE(imu_device.open_imu().ok());

  std::atomic<int> failures{0};
  std::thread imu_thread([&] {
    std::uint32_t previous = 0;
    for (int i = 0; i < 200; ++i) {
      const Result<ReadImuResult> raw = imu_device.read_imu();
      if (!raw.ok()) {
        ++failures;
        continue;
      }
      if (i > 0 && raw.value().sample_counter != ((previous + 1) & 0xFFFFFu)) {
        ++failures;
      }
      previous = raw.value().sample_counter;
    }
  });
  std::thread scan_thread([&] {
    for (int i = 0; i < 20; ++i) {
      const Result<std::vector<DeviceInfo>> devices = scan_devices();
      if (!devices.ok() || devices.value().size() != 2) {
        ++failures;
      }
    }
  });
  std::thread flash_thread([&] {
    Result<Device> opened = open_device(flash_info);
    if (!opened.ok()) {
      ++failures;
      return;
    }
    Device device = std::move(opened).value();
    for (int i = 0; i < 10; ++i) {
      const std::string json = "{\"round\":" + std::to_string(i) + "}";
      if (!device.write_json(json).ok()) {
        ++failures;
        continue;
      }
      const Result<ReadJsonResult> read = device.read_json();
      if (!read.ok() || read.value().json != json) {
        ++failures;
      }
    }
  });
  imu_thread.join();
  scan_thread.join();
  flash_thread.join();

  EXPECT_EQ(failures.load(), 0);
  EXPECT_EQ(rig_.open_sessions(), 1);
  for (const sim::VendorCall& call : rig_.calls()) {
    EXPECT_TRUE(call.lock_held) << call.name;
  }
  ASSERT_TRUE(imu_device.close_imu().ok());
  EXPECT_EQ(rig_.open_sessions(), 0);
}

}  // namespace
}  // namespace tovanel::uvc_stereo
