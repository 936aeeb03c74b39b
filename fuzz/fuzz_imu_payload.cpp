#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "fuzz_check.h"
#include "fuzz_input.h"
#include "imu/imu_payload.h"
#include "uvc_stereo/imu.h"
#include "uvc_stereo/records.h"

namespace {

namespace sdk = tovanel::uvc_stereo;
using sdk::ErrorCode;

// Bytes after the sample are ignored by decoding, so the input's tail is free to choose the conversion factors.
constexpr std::size_t kSampleSize = 17;

std::int16_t be16(const std::uint8_t* bytes) {
  return static_cast<std::int16_t>(static_cast<std::uint16_t>((bytes[0] << 8) | bytes[1]));
}

// Both NaN, or the same bits: a division by the same factors must give the same double every time.
bool same_double(double a, double b) {
  if (std::isnan(a) && std::isnan(b)) return true;
  return std::memcmp(&a, &b, sizeof a) == 0;
}

// The sample layout restated on its own: big-endian signed fields, a 20-bit counter across bytes 14 to 16.
sdk::ReadImuResult reference_decode(const std::uint8_t* b) {
  sdk::ReadImuResult sample;
  sample.sample_counter =
      (static_cast<std::uint32_t>(b[16] & 0x0F) << 16) | (static_cast<std::uint32_t>(b[14]) << 8) | b[15];
  sample.temperature_raw = be16(b);
  for (std::size_t axis = 0; axis < 3; ++axis) {
    sample.accel_raw[axis] = be16(b + 2 + 2 * axis);
    sample.gyro_raw[axis] = be16(b + 8 + 2 * axis);
  }
  return sample;
}

void check_decode(const std::uint8_t* data, std::size_t size) {
  const auto decoded = sdk::detail::decode_imu_payload(data, size);
  if (size < kSampleSize) {
    FUZZ_CHECK(!decoded.ok() && decoded.status().code() == ErrorCode::InvalidArgument &&
                   decoded.status().message() == "IMU payload is shorter than 17 bytes",
               "a " + std::to_string(size) + "-byte payload gave '" + decoded.status().message() + "'");
    return;
  }
  if (data[0] == sdk::detail::kImuStatusInitFailed) {
    FUZZ_CHECK(!decoded.ok() && decoded.status().code() == ErrorCode::DeviceUnavailable &&
                   decoded.status().message() == "IMU device reported initialization failure",
               "status byte 0xF1 gave '" + decoded.status().message() + "'");
    return;
  }
  if (data[0] == sdk::detail::kImuStatusReadFailed) {
    FUZZ_CHECK(!decoded.ok() && decoded.status().code() == ErrorCode::ReadFailed &&
                   decoded.status().message() == "IMU device reported read failure",
               "status byte 0xF2 gave '" + decoded.status().message() + "'");
    return;
  }
  FUZZ_CHECK(decoded.ok() && decoded.status().message().empty(), "decode failed: " + decoded.status().message());
  const sdk::ReadImuResult& sample = decoded.value();
  const sdk::ReadImuResult expected = reference_decode(data);
  FUZZ_CHECK(sample.host_timestamp_ns == 0, "decoding set a host timestamp");
  FUZZ_CHECK(sample.sample_counter == expected.sample_counter && sample.sample_counter < (1u << 20),
             "sample counter " + std::to_string(sample.sample_counter));
  FUZZ_CHECK(sample.temperature_raw == expected.temperature_raw && sample.accel_raw == expected.accel_raw &&
                 sample.gyro_raw == expected.gyro_raw,
             "decoded fields differ from the big-endian bytes");

  std::array<std::uint8_t, kSampleSize> encoded{};
  sdk::detail::encode_imu_payload(sample, encoded);
  for (std::size_t i = 0; i < kSampleSize; ++i) {
    const std::uint8_t want = i == 16 ? static_cast<std::uint8_t>(data[i] & 0x0F) : data[i];
    FUZZ_CHECK(encoded[i] == want, "re-encoded byte " + std::to_string(i) + " differs");
  }
}

void check_convert(const sdk::ReadImuResult& raw, const sdk::ImuConversionOptions& options) {
  const auto converted = sdk::convert_imu(raw, options);
  if (options.temperature_lsb_per_c == 0.0) {
    FUZZ_CHECK(!converted.ok() && converted.status().code() == ErrorCode::InvalidArgument &&
                   converted.status().message() == "temperature_lsb_per_c must not be zero",
               "a zero temperature scale gave '" + converted.status().message() + "'");
    return;
  }
  FUZZ_CHECK(converted.ok(), "conversion failed: " + converted.status().message());
  const sdk::ConvertedImuResult& out = converted.value();
  FUZZ_CHECK(out.host_timestamp_ns == raw.host_timestamp_ns, "host timestamp not carried over");
  FUZZ_CHECK(same_double(out.temperature_c,
                         raw.temperature_raw / options.temperature_lsb_per_c + options.temperature_offset_c),
             "temperature " + std::to_string(out.temperature_c));
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double accel = options.accel_lsb_per_g == 0.0 ? 0.0 : raw.accel_raw[axis] / options.accel_lsb_per_g;
    const double gyro = options.gyro_lsb_per_dps == 0.0 ? 0.0 : raw.gyro_raw[axis] / options.gyro_lsb_per_dps;
    FUZZ_CHECK(same_double(out.accel_g[axis], accel), "acceleration on axis " + std::to_string(axis));
    FUZZ_CHECK(same_double(out.gyro_dps[axis], gyro), "rate on axis " + std::to_string(axis));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // An exactly sized copy, so that reading one byte past a short payload is caught.
  const uvc_stereo_fuzz::ExactText payload(data, size);
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(payload.view().data());
  check_decode(bytes, size);
  if (size == 0) {
    check_decode(nullptr, 0);
  }

  std::array<std::uint8_t, kSampleSize> sample_bytes{};
  if (size != 0) {
    std::memcpy(sample_bytes.data(), data, size < kSampleSize ? size : kSampleSize);
  }
  sdk::ReadImuResult raw = reference_decode(sample_bytes.data());
  const std::size_t tail_size = size > kSampleSize ? size - kSampleSize : 0;
  uvc_stereo_fuzz::FuzzInput tail(tail_size != 0 ? data + kSampleSize : data, tail_size);
  sdk::ImuConversionOptions options;
  const std::uint8_t chosen = tail.take_u8();
  // Each factor is either the shipped default or any double the input spells, zero, NaN and infinity included.
  if ((chosen & 0x01) != 0) options.temperature_offset_c = tail.take_double();
  if ((chosen & 0x02) != 0) options.temperature_lsb_per_c = tail.take_double();
  if ((chosen & 0x04) != 0) options.accel_lsb_per_g = tail.take_double();
  if ((chosen & 0x08) != 0) options.gyro_lsb_per_dps = tail.take_double();
  raw.host_timestamp_ns = tail.take_u64();
  check_convert(raw, options);
  return 0;
}
