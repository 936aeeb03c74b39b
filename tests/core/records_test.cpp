#include "uvc_stereo/records.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "uvc_stereo/capability.h"

namespace tovanel::uvc_stereo {
namespace {

TEST(ImuConversionOptions, DefaultsMatchTheFallbackSensorScales) {
  const ImuConversionOptions options;
  EXPECT_EQ(options.temperature_offset_c, 25.0);
  EXPECT_EQ(options.temperature_lsb_per_c, 128.0);
  EXPECT_EQ(options.accel_lsb_per_g, 2048.0);
  EXPECT_EQ(options.gyro_lsb_per_dps, 16.4);
}

TEST(ImuTransportConfig, DefaultsToUnitFourSelectorTenLengthSeventeen) {
  const detail::ImuTransportConfig transport;
  EXPECT_EQ(transport.xu_unit, 4);
  EXPECT_EQ(transport.xu_selector, 10);
  EXPECT_EQ(transport.xu_length, 17);
}

TEST(DeviceScanFilter, DefaultNarrowsNothing) {
  const DeviceScanFilter filter;
  EXPECT_FALSE(filter.vendor_id.has_value());
  EXPECT_FALSE(filter.product_id.has_value());
  EXPECT_FALSE(filter.require_serial_number);
}

TEST(OpenDeviceOptions, DefaultRequiresNoCapabilities) { EXPECT_EQ(OpenDeviceOptions{}.required_capabilities, 0u); }

TEST(CapabilitySource, ValuesAreNoneReportedFallbackInAByte) {
  static_assert(std::is_same_v<std::underlying_type_t<CapabilitySource>, std::uint8_t>);
  EXPECT_EQ(static_cast<int>(CapabilitySource::None), 0);
  EXPECT_EQ(static_cast<int>(CapabilitySource::Reported), 1);
  EXPECT_EQ(static_cast<int>(CapabilitySource::Fallback), 2);
}

TEST(DeviceCapabilityInfo, DefaultHasSourceNoneNoReportAndNoMessage) {
  const DeviceCapabilityInfo info;
  EXPECT_EQ(info.source, CapabilitySource::None);
  EXPECT_FALSE(info.report.has_value());
  EXPECT_TRUE(info.message.empty());
}

TEST(DeviceCapabilityInfo, MoveAssignmentTakesTheReportAndTheMessage) {
  DeviceCapabilityInfo source;
  source.source = CapabilitySource::Reported;
  CapabilityReport report;
  report.capability_bits = 0x06;
  report.imu = ReportedImuInfo{};
  report.imu->model = "BMI088";
  source.report = report;
  source.message = "kept only to check that it travels with the move";

  DeviceCapabilityInfo target;
  target = std::move(source);
  EXPECT_EQ(target.source, CapabilitySource::Reported);
  ASSERT_TRUE(target.report.has_value());
  EXPECT_EQ(target.report->capability_bits, 0x06u);
  ASSERT_TRUE(target.report->imu.has_value());
  EXPECT_EQ(target.report->imu->model, "BMI088");
  EXPECT_EQ(target.message, "kept only to check that it travels with the move");
}

TEST(ReportedImuInfo, FreshInfoStartsWithTheFallbackScales) {
  const ReportedImuInfo imu;
  EXPECT_TRUE(imu.model.empty());
  EXPECT_EQ(imu.xu_unit, 0);
  EXPECT_EQ(imu.xu_selector, 0);
  EXPECT_EQ(imu.xu_length, 0);
  EXPECT_EQ(imu.decimal_exponent, 0);
  EXPECT_EQ(imu.temperature_offset_c, 25.0);
  EXPECT_EQ(imu.temperature_lsb_per_c, 128.0);
  EXPECT_EQ(imu.accel_lsb_per_g, 2048.0);
  EXPECT_EQ(imu.gyro_lsb_per_dps, 16.4);
}

TEST(CapabilityReport, DefaultIsVersionOneWithoutBitsOrOptionalParts) {
  const CapabilityReport report;
  EXPECT_EQ(report.major_version, 1);
  EXPECT_EQ(report.minor_version, 0);
  EXPECT_EQ(report.capability_bits, 0u);
  EXPECT_FALSE(report.flash_user_space.has_value());
  EXPECT_FALSE(report.imu.has_value());
}

TEST(ReadImuResult, DefaultIsAllZero) {
  const ReadImuResult raw;
  EXPECT_EQ(raw.host_timestamp_ns, 0u);
  EXPECT_EQ(raw.sample_counter, 0u);
  EXPECT_EQ(raw.temperature_raw, 0);
  EXPECT_EQ(raw.accel_raw, (std::array<std::int16_t, 3>{0, 0, 0}));
  EXPECT_EQ(raw.gyro_raw, (std::array<std::int16_t, 3>{0, 0, 0}));
}

TEST(ConvertedImuResult, DefaultIsAllZero) {
  const ConvertedImuResult converted;
  EXPECT_EQ(converted.host_timestamp_ns, 0u);
  EXPECT_EQ(converted.temperature_c, 0.0);
  EXPECT_EQ(converted.accel_g, (std::array<double, 3>{0.0, 0.0, 0.0}));
  EXPECT_EQ(converted.gyro_dps, (std::array<double, 3>{0.0, 0.0, 0.0}));
}

TEST(ReadJsonResult, DefaultIsVersionZeroWithNoText) {
  const ReadJsonResult result;
  EXPECT_EQ(result.format_version, 0);
  EXPECT_TRUE(result.json.empty());
}

TEST(DeviceInfo, DefaultIsAnUnknownDevice) {
  const DeviceInfo info;
  EXPECT_EQ(info.vendor_id, 0);
  EXPECT_EQ(info.product_id, 0);
  EXPECT_FALSE(info.aux_flag_a);
  EXPECT_FALSE(info.aux_flag_b);
  EXPECT_TRUE(info.serial_number.empty());
  EXPECT_TRUE(info.descriptor_text.empty());
  EXPECT_TRUE(info.friendly_name.empty());
  EXPECT_TRUE(info.extra_text.empty());
  EXPECT_TRUE(info.device_path.empty());
  EXPECT_TRUE(info.backend_indices.empty());
}

DeviceInfo FilledDeviceInfo() {
  DeviceInfo info;
  info.vendor_id = 0x0C45;
  info.product_id = 0x6366;
  info.aux_flag_a = true;
  info.aux_flag_b = false;
  info.serial_number = "SN-0001";
  info.descriptor_text = "descriptor three";
  info.friendly_name = "Stereo Camera";
  info.extra_text = "extra";
  info.device_path = "\\\\?\\usb#vid_0c45&pid_6366#sn-0001#{guid}";
  info.backend_indices[OpenCvBackend::Dshow] = 1;
  info.backend_indices[OpenCvBackend::Msmf] = 0;
  return info;
}

void ExpectSameDeviceInfo(const DeviceInfo& actual, const DeviceInfo& expected) {
  EXPECT_EQ(actual.vendor_id, expected.vendor_id);
  EXPECT_EQ(actual.product_id, expected.product_id);
  EXPECT_EQ(actual.aux_flag_a, expected.aux_flag_a);
  EXPECT_EQ(actual.aux_flag_b, expected.aux_flag_b);
  EXPECT_EQ(actual.serial_number, expected.serial_number);
  EXPECT_EQ(actual.descriptor_text, expected.descriptor_text);
  EXPECT_EQ(actual.friendly_name, expected.friendly_name);
  EXPECT_EQ(actual.extra_text, expected.extra_text);
  EXPECT_EQ(actual.device_path, expected.device_path);
  EXPECT_EQ(actual.backend_indices, expected.backend_indices);
}

TEST(DeviceInfo, CopyConstructionCopiesEveryField) {
  const DeviceInfo source = FilledDeviceInfo();
  const DeviceInfo copy(source);  // NOLINT(performance-unnecessary-copy-initialization)
  ExpectSameDeviceInfo(copy, FilledDeviceInfo());
  ExpectSameDeviceInfo(source, FilledDeviceInfo());
}

TEST(DeviceInfo, CopyAssignmentCopiesEveryFieldAndStaysIndependent) {
  const DeviceInfo source = FilledDeviceInfo();
  DeviceInfo copy;
  copy.extra_text = "overwritten";
  copy = source;
  ExpectSameDeviceInfo(copy, FilledDeviceInfo());
  copy.serial_number = "changed";
  copy.backend_indices.erase(OpenCvBackend::Dshow);
  EXPECT_EQ(source.serial_number, "SN-0001");
  EXPECT_EQ(source.backend_indices.size(), 2u);
}

TEST(DeviceInfo, MoveCarriesEveryField) {
  DeviceInfo source = FilledDeviceInfo();
  const DeviceInfo moved(std::move(source));
  ExpectSameDeviceInfo(moved, FilledDeviceInfo());
}

}  // namespace
}  // namespace tovanel::uvc_stereo
