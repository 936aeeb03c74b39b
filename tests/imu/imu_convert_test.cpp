#include <gtest/gtest.h>

#include <array>
#include <cstdint>

#include "uvc_stereo/imu.h"

namespace tovanel::uvc_stereo {
namespace {

ReadImuResult Sample(std::int16_t temperature, std::array<std::int16_t, 3> accel, std::array<std::int16_t, 3> gyro) {
  ReadImuResult raw;
  raw.temperature_raw = temperature;
  raw.accel_raw = accel;
  raw.gyro_raw = gyro;
  return raw;
}

ConvertedImuResult ConvertOrFail(const ReadImuResult& raw, const ImuConversionOptions& options) {
  const Result<ConvertedImuResult> result = convert_imu(raw, options);
  EXPECT_TRUE(result.ok()) << result.status().message();
  EXPECT_TRUE(result.status().message().empty());
  return result.ok() ? result.value() : ConvertedImuResult{};
}

TEST(ConvertImu, DefaultOptionsGiveTwentyFiveDegreesOneGAndTenDegreesPerSecond) {
  const ConvertedImuResult converted = ConvertOrFail(Sample(0, {2048, 0, 0}, {164, 0, 0}), ImuConversionOptions{});
  EXPECT_EQ(converted.temperature_c, 25.0);
  EXPECT_EQ(converted.accel_g, (std::array<double, 3>{1.0, 0.0, 0.0}));
  EXPECT_EQ(converted.gyro_dps, (std::array<double, 3>{10.0, 0.0, 0.0}));
}

TEST(ConvertImu, ConvertsEachAxisOnItsOwn) {
  const ConvertedImuResult converted =
      ConvertOrFail(Sample(-128, {-2048, 1024, 4096}, {-164, 82, 328}), ImuConversionOptions{});
  EXPECT_EQ(converted.temperature_c, 24.0);
  EXPECT_EQ(converted.accel_g, (std::array<double, 3>{-1.0, 0.5, 2.0}));
  EXPECT_EQ(converted.gyro_dps, (std::array<double, 3>{-10.0, 5.0, 20.0}));
}

TEST(ConvertImu, UsesTheGivenOffsetAndScales) {
  ImuConversionOptions options;
  options.temperature_offset_c = -0.5;
  options.temperature_lsb_per_c = 256.0;
  options.accel_lsb_per_g = 8192.0;
  options.gyro_lsb_per_dps = 32.0;
  const ConvertedImuResult converted = ConvertOrFail(Sample(640, {8192, -4096, 2048}, {32, -16, 8}), options);
  EXPECT_EQ(converted.temperature_c, 2.0);
  EXPECT_EQ(converted.accel_g, (std::array<double, 3>{1.0, -0.5, 0.25}));
  EXPECT_EQ(converted.gyro_dps, (std::array<double, 3>{1.0, -0.5, 0.25}));
}

TEST(ConvertImu, DividesInDoublePrecision) {
  ImuConversionOptions options;
  options.temperature_offset_c = 0.0;
  options.temperature_lsb_per_c = 3.0;
  options.accel_lsb_per_g = 3.0;
  options.gyro_lsb_per_dps = 7.0;
  const ConvertedImuResult converted = ConvertOrFail(Sample(1, {1, 2, -1}, {1, 3, 32767}), options);
  EXPECT_EQ(converted.temperature_c, 1.0 / 3.0);
  EXPECT_EQ(converted.accel_g, (std::array<double, 3>{1.0 / 3.0, 2.0 / 3.0, -1.0 / 3.0}));
  EXPECT_EQ(converted.gyro_dps, (std::array<double, 3>{1.0 / 7.0, 3.0 / 7.0, 32767.0 / 7.0}));
}

TEST(ConvertImu, CopiesTheHostTimestamp) {
  ReadImuResult raw = Sample(0, {0, 0, 0}, {0, 0, 0});
  raw.host_timestamp_ns = 0xFEDCBA9876543210ull;
  raw.sample_counter = 0xFFFFF;
  EXPECT_EQ(ConvertOrFail(raw, ImuConversionOptions{}).host_timestamp_ns, 0xFEDCBA9876543210ull);
}

TEST(ConvertImu, ZeroAccelScaleTurnsTheAccelerometerOffAndStillConvertsRates) {
  ImuConversionOptions options;
  options.accel_lsb_per_g = 0.0;
  options.gyro_lsb_per_dps = 16.4;
  const ConvertedImuResult converted = ConvertOrFail(Sample(256, {2048, -2048, 32767}, {164, -328, 0}), options);
  EXPECT_EQ(converted.accel_g, (std::array<double, 3>{0.0, 0.0, 0.0}));
  EXPECT_EQ(converted.gyro_dps, (std::array<double, 3>{10.0, -20.0, 0.0}));
  EXPECT_EQ(converted.temperature_c, 27.0);
}

TEST(ConvertImu, ZeroGyroScaleTurnsTheGyroscopeOffAndStillConvertsAcceleration) {
  ImuConversionOptions options;
  options.gyro_lsb_per_dps = 0.0;
  const ConvertedImuResult converted = ConvertOrFail(Sample(0, {1024, 0, -1024}, {164, 1, -32768}), options);
  EXPECT_EQ(converted.gyro_dps, (std::array<double, 3>{0.0, 0.0, 0.0}));
  EXPECT_EQ(converted.accel_g, (std::array<double, 3>{0.5, 0.0, -0.5}));
}

TEST(ConvertImu, OnlyZeroScalesAreSpecialNegativeOnesDivide) {
  ImuConversionOptions options;
  options.temperature_lsb_per_c = -128.0;
  options.accel_lsb_per_g = -2048.0;
  options.gyro_lsb_per_dps = -16.4;
  const ConvertedImuResult converted = ConvertOrFail(Sample(128, {2048, 0, 0}, {164, 0, 0}), options);
  EXPECT_EQ(converted.temperature_c, 24.0);
  EXPECT_EQ(converted.accel_g[0], -1.0);
  EXPECT_EQ(converted.gyro_dps[0], -10.0);
}

TEST(ConvertImu, RejectsZeroTemperatureScaleEvenWithValidOtherScales) {
  ImuConversionOptions options;
  options.temperature_lsb_per_c = 0.0;
  const Result<ConvertedImuResult> result = convert_imu(Sample(100, {2048, 0, 0}, {164, 0, 0}), options);
  EXPECT_FALSE(result.ok());
  EXPECT_EQ(result.status().code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(result.status().message(), "temperature_lsb_per_c must not be zero");
}

TEST(ConvertImu, RejectsNegativeZeroTemperatureScale) {
  ImuConversionOptions options;
  options.temperature_lsb_per_c = -0.0;
  const Result<ConvertedImuResult> result = convert_imu(Sample(0, {0, 0, 0}, {0, 0, 0}), options);
  EXPECT_FALSE(result.ok());
  EXPECT_EQ(result.status().message(), "temperature_lsb_per_c must not be zero");
}

TEST(ConvertImu, ZeroTemperatureScaleFailsEvenWhenTheOtherScalesAreOff) {
  ImuConversionOptions options;
  options.temperature_lsb_per_c = 0.0;
  options.accel_lsb_per_g = 0.0;
  options.gyro_lsb_per_dps = 0.0;
  const Result<ConvertedImuResult> result = convert_imu(Sample(0, {0, 0, 0}, {0, 0, 0}), options);
  EXPECT_FALSE(result.ok());
  EXPECT_EQ(result.status().code(), ErrorCode::InvalidArgument);
}

}  // namespace
}  // namespace tovanel::uvc_stereo
