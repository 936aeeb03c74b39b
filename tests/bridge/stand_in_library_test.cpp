#include "support/stand_in_library.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "bridge/imu_reader.h"
#include "bridge/vendor_backend.h"
#include "imu/imu_payload.h"
#include "imu/model_table.h"
#include "support/rig_cameras.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/vendor_lock.h"

// The instant stand-ins the benchmarks measure the SDK against: the SDK must do all of its work on their answers,
// or a benchmark measures less than a real scan or read.
namespace tovanel::uvc_stereo::detail::bridge {
namespace {

StandInCamera stand_in(std::size_t model_index, const std::string& serial) {
  const detail::SupportedModel& model = detail::supported_models().at(model_index);
  StandInCamera camera;
  camera.vendor_id = model.vendor_id;
  camera.product_id = model.product_id;
  camera.device_path = test_support::usb_path(model.vendor_id, model.product_id, serial);
  camera.device_name = "Stand-in " + serial;
  camera.serial_number = serial;
  camera.other_strings = "TVN";
  return camera;
}

TEST(InstantCameras, AScanListsEveryCameraWithItsIdsNameAndSerial) {
  const std::vector<StandInCamera> cameras = {stand_in(0, "SN-A"), stand_in(3, "SN-B"), stand_in(1, "SN-C")};
  const InstantCameras instant(cameras);
  EXPECT_STREQ(active_vendor_backend().name, "instant stand-in");

  const Result<std::vector<DeviceInfo>> scan = scan_devices();
  ASSERT_TRUE(scan.ok()) << scan.status().message();
  ASSERT_EQ(scan.value().size(), cameras.size());
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    const DeviceInfo& info = scan.value()[i];
    EXPECT_EQ(info.vendor_id, cameras[i].vendor_id);
    EXPECT_EQ(info.product_id, cameras[i].product_id);
    EXPECT_EQ(info.device_path, cameras[i].device_path);
    EXPECT_EQ(info.friendly_name, cameras[i].device_name);
    EXPECT_EQ(info.serial_number, cameras[i].serial_number);
    EXPECT_EQ(info.descriptor_text, "TVN");
  }
}

TEST(InstantCameras, EnumeratingAloneReportsEveryCamera) {
  InstantCameras instant({stand_in(0, "SN-A"), stand_in(1, "SN-B")});
  EXPECT_EQ(instant.enumerate_alone(), 2);
}

TEST(InstantCameras, CameraOperationsFail) {
  const InstantCameras instant({stand_in(0, "SN-A")});
  const Result<std::vector<DeviceInfo>> scan = scan_devices();
  ASSERT_TRUE(scan.ok()) << scan.status().message();
  ASSERT_EQ(scan.value().size(), 1U);
  // A camera that reports nothing opens on the fallback defaults; its configuration and IMU cannot be read.
  Result<Device> device = open_device(scan.value().front());
  ASSERT_TRUE(device.ok()) << device.status().message();
  EXPECT_FALSE(device.value().read_json().ok());
  EXPECT_FALSE(device.value().open_imu().ok());
}

TEST(InstantCameras, TheBackendBeforeComesBackWhenItEnds) {
  const VendorBackend* before = &active_vendor_backend();
  { const InstantCameras instant({stand_in(0, "SN-A")}); }
  EXPECT_EQ(&active_vendor_backend(), before);
}

TEST(InstantExtensionUnit, ReadsAnswerWithItsBytesCutToTheLengthAskedFor) {
  const InstantExtensionUnit instant({1, 2, 3, 4, 5});
  const win_detail::SonixGlobalLock lock;
  std::array<std::uint8_t, 8> buffer{};
  ASSERT_TRUE(InstantExtensionUnit::read_through_dispatch(buffer.data(), 3, 10, 4));
  EXPECT_EQ(buffer, (std::array<std::uint8_t, 8>{1, 2, 3, 0, 0, 0, 0, 0}));
  ASSERT_TRUE(InstantExtensionUnit::read_through_dispatch(buffer.data(), 8, 10, 4));
  EXPECT_EQ(buffer, (std::array<std::uint8_t, 8>{1, 2, 3, 4, 5, 0, 0, 0}));
}

TEST(InstantExtensionUnit, EveryOtherOperationStillGoesToTheRig) {
  sim::SimulatedRig rig;
  const sim::SimulatedCamera camera = test_support::supported_camera(2, "SN-RIG");
  rig.add_camera(camera);
  const VendorBackend* rig_backend = &active_vendor_backend();
  {
    const InstantExtensionUnit instant({7, 7, 7});
    EXPECT_NE(&active_vendor_backend(), rig_backend);
    EXPECT_EQ(active_vendor_backend().enum_cameras, rig_backend->enum_cameras);
    EXPECT_NE(active_vendor_backend().xu_read, rig_backend->xu_read);
    const Result<std::vector<DeviceInfo>> scan = scan_devices();
    ASSERT_TRUE(scan.ok()) << scan.status().message();
    ASSERT_EQ(scan.value().size(), 1U);
    EXPECT_EQ(scan.value().front().serial_number, "SN-RIG");
  }
  EXPECT_EQ(&active_vendor_backend(), rig_backend);
}

TEST(InstantExtensionUnit, AnOpenImuReadsItsSample) {
  sim::SimulatedRig rig;
  const sim::SimulatedCamera camera = test_support::supported_camera(2, "SN-IMU");
  rig.add_camera(camera);
  detail::ImuTransportConfig transport;
  transport.xu_unit = 4;
  transport.xu_selector = 10;
  transport.xu_length = 17;
  Result<detail::ImuReader> reader = detail::open_imu_platform(test_support::info_of(camera), transport);
  ASSERT_TRUE(reader.ok()) << reader.status().message();

  ReadImuResult expected;
  expected.temperature_raw = 832;
  expected.accel_raw = {12, -7, 2048};
  expected.gyro_raw = {3, -2, 1};
  expected.sample_counter = 0x12345;
  std::array<std::uint8_t, detail::kImuPayloadSize> payload{};
  detail::encode_imu_payload(expected, payload);
  const std::vector<std::uint8_t> sample(payload.begin(), payload.end());
  const InstantExtensionUnit instant(sample);
  const Result<ReadImuResult> read = reader.value().read();
  ASSERT_TRUE(read.ok()) << read.status().message();
  EXPECT_EQ(read.value().temperature_raw, expected.temperature_raw);
  EXPECT_EQ(read.value().accel_raw, expected.accel_raw);
  EXPECT_EQ(read.value().gyro_raw, expected.gyro_raw);
  EXPECT_EQ(read.value().sample_counter, expected.sample_counter);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::detail::bridge
