#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "capability/capability_report_encoder.h"
#include "device/device_rig_support.h"
#include "imu/model_table.h"
#include "support/reported_imu.h"
#include "uvc_stereo/device.h"

namespace tovanel::uvc_stereo {
namespace {

using device_testing::calls_named;
using device_testing::count_calls;
using device_testing::DeviceRigTest;
using device_testing::ms;
using device_testing::requiring;
using device_testing::supported_camera;
using device_testing::text_record;

constexpr char kFlashNotDeclared[] = "valid capability XU report does not declare Flash";

CapabilityReport report_with_bits(std::uint64_t bits) {
  CapabilityReport report;
  report.capability_bits = bits;
  if ((bits & kCapabilityFlashUserSpace) != 0) {
    report.flash_user_space = FlashUserSpace{0x51000, 0x10000};
  }
  if ((bits & kCapabilityImu) != 0) {
    report.imu = test_support::reported_imu("BMI088", 4, 10, 17, 2, 25.0, 128.0, 2048.0, 16.4);
  }
  return report;
}

// Vendor calls that touch the flash or the IMU (rather than finding the camera or reading its capability report).
std::size_t flash_or_imu_calls(const std::vector<sim::VendorCall>& calls) {
  std::size_t count = 0;
  for (const sim::VendorCall& call : calls) {
    const bool capability_read = call.name == "SonixCam_XuRead" && call.args.size() >= 2 && call.args[1] == 11;
    if (call.name == "SonixCam_CstmReadFromSF" || call.name == "SonixCam_GetSerialFlashType" ||
        call.name == "SonixCam_GetVersion" || call.name == "SonixCam_WriteToSF" ||
        call.name == "SonixCam_SectorEraseSF" || (call.name == "SonixCam_XuRead" && !capability_read)) {
      ++count;
    }
  }
  return count;
}

class OpenDevice : public DeviceRigTest {
 protected:
  DeviceInfo plug(const sim::SimulatedCamera& camera) {
    DeviceInfo info = plug_and_scan(camera);
    rig_.clear_calls();
    pauses_.clear();
    return info;
  }
};

TEST_F(OpenDevice, UnknownRequiredBitsAreRefusedBeforeTheVidPidIsLookedAt) {
  DeviceInfo nothing;  // vid and pid 0 would fail the next check
  const Result<Device> device = open_device(nothing, requiring(8));
  EXPECT_FALSE(device.ok());
  EXPECT_EQ(device.status().code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(device.status().message(), "open_device required_capabilities contains unknown bits");
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(OpenDevice, EveryValueAboveSevenIsRefused) {
  const DeviceInfo info = plug(supported_camera(2, "SN-OPEN-BITS"));
  for (std::uint32_t required : {8u, 9u, 15u, 16u, 0x80000000u, 0xFFFFFFFFu}) {
    const Result<Device> device = open_device(info, requiring(required));
    EXPECT_EQ(device.status().message(), "open_device required_capabilities contains unknown bits") << required;
  }
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(OpenDevice, ZeroVendorOrProductIdIsRefused) {
  DeviceInfo no_vendor;
  no_vendor.product_id = detail::supported_models()[0].product_id;
  no_vendor.serial_number = "SN-X";
  DeviceInfo no_product;
  no_product.vendor_id = detail::supported_models()[0].vendor_id;
  no_product.device_path = "\\\\?\\usb#vid_0c45";
  for (const DeviceInfo& info : {no_vendor, no_product}) {
    const Result<Device> device = open_device(info);
    EXPECT_EQ(device.status().code(), ErrorCode::InvalidArgument);
    EXPECT_EQ(device.status().message(), "selected device has invalid vid/pid");
  }
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(OpenDevice, PairOutsideTheModelTableIsNotSupported) {
  ASSERT_EQ(detail::find_supported_model(0x0C45, 0x9999), nullptr);
  DeviceInfo info;
  info.vendor_id = 0x0C45;
  info.product_id = 0x9999;
  info.serial_number = "SN-9999";
  const Result<Device> device = open_device(info, requiring(7));
  EXPECT_EQ(device.status().code(), ErrorCode::NotSupported);
  EXPECT_EQ(device.status().message(), "selected device vid/pid is not in the scan whitelist");
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(OpenDevice, TheSingleArgumentOverloadRequiresNothing) {
  sim::SimulatedCamera camera = supported_camera(3, "SN-OPEN-DEFAULT");
  const DeviceInfo info = plug(camera);
  Result<Device> device = open_device(info);
  ASSERT_TRUE(device.ok()) << device.status().message();
  EXPECT_EQ(device.value().transport_flags(), 0u);
  EXPECT_EQ(flash_or_imu_calls(rig_.calls()), 0u);
}

TEST_F(OpenDevice, DerivesAFlashConfigThatSelectsExactlyThisCamera) {
  DeviceInfo info = plug(supported_camera(1, "SN-OPEN-CONFIG"));
  info.aux_flag_a = true;
  info.aux_flag_b = false;
  DEVICE_TESTING_OPEN(device, info, 0);

  char expected_vidpid[16];
  std::snprintf(expected_vidpid, sizeof(expected_vidpid), "%04x%04x", static_cast<unsigned>(info.vendor_id),
                static_cast<unsigned>(info.product_id));
  const FlashConfig& config = device.flash_config();
  EXPECT_EQ(config.vidpid, expected_vidpid);
  EXPECT_EQ(config.vidpid.size(), 8u);
  EXPECT_FALSE(config.auto_select);
  EXPECT_EQ(config.vendor_id, 0);
  EXPECT_EQ(config.product_id, 0);
  EXPECT_TRUE(config.aux_flag_a);
  EXPECT_FALSE(config.aux_flag_b);
  EXPECT_EQ(config.device_path, info.device_path);
  EXPECT_EQ(config.serial_number, "SN-OPEN-CONFIG");
  const FlashConfig defaults;
  EXPECT_EQ(config.erase_sector_size, defaults.erase_sector_size);
  EXPECT_EQ(config.magic, defaults.magic);
  EXPECT_EQ(config.min_header_size, defaults.min_header_size);
  EXPECT_EQ(config.max_header_size, defaults.max_header_size);
  EXPECT_TRUE(config.verify_crc);
  EXPECT_TRUE(config.verify_after_write);
  EXPECT_EQ(device.info().serial_number, "SN-OPEN-CONFIG");
  EXPECT_TRUE(device.info().aux_flag_a);
}

TEST_F(OpenDevice, AllZeroCapabilityAnswerFallsBackToTheLegacyDefaults) {
  sim::SimulatedCamera camera = supported_camera(0, "SN-OPEN-ZERO");
  camera.capability_report = {};
  const DeviceInfo info = plug(camera);
  DEVICE_TESTING_OPEN(device, info, 0);

  const DeviceCapabilityInfo& capability = device.capability_info();
  EXPECT_EQ(capability.source, CapabilitySource::Fallback);
  EXPECT_FALSE(capability.report.has_value());
  EXPECT_EQ(capability.message, "Capability reporting is not supported on this device");
  EXPECT_EQ(device.flash_config().user_space_address, 0x51000u);
  EXPECT_EQ(device.flash_config().user_space_size, 4096u);
  const detail::ImuTransportConfig transport = device.imu_transport();
  EXPECT_EQ(transport.xu_unit, 4);
  EXPECT_EQ(transport.xu_selector, 10);
  EXPECT_EQ(transport.xu_length, 17);
  const Result<ImuConversionOptions> options = device.imu_conversion_options();
  ASSERT_TRUE(options.ok()) << options.status().message();
  EXPECT_EQ(options.value().temperature_offset_c, 25.0);
  EXPECT_EQ(options.value().temperature_lsb_per_c, 128.0);
  EXPECT_EQ(options.value().accel_lsb_per_g, 2048.0);
  EXPECT_EQ(options.value().gyro_lsb_per_dps, 16.4);
  EXPECT_EQ(device.transport_flags(), 0u);
  EXPECT_FALSE(device.has_flash_transport());
  EXPECT_FALSE(device.has_imu_transport());

  // Both transports are assumed: the flash JSON operations and the IMU get past their capability checks.
  const Result<ReadJsonResult> json = device.read_json();
  EXPECT_EQ(json.status().code(), ErrorCode::BadMagic) << json.status().message();
  EXPECT_TRUE(device.open_imu().ok());
  EXPECT_TRUE(device.close_imu().ok());
}

TEST_F(OpenDevice, ReadsTheCapabilityReportOnceThroughItsExtensionUnit) {
  sim::SimulatedCamera camera = supported_camera(2, "SN-OPEN-PROBE");
  camera.capability_report = detail::encode_xu_capability_report(report_with_bits(0x06));
  const DeviceInfo info = plug(camera);
  DEVICE_TESTING_OPEN(device, info, 0);
  const auto reads = calls_named(rig_.calls(), "SonixCam_XuRead");
  ASSERT_EQ(reads.size(), 1u);
  EXPECT_EQ(reads[0].camera, 0);
  EXPECT_EQ(count_calls(rig_.calls(), "SonixCam_Init"), 1u);
  EXPECT_EQ(count_calls(rig_.calls(), "SonixCam_UnInit"), 1u);
  EXPECT_EQ(device.capability_info().source, CapabilitySource::Reported);
}

TEST_F(OpenDevice, ReportedCapabilitiesAreKeptWithTheReport) {
  CapabilityReport report = report_with_bits(0x07);
  report.minor_version = 3;
  report.flash_user_space = FlashUserSpace{0x60000, 0x2000};
  report.imu->xu_unit = 5;
  report.imu->xu_selector = 12;
  report.imu->xu_length = 24;
  report.imu->temperature_offset_c = -0.5;
  report.imu->temperature_lsb_per_c = 256.0;
  report.imu->accel_lsb_per_g = 4096.0;
  report.imu->gyro_lsb_per_dps = 32.8;
  sim::SimulatedCamera camera = supported_camera(4, "SN-OPEN-REPORTED");
  camera.capability_report = detail::encode_xu_capability_report(report);
  const DeviceInfo info = plug(camera);
  DEVICE_TESTING_OPEN(device, info, 0);

  const DeviceCapabilityInfo& capability = device.capability_info();
  EXPECT_EQ(capability.source, CapabilitySource::Reported);
  EXPECT_TRUE(capability.message.empty());
  ASSERT_TRUE(capability.report.has_value());
  EXPECT_EQ(capability.report->minor_version, 3);
  EXPECT_EQ(capability.report->capability_bits, 0x07u);
  ASSERT_TRUE(capability.report->flash_user_space.has_value());
  EXPECT_EQ(capability.report->flash_user_space->start, 0x60000u);
  ASSERT_TRUE(capability.report->imu.has_value());
  EXPECT_EQ(capability.report->imu->model, "BMI088");

  EXPECT_EQ(device.flash_config().user_space_address, 0x60000u);
  EXPECT_EQ(device.flash_config().user_space_size, 0x2000u);
  EXPECT_EQ(device.imu_transport().xu_unit, 5);
  EXPECT_EQ(device.imu_transport().xu_selector, 12);
  EXPECT_EQ(device.imu_transport().xu_length, 24);
  const Result<ImuConversionOptions> options = device.imu_conversion_options();
  ASSERT_TRUE(options.ok());
  EXPECT_DOUBLE_EQ(options.value().temperature_offset_c, -0.5);
  EXPECT_DOUBLE_EQ(options.value().temperature_lsb_per_c, 256.0);
  EXPECT_DOUBLE_EQ(options.value().accel_lsb_per_g, 4096.0);
  EXPECT_DOUBLE_EQ(options.value().gyro_lsb_per_dps, 32.8);
}

TEST_F(OpenDevice, ReportWithoutItsOptionalBlocksKeepsTheFullDefaultUserSpace) {
  // Bit 0 alone declares neither the flash user space nor the IMU.
  sim::SimulatedCamera camera = supported_camera(2, "SN-OPEN-BIT0");
  camera.capability_report = detail::encode_xu_capability_report(report_with_bits(0x01));
  const DeviceInfo info = plug(camera);
  DEVICE_TESTING_OPEN(device, info, 0);
  EXPECT_EQ(device.capability_info().source, CapabilitySource::Reported);
  EXPECT_EQ(device.flash_config().user_space_address, 0x51000u);
  EXPECT_EQ(device.flash_config().user_space_size, 0x10000u);
  EXPECT_EQ(device.imu_conversion_options().status().message(), "IMU is not supported on this device");
  EXPECT_EQ(device.read_json().status().message(), kFlashNotDeclared);
}

TEST_F(OpenDevice, ImuOnlyReportRefusesARequiredFlashTransport) {
  sim::SimulatedCamera camera = supported_camera(2, "SN-OPEN-IMUONLY");
  camera.capability_report = detail::encode_xu_capability_report(report_with_bits(0x04));
  const DeviceInfo info = plug(camera);
  const Result<Device> device = open_device(info, requiring(1));
  EXPECT_EQ(device.status().code(), ErrorCode::NotSupported);
  EXPECT_EQ(device.status().message(), kFlashNotDeclared);
  EXPECT_EQ(flash_or_imu_calls(rig_.calls()), 0u);
}

TEST_F(OpenDevice, ImuOnlyReportRefusesARequiredFlashJsonRecord) {
  sim::SimulatedCamera camera = supported_camera(2, "SN-OPEN-IMUONLY-JSON");
  camera.capability_report = detail::encode_xu_capability_report(report_with_bits(0x04));
  const DeviceInfo info = plug(camera);
  for (std::uint32_t required : {4u, 5u, 6u, 7u}) {
    const Result<Device> device = open_device(info, requiring(required));
    EXPECT_EQ(device.status().code(), ErrorCode::NotSupported) << required;
    EXPECT_EQ(device.status().message(), kFlashNotDeclared) << required;
  }
  EXPECT_EQ(flash_or_imu_calls(rig_.calls()), 0u);
  EXPECT_TRUE(pauses_.pauses().empty());
}

TEST_F(OpenDevice, RequiredJsonRecordReadsOnlyTheRecordAndSetsBothFlashFlags) {
  sim::SimulatedCamera camera = supported_camera(3, "SN-OPEN-JSON");
  const DeviceInfo info = plug_and_scan(camera);
  rig_.set_flash(0, 0x51000, text_record("{\"baseline_mm\": 50}"));
  rig_.clear_calls();
  pauses_.clear();
  DEVICE_TESTING_OPEN(device, info, 5);

  EXPECT_EQ(device.transport_flags(), 5u);
  EXPECT_TRUE(device.has_flash_transport());
  EXPECT_FALSE(device.has_imu_transport());
  const auto reads = calls_named(rig_.calls(), "SonixCam_CstmReadFromSF");
  ASSERT_FALSE(reads.empty());
  for (const sim::VendorCall& read : reads) {
    ASSERT_GE(read.args.size(), 2u);
    EXPECT_EQ(read.args[0], 0x51000);
    EXPECT_NE(read.args[1], 1) << "a separate one-byte transport probe was made";
  }
  // The record's read is followed by the settling pause, once.
  EXPECT_EQ(pauses_.durations(), ms({100}));
}

TEST_F(OpenDevice, RequiredJsonRecordAloneOrWithTheImuBitGivesTheSameFlags) {
  sim::SimulatedCamera camera = supported_camera(3, "SN-OPEN-JSON-ALL");
  const DeviceInfo info = plug_and_scan(camera);
  rig_.set_flash(0, 0x51000, text_record("[1,2,3]"));
  for (std::uint32_t required : {4u, 6u, 7u}) {
    DEVICE_TESTING_OPEN(device, info, required);
    EXPECT_EQ(device.transport_flags(), 5u) << required;
  }
}

TEST_F(OpenDevice, RequiredJsonRecordFailsAsTheReadFails) {
  const DeviceInfo info = plug(supported_camera(3, "SN-OPEN-ERASED"));  // flash starts erased
  const Result<Device> erased = open_device(info, requiring(4));
  EXPECT_EQ(erased.status().code(), ErrorCode::BadMagic);
  EXPECT_EQ(erased.status().message(), "flash magic mismatch");

  rig_.set_flash(0, 0x51000, text_record("{\"broken\": }"));
  const Result<Device> not_json = open_device(info, requiring(5));
  EXPECT_EQ(not_json.status().code(), ErrorCode::InvalidJson);
  EXPECT_TRUE(pauses_.pauses().empty());
}

TEST_F(OpenDevice, RequiredFlashTransportIsProvenByAOneByteRead) {
  const DeviceInfo info = plug(supported_camera(3, "SN-OPEN-PROBE1"));
  DEVICE_TESTING_OPEN(device, info, 1);
  EXPECT_EQ(device.transport_flags(), 1u);
  EXPECT_TRUE(device.has_flash_transport());
  const auto reads = calls_named(rig_.calls(), "SonixCam_CstmReadFromSF");
  ASSERT_EQ(reads.size(), 1u);
  EXPECT_EQ(reads[0].args, (std::vector<std::int64_t>{0x51000, 1}));
  EXPECT_TRUE(pauses_.pauses().empty());
}

TEST_F(OpenDevice, RequiredFlashTransportWithTheImuBitIsProvenTheSameWay) {
  const DeviceInfo info = plug(supported_camera(3, "SN-OPEN-PROBE3"));
  DEVICE_TESTING_OPEN(device, info, 3);
  EXPECT_EQ(device.transport_flags(), 1u);
  EXPECT_EQ(count_calls(rig_.calls(), "SonixCam_CstmReadFromSF"), 1u);
  EXPECT_EQ(count_calls(rig_.calls(), "SonixCam_GetVersion"), 0u);
}

TEST_F(OpenDevice, RequiredFlashTransportFailsUnchangedOnAnUnknownFlash) {
  sim::SimulatedCamera camera = supported_camera(3, "SN-OPEN-SFUNKNOWN");
  camera.flash_type = 0;
  const DeviceInfo info = plug(camera);
  const Result<Device> device = open_device(info, requiring(1));
  EXPECT_EQ(device.status().code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(device.status().message(), "SonixCam_GetSerialFlashType returned SF_UNKNOW");
}

TEST_F(OpenDevice, RequiredImuAloneOpensWithoutTouchingTheImu) {
  const DeviceInfo info = plug(supported_camera(0, "SN-OPEN-IMU2"));
  DEVICE_TESTING_OPEN(device, info, 2);
  EXPECT_EQ(device.transport_flags(), 0u);
  EXPECT_FALSE(device.has_imu_transport());
  EXPECT_EQ(flash_or_imu_calls(rig_.calls()), 0u);
  EXPECT_EQ(rig_.open_sessions(), 0);
  EXPECT_TRUE(pauses_.pauses().empty());
}

TEST_F(OpenDevice, ProbeFaultsSelectTheFallbackWithoutFailingTheOpen) {
  sim::SimulatedCamera camera = supported_camera(2, "SN-OPEN-XUFAULT");
  camera.capability_report = detail::encode_xu_capability_report(report_with_bits(0x04));
  const DeviceInfo info = plug(camera);
  for (const char* call : {"SonixCam_XuRead", "SonixCam_SetNodeID"}) {
    sim::VendorFault fault;
    fault.call = call;
    fault.vendor_code = 7;
    rig_.add_fault(fault);
    DEVICE_TESTING_OPEN(device, info, 1);
    EXPECT_EQ(device.capability_info().source, CapabilitySource::Fallback) << call;
    EXPECT_EQ(device.capability_info().message, "Capability reporting is not supported on this device");
    EXPECT_EQ(device.flash_config().user_space_size, 4096u);
    EXPECT_EQ(device.transport_flags(), 1u);
    rig_.clear_faults();
  }
}

TEST_F(OpenDevice, MalformedReportSelectsTheFallback) {
  std::array<std::uint8_t, 64> report = detail::encode_xu_capability_report(report_with_bits(0x02));
  report[60] ^= 0xFF;  // the CRC no longer matches
  sim::SimulatedCamera camera = supported_camera(2, "SN-OPEN-BADCRC");
  camera.capability_report = report;
  const DeviceInfo info = plug(camera);
  DEVICE_TESTING_OPEN(device, info, 0);
  EXPECT_EQ(device.capability_info().source, CapabilitySource::Fallback);
  EXPECT_FALSE(device.capability_info().report.has_value());
}

TEST_F(OpenDevice, CameraGoneSinceTheScanStillOpensWithTheFallback) {
  const DeviceInfo info = plug(supported_camera(2, "SN-OPEN-GONE"));
  rig_.add_camera(supported_camera(3, "SN-OPEN-STAYS"));
  rig_.unplug(0);
  DEVICE_TESTING_OPEN(device, info, 0);
  EXPECT_EQ(device.capability_info().source, CapabilitySource::Fallback);
  // The flash of an absent camera cannot be proven.
  const Result<Device> proven = open_device(info, requiring(1));
  EXPECT_FALSE(proven.ok());
  EXPECT_EQ(proven.status().code(), ErrorCode::DeviceUnavailable) << proven.status().message();
}

}  // namespace
}  // namespace tovanel::uvc_stereo
