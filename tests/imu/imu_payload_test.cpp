#include "imu/imu_payload.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace tovanel::uvc_stereo {
namespace {

using detail::decode_imu_payload;
using detail::encode_imu_payload;
using Payload = std::array<std::uint8_t, 17>;

void ExpectFailure(const std::uint8_t* data, std::size_t length, ErrorCode code, const std::string& message) {
  const Result<ReadImuResult> result = decode_imu_payload(data, length);
  EXPECT_FALSE(result.ok());
  EXPECT_EQ(result.status().code(), code);
  EXPECT_EQ(result.status().message(), message);
}

ReadImuResult DecodeOrFail(const std::uint8_t* data, std::size_t length) {
  const Result<ReadImuResult> result = decode_imu_payload(data, length);
  EXPECT_TRUE(result.ok()) << result.status().message();
  return result.ok() ? result.value() : ReadImuResult{};
}

void ExpectSameSample(const ReadImuResult& actual, const ReadImuResult& expected) {
  EXPECT_EQ(actual.host_timestamp_ns, expected.host_timestamp_ns);
  EXPECT_EQ(actual.sample_counter, expected.sample_counter);
  EXPECT_EQ(actual.temperature_raw, expected.temperature_raw);
  EXPECT_EQ(actual.accel_raw, expected.accel_raw);
  EXPECT_EQ(actual.gyro_raw, expected.gyro_raw);
}

// Every field distinct, including both signed extremes, laid out big-endian by hand.
constexpr Payload kDistinctFields = {
    0x0C, 0x80,  // temperature 3200
    0xFF, 0xFE,  // accel x -2
    0x80, 0x00,  // accel y -32768
    0x7F, 0xFF,  // accel z 32767
    0x00, 0x01,  // gyro x 1
    0xFF, 0xFF,  // gyro y -1
    0x01, 0x00,  // gyro z 256
    0x12, 0x34,  // counter bits 15..0
    0xF5,        // counter bits 19..16 in the low nibble; the high nibble is noise
};

TEST(ImuPayload, RejectsSixteenBytes) {
  const Payload payload = kDistinctFields;
  ExpectFailure(payload.data(), 16, ErrorCode::InvalidArgument, "IMU payload is shorter than 17 bytes");
}

TEST(ImuPayload, RejectsNoBytesAtAll) {
  const Payload payload = kDistinctFields;
  ExpectFailure(payload.data(), 0, ErrorCode::InvalidArgument, "IMU payload is shorter than 17 bytes");
  ExpectFailure(nullptr, 0, ErrorCode::InvalidArgument, "IMU payload is shorter than 17 bytes");
  ExpectFailure(nullptr, 17, ErrorCode::InvalidArgument, "IMU payload is shorter than 17 bytes");
}

TEST(ImuPayload, LengthIsCheckedBeforeTheStatusByte) {
  Payload payload = kDistinctFields;
  payload[0] = 0xF1;
  ExpectFailure(payload.data(), 16, ErrorCode::InvalidArgument, "IMU payload is shorter than 17 bytes");
}

TEST(ImuPayload, DecodesEveryFieldBigEndianAndSigned) {
  const ReadImuResult sample = DecodeOrFail(kDistinctFields.data(), kDistinctFields.size());
  EXPECT_EQ(sample.host_timestamp_ns, 0u);
  EXPECT_EQ(sample.temperature_raw, 3200);
  EXPECT_EQ(sample.accel_raw, (std::array<std::int16_t, 3>{-2, -32768, 32767}));
  EXPECT_EQ(sample.gyro_raw, (std::array<std::int16_t, 3>{1, -1, 256}));
  EXPECT_EQ(sample.sample_counter, 0x51234u);
}

TEST(ImuPayload, AccelerometerXOfFfFeIsMinusTwo) {
  Payload payload{};
  payload[2] = 0xFF;
  payload[3] = 0xFE;
  const ReadImuResult sample = DecodeOrFail(payload.data(), payload.size());
  EXPECT_EQ(sample.accel_raw[0], -2);
  EXPECT_EQ(sample.accel_raw[1], 0);
  EXPECT_EQ(sample.accel_raw[2], 0);
}

TEST(ImuPayload, CounterTakesOnlyTheLowNibbleOfItsTopByte) {
  Payload payload{};
  payload[14] = 0x12;
  payload[15] = 0x34;
  payload[16] = 0xF5;
  EXPECT_EQ(DecodeOrFail(payload.data(), payload.size()).sample_counter, 0x51234u);
  payload[14] = 0xFF;
  payload[15] = 0xFF;
  payload[16] = 0xFF;
  EXPECT_EQ(DecodeOrFail(payload.data(), payload.size()).sample_counter, 0xFFFFFu);
  payload[16] = 0xF0;
  EXPECT_EQ(DecodeOrFail(payload.data(), payload.size()).sample_counter, 0x0FFFFu);
}

TEST(ImuPayload, SixtyFourBytePayloadDecodesFromItsFirstSeventeen) {
  std::vector<std::uint8_t> payload(kDistinctFields.begin(), kDistinctFields.end());
  payload.resize(64, 0xF1);
  const ReadImuResult long_read = DecodeOrFail(payload.data(), payload.size());
  const ReadImuResult exact = DecodeOrFail(kDistinctFields.data(), kDistinctFields.size());
  ExpectSameSample(long_read, exact);
  EXPECT_EQ(long_read.temperature_raw, 3200);
}

TEST(ImuPayload, StatusF1IsAnInitialisationFailureWhateverFollows) {
  Payload payload = kDistinctFields;
  payload[0] = 0xF1;
  ExpectFailure(payload.data(), payload.size(), ErrorCode::DeviceUnavailable,
                "IMU device reported initialization failure");
  payload.fill(0xF1);
  ExpectFailure(payload.data(), payload.size(), ErrorCode::DeviceUnavailable,
                "IMU device reported initialization failure");
}

TEST(ImuPayload, StatusF2IsAReadFailure) {
  Payload payload = kDistinctFields;
  payload[0] = 0xF2;
  ExpectFailure(payload.data(), payload.size(), ErrorCode::ReadFailed, "IMU device reported read failure");
}

TEST(ImuPayload, HighBytesNextToTheStatusValuesAreTemperatures) {
  Payload payload{};
  payload[0] = 0xF0;
  EXPECT_EQ(DecodeOrFail(payload.data(), payload.size()).temperature_raw, -4096);
  payload[0] = 0xF3;
  payload[1] = 0x01;
  EXPECT_EQ(DecodeOrFail(payload.data(), payload.size()).temperature_raw, -3327);
}

TEST(ImuPayload, StatusBytesElsewhereAreOrdinaryData) {
  Payload payload{};
  payload[1] = 0xF1;
  payload[2] = 0xF2;
  const ReadImuResult sample = DecodeOrFail(payload.data(), payload.size());
  EXPECT_EQ(sample.temperature_raw, 0xF1);
  EXPECT_EQ(sample.accel_raw[0], -3584);
}

TEST(ImuPayloadEncoder, WritesTheDeviceLayout) {
  ReadImuResult sample;
  sample.host_timestamp_ns = 123456789;  // host-side only; not part of the payload
  sample.sample_counter = 0x51234;
  sample.temperature_raw = 3200;
  sample.accel_raw = {-2, -32768, 32767};
  sample.gyro_raw = {1, -1, 256};
  Payload payload{};
  encode_imu_payload(sample, payload);
  Payload expected = kDistinctFields;
  expected[16] = 0x05;  // the encoder leaves the unused high nibble clear
  EXPECT_EQ(payload, expected);
}

TEST(ImuPayloadEncoder, DecodesBackToTheSampleItEncoded) {
  ReadImuResult sample;
  sample.sample_counter = 0xABCDE;
  sample.temperature_raw = -1234;
  sample.accel_raw = {100, -200, 300};
  sample.gyro_raw = {-32768, 0, 32767};
  Payload payload{};
  encode_imu_payload(sample, payload);
  ExpectSameSample(DecodeOrFail(payload.data(), payload.size()), sample);
}

TEST(ImuPayloadEncoder, KeepsOnlyTheTwentyCounterBits) {
  ReadImuResult sample;
  sample.sample_counter = 0xFFF00001;
  Payload payload{};
  encode_imu_payload(sample, payload);
  EXPECT_EQ(payload[14], 0x00);
  EXPECT_EQ(payload[15], 0x01);
  EXPECT_EQ(payload[16], 0x00);
  EXPECT_EQ(DecodeOrFail(payload.data(), payload.size()).sample_counter, 1u);
}

TEST(ImuPayloadEncoder, WritesATemperatureThatCollidesWithAStatusValueAsItStands) {
  ReadImuResult sample;
  sample.temperature_raw = static_cast<std::int16_t>(-0x0E00);  // 0xF200
  Payload payload{};
  encode_imu_payload(sample, payload);
  EXPECT_EQ(payload[0], 0xF2);
  EXPECT_EQ(payload[1], 0x00);
  ExpectFailure(payload.data(), payload.size(), ErrorCode::ReadFailed, "IMU device reported read failure");
}

}  // namespace
}  // namespace tovanel::uvc_stereo
