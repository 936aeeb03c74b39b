#include "imu/imu_payload.h"

#include "core/byte_order.h"

namespace tovanel::uvc_stereo::detail {
namespace {

constexpr std::size_t kTemperatureOffset = 0;
constexpr std::size_t kAccelOffset = 2;
constexpr std::size_t kGyroOffset = 8;
constexpr std::size_t kCounterMiddleOffset = 14;
constexpr std::size_t kCounterLowOffset = 15;
// Only the low nibble of this byte belongs to the counter; the device leaves the high nibble undefined.
constexpr std::size_t kCounterHighOffset = 16;
constexpr std::uint32_t kCounterMask = 0xFFFFF;

// The device sends two's complement; the conversion is spelled out so it holds before C++20 too.
std::int16_t load_be_i16(const std::uint8_t* bytes) {
  const int raw = load_be16(bytes);
  return static_cast<std::int16_t>(raw >= 0x8000 ? raw - 0x10000 : raw);
}

void store_be_i16(std::uint8_t* bytes, std::int16_t value) { store_be16(bytes, static_cast<std::uint16_t>(value)); }

}  // namespace

Result<ReadImuResult> decode_imu_payload(const std::uint8_t* data, std::size_t length) {
  if (data == nullptr || length < kImuPayloadSize) {
    return Status(ErrorCode::InvalidArgument, "IMU payload is shorter than 17 bytes");
  }
  // The device protocol overloads the temperature's high byte with these two status values, so a genuine
  // temperature of 0xF1xx or 0xF2xx cannot be told apart from a failure report.
  if (data[0] == kImuStatusInitFailed) {
    return Status(ErrorCode::DeviceUnavailable, "IMU device reported initialization failure");
  }
  if (data[0] == kImuStatusReadFailed) {
    return Status(ErrorCode::ReadFailed, "IMU device reported read failure");
  }

  // Every field is computed into a register and the record is built once, in place: filling a local record
  // field by field and copying it out made the copy's wide loads wait for the narrow stores just made.
  const std::uint32_t counter = (static_cast<std::uint32_t>(data[kCounterHighOffset] & 0x0Fu) << 16) |
                                (static_cast<std::uint32_t>(data[kCounterMiddleOffset]) << 8) |
                                static_cast<std::uint32_t>(data[kCounterLowOffset]);
  return ReadImuResult{
      0,
      counter,
      load_be_i16(data + kTemperatureOffset),
      {load_be_i16(data + kAccelOffset), load_be_i16(data + kAccelOffset + 2), load_be_i16(data + kAccelOffset + 4)},
      {load_be_i16(data + kGyroOffset), load_be_i16(data + kGyroOffset + 2), load_be_i16(data + kGyroOffset + 4)}};
}

void encode_imu_payload(const ReadImuResult& sample, std::array<std::uint8_t, kImuPayloadSize>& out) {
  store_be_i16(out.data() + kTemperatureOffset, sample.temperature_raw);
  for (std::size_t axis = 0; axis < 3; ++axis) {
    store_be_i16(out.data() + kAccelOffset + 2 * axis, sample.accel_raw[axis]);
    store_be_i16(out.data() + kGyroOffset + 2 * axis, sample.gyro_raw[axis]);
  }
  const std::uint32_t counter = sample.sample_counter & kCounterMask;
  out[kCounterMiddleOffset] = static_cast<std::uint8_t>((counter >> 8) & 0xFFu);
  out[kCounterLowOffset] = static_cast<std::uint8_t>(counter & 0xFFu);
  out[kCounterHighOffset] = static_cast<std::uint8_t>(counter >> 16);
}

}  // namespace tovanel::uvc_stereo::detail
