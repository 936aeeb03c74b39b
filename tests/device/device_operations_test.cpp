#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "bridge/os/pause.h"
#include "bridge/platform.h"
#include "capability/capability_report_encoder.h"
#include "device/device_rig_support.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/flash.h"
#include "uvc_stereo/json.h"

namespace tovanel::uvc_stereo {
namespace {

using device_testing::bytes_of;
using device_testing::calls_named;
using device_testing::count_calls;
using device_testing::DeviceRigTest;
using device_testing::ms;
using device_testing::supported_camera;
using device_testing::text_record;

constexpr char kClosed[] = "device is closed or moved-from";
constexpr char kImuOpen[] = "IMU must be closed before flash JSON access";

class DeviceOperations : public DeviceRigTest {
 protected:
  void SetUp() override {
    info_ = plug_and_scan(supported_camera(2, "SN-OPS-0001"));
    rig_.clear_calls();
  }

  // The record bytes at the start of the fallback user space.
  std::vector<std::uint8_t> user_space(std::uint32_t length = 4096) const { return rig_.flash(0, 0x51000, length); }

  DeviceInfo info_;
};

void expect_closed(const Status& status) {
  EXPECT_EQ(status.code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(status.message(), kClosed);
}

TEST_F(DeviceOperations, MovedFromDeviceRefusesEveryOperation) {
  DEVICE_TESTING_OPEN(source, info_, 0);
  Device target(std::move(source));
  rig_.clear_calls();

  expect_closed(source.read_json().status());
  expect_closed(source.write_json("{}"));
  expect_closed(source.open_imu());
  expect_closed(source.read_imu().status());
  expect_closed(source.close_imu());
  expect_closed(source.imu_conversion_options().status());
  expect_closed(source.convert_imu(ReadImuResult{}).status());
  EXPECT_FALSE(source.has_flash_transport());
  EXPECT_FALSE(source.has_imu_transport());
  EXPECT_EQ(source.transport_flags(), 0u);
  EXPECT_TRUE(rig_.calls().empty());
  EXPECT_TRUE(user_space(16) == std::vector<std::uint8_t>(16, 0xFF));

  // The target took everything over.
  EXPECT_EQ(target.info().serial_number, "SN-OPS-0001");
  EXPECT_TRUE(target.imu_conversion_options().ok());
}

TEST_F(DeviceOperations, MovedFromDeviceAnswersWithTheSharedDefaultRecords) {
  DEVICE_TESTING_OPEN(first, info_, 1);
  DEVICE_TESTING_OPEN(second, info_, 0);
  Device first_target(std::move(first));
  Device second_target = std::move(second);

  EXPECT_EQ(first.info().vendor_id, 0);
  EXPECT_EQ(first.info().product_id, 0);
  EXPECT_TRUE(first.info().serial_number.empty());
  EXPECT_TRUE(first.info().device_path.empty());
  EXPECT_EQ(&first.info(), &second.info());

  EXPECT_EQ(first.capability_info().source, CapabilitySource::None);
  EXPECT_FALSE(first.capability_info().report.has_value());
  EXPECT_TRUE(first.capability_info().message.empty());
  EXPECT_EQ(&first.capability_info(), &second.capability_info());

  const FlashConfig& config = first.flash_config();
  EXPECT_TRUE(config.auto_select);
  EXPECT_TRUE(config.vidpid.empty());
  EXPECT_EQ(config.user_space_address, 0x51000u);
  EXPECT_EQ(config.user_space_size, 0x10000u);
  EXPECT_EQ(&first.flash_config(), &second.flash_config());

  const detail::ImuTransportConfig transport = first.imu_transport();
  EXPECT_EQ(transport.xu_unit, 4);
  EXPECT_EQ(transport.xu_selector, 10);
  EXPECT_EQ(transport.xu_length, 17);

  EXPECT_EQ(first_target.transport_flags(), 1u);
  EXPECT_EQ(first_target.flash_config().user_space_size, 4096u);
}

TEST_F(DeviceOperations, MoveAssignmentHandsOverTheStateAndClosesTheOverwrittenReader) {
  DEVICE_TESTING_OPEN(with_reader, info_, 0);
  // Opened first: proving its flash while the other Device's IMU is open would find the camera busy.
  DEVICE_TESTING_OPEN(other, info_, 1);
  ASSERT_TRUE(with_reader.open_imu().ok());
  EXPECT_EQ(rig_.open_sessions(), 1);
  rig_.clear_calls();

  with_reader = std::move(other);
  EXPECT_EQ(rig_.open_sessions(), 0);
  ASSERT_FALSE(rig_.call_names().empty());
  EXPECT_EQ(rig_.call_names().back(), "SonixCam_UnInit");
  EXPECT_EQ(with_reader.transport_flags(), 1u);
  EXPECT_EQ(with_reader.read_imu().status().message(), "IMU is not open");
  expect_closed(other.close_imu());
}

TEST_F(DeviceOperations, WritesMinifiedJsonAndReadsItBack) {
  DEVICE_TESTING_OPEN(device, info_, 0);
  pauses_.clear();
  const std::string pretty = "{\n  \"baseline_mm\" : 50.5,\n  \"names\" : [ \"left cam\", \"right\" ]\n}\n";
  const Status written = device.write_json(pretty);
  ASSERT_TRUE(written.ok()) << written.message();

  const std::string minified = "{\"baseline_mm\":50.5,\"names\":[\"left cam\",\"right\"]}";
  // The flash now holds a version-0 record of the minified text.
  const std::vector<std::uint8_t> record = text_record(minified, 0);
  EXPECT_EQ(rig_.flash(0, 0x51000, static_cast<std::uint32_t>(record.size())), record);

  const Result<ReadJsonResult> read = device.read_json();
  ASSERT_TRUE(read.ok()) << read.status().message();
  EXPECT_EQ(read.value().json, minified);
  EXPECT_EQ(read.value().format_version, 0);
  EXPECT_EQ(pauses_.durations(), ms({100, 100}));
}

TEST_F(DeviceOperations, ReadJsonReportsTheRecordFormatVersionAndMinifiesThePayload) {
  rig_.set_flash(0, 0x51000, text_record("[ 1, 2,\t3 ]", 3));
  DEVICE_TESTING_OPEN(device, info_, 0);
  const Result<ReadJsonResult> read = device.read_json();
  ASSERT_TRUE(read.ok()) << read.status().message();
  EXPECT_EQ(read.value().format_version, 3);
  EXPECT_EQ(read.value().json, "[1,2,3]");
}

TEST_F(DeviceOperations, ReadJsonPausesOnlyAfterTheWholeReadSucceeded) {
  rig_.set_flash(0, 0x51000, text_record("{\"a\":1}"));
  DEVICE_TESTING_OPEN(device, info_, 0);
  rig_.clear_calls();
  pauses_.clear();
  ASSERT_TRUE(device.read_json().ok());
  const auto pauses = pauses_.pauses();
  ASSERT_EQ(pauses.size(), 1u);
  EXPECT_EQ(pauses[0].duration, std::chrono::milliseconds(100));
  EXPECT_EQ(pauses[0].calls_before, rig_.calls().size());
  EXPECT_EQ(rig_.call_names().back(), "SonixCam_UnInit");
}

TEST_F(DeviceOperations, ReadJsonReturnsTheFlashFailureUnchangedAndDoesNotPause) {
  rig_.set_flash(0, 0x51000, text_record("{\"a\":1}"));
  DEVICE_TESTING_OPEN(device, info_, 0);
  pauses_.clear();
  sim::VendorFault fault;
  fault.call = "SonixCam_CstmReadFromSF";
  fault.vendor_code = 8;
  rig_.add_fault(fault);
  const Result<ReadJsonResult> read = device.read_json();
  EXPECT_EQ(read.status().code(), ErrorCode::ReadFailed);
  EXPECT_EQ(read.status().message().rfind("SonixCam_CstmReadFromSF failed: vendor_code=", 0), 0u)
      << read.status().message();
  EXPECT_NE(read.status().message().find("(address=0x00051000, length=16)"), std::string::npos)
      << read.status().message();
  EXPECT_TRUE(pauses_.pauses().empty());
}

TEST_F(DeviceOperations, ReadJsonRefusesARecordThatIsNotJson) {
  rig_.set_flash(0, 0x51000, text_record("{\"a\":1} trailing"));
  DEVICE_TESTING_OPEN(device, info_, 0);
  pauses_.clear();
  const Result<ReadJsonResult> read = device.read_json();
  EXPECT_EQ(read.status().code(), ErrorCode::InvalidJson);
  EXPECT_EQ(read.status().message(), minify_and_validate_json("{\"a\":1} trailing").status().message());
  EXPECT_TRUE(pauses_.pauses().empty());
}

TEST_F(DeviceOperations, WriteJsonOfInvalidJsonLeavesTheFlashUntouched) {
  rig_.set_flash(0, 0x51000, text_record("{\"kept\":true}"));
  const std::vector<std::uint8_t> before = user_space();
  DEVICE_TESTING_OPEN(device, info_, 0);
  rig_.clear_calls();
  pauses_.clear();

  const Status empty = device.write_json("");
  EXPECT_EQ(empty.code(), ErrorCode::InvalidJson);
  EXPECT_EQ(empty.message(), "json text is empty");
  const Status broken = device.write_json("{\"a\": [1, 2}");
  EXPECT_EQ(broken.code(), ErrorCode::InvalidJson);
  EXPECT_EQ(broken.message(), minify_and_validate_json("{\"a\": [1, 2}").status().message());
  EXPECT_FALSE(broken.message().empty());

  EXPECT_TRUE(rig_.calls().empty());
  EXPECT_TRUE(pauses_.pauses().empty());
  EXPECT_EQ(user_space(), before);
}

TEST_F(DeviceOperations, WriteJsonTooLargeForTheUserSpaceFailsBeforeTheCameraIsContacted) {
  DEVICE_TESTING_OPEN(device, info_, 0);  // the fallback user space holds 4096 bytes
  rig_.clear_calls();
  const std::string big = "\"" + std::string(4096, 'x') + "\"";
  const Status status = device.write_json(big);
  EXPECT_FALSE(status.ok());
  EXPECT_EQ(status.code(), ErrorCode::InvalidLength);
  EXPECT_EQ(status.message(), "payload is too large");
  EXPECT_TRUE(rig_.calls().empty());
  EXPECT_EQ(user_space(16), std::vector<std::uint8_t>(16, 0xFF));
}

TEST_F(DeviceOperations, WriteJsonFillingTheWholeFallbackUserSpaceFits) {
  DEVICE_TESTING_OPEN(device, info_, 0);
  rig_.clear_calls();
  // 16 header bytes and a 4080-byte payload make exactly one 4096-byte sector.
  const std::string largest = "\"" + std::string(4078, 'x') + "\"";
  const Status status = device.write_json(largest);
  ASSERT_TRUE(status.ok()) << status.message();
  const auto erases = calls_named(rig_.calls(), "SonixCam_SectorEraseSF");
  ASSERT_EQ(erases.size(), 1u);
  EXPECT_EQ(erases[0].args.at(0), 0x51000);
  EXPECT_EQ(user_space(), text_record(largest));
  const Result<ReadJsonResult> read = device.read_json();
  ASSERT_TRUE(read.ok()) << read.status().message();
  EXPECT_EQ(read.value().json, largest);
}

TEST_F(DeviceOperations, WriteJsonReturnsTheWriteFailureAndDoesNotPause) {
  DEVICE_TESTING_OPEN(device, info_, 0);
  pauses_.clear();
  rig_.cut_power_during_write(0, 4);
  const Status status = device.write_json("{\"a\":1}");
  EXPECT_EQ(status.code(), ErrorCode::WriteFailed);
  EXPECT_EQ(status.message().rfind("SonixCam_WriteToSF failed: vendor_code=", 0), 0u) << status.message();
  EXPECT_TRUE(pauses_.pauses().empty());
}

TEST_F(DeviceOperations, FlashJsonAccessIsRefusedWhileTheImuIsOpen) {
  DEVICE_TESTING_OPEN(device, info_, 0);
  ASSERT_TRUE(device.write_json("{\"a\":1}").ok());
  ASSERT_TRUE(device.open_imu().ok());
  rig_.clear_calls();

  const Result<ReadJsonResult> read = device.read_json();
  EXPECT_EQ(read.status().code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(read.status().message(), kImuOpen);
  const Status write = device.write_json("{\"a\":2}");
  EXPECT_EQ(write.code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(write.message(), kImuOpen);
  EXPECT_TRUE(rig_.calls().empty());

  ASSERT_TRUE(device.close_imu().ok());
  const Result<ReadJsonResult> again = device.read_json();
  ASSERT_TRUE(again.ok()) << again.status().message();
  EXPECT_EQ(again.value().json, "{\"a\":1}");
  EXPECT_TRUE(device.write_json("{\"a\":2}").ok());
}

TEST_F(DeviceOperations, ImuCheckComesBeforeTheFlashCapabilityCheck) {
  CapabilityReport report;
  report.capability_bits = kCapabilityImu;
  ReportedImuInfo imu;
  imu.xu_unit = 4;
  imu.xu_selector = 10;
  imu.xu_length = 17;
  imu.decimal_exponent = 1;
  report.imu = imu;
  rig_.set_capability_report(0, detail::encode_xu_capability_report(report));
  DEVICE_TESTING_OPEN(device, info_, 0);
  EXPECT_EQ(device.read_json().status().message(), "valid capability XU report does not declare Flash");
  EXPECT_EQ(device.read_json().status().code(), ErrorCode::NotSupported);
  EXPECT_EQ(device.write_json("{}").code(), ErrorCode::NotSupported);
  ASSERT_TRUE(device.open_imu().ok());
  EXPECT_EQ(device.read_json().status().message(), kImuOpen);
  EXPECT_EQ(device.write_json("{}").message(), kImuOpen);
}

TEST_F(DeviceOperations, ReadJsonReallyWaitsAfterTheRead) {
  rig_.set_flash(0, 0x51000, text_record("{\"a\":1}"));
  DEVICE_TESTING_OPEN(device, info_, 0);
  const detail::bridge::PlatformOverride real_pauses(detail::bridge::replacing_pauses(detail::bridge::real_pause()));
  const auto start = std::chrono::steady_clock::now();
  const Result<ReadJsonResult> read = device.read_json();
  const auto elapsed = std::chrono::steady_clock::now() - start;
  ASSERT_TRUE(read.ok()) << read.status().message();
  EXPECT_GE(elapsed, std::chrono::milliseconds(100));
}

}  // namespace
}  // namespace tovanel::uvc_stereo
