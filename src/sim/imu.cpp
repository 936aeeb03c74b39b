#include "sim/imu.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "imu/imu_payload.h"

namespace tovanel::uvc_stereo::sim {
namespace {

constexpr std::uint32_t kCounterMask = (1u << 20) - 1;
constexpr double kSampleRateHz = 200.0;
constexpr double kAccelCountsPerG = 2048.0;
constexpr double kGyroCountsPerDps = 16.4;
constexpr double kTemperatureCountsPerC = 128.0;
constexpr double kTemperatureOffsetC = 25.0;
constexpr double kSwayAmplitudeDeg = 20.0;
constexpr double kSwayFrequencyHz = 0.5;
constexpr double kPi = 3.14159265358979323846;
// xorshift32 never leaves zero, so a zero seed is moved to a fixed non-zero start.
constexpr std::uint32_t kZeroSeedReplacement = 0x9E3779B9u;

std::int16_t to_counts(double value) {
  const double rounded = std::round(value);
  return static_cast<std::int16_t>(std::clamp(rounded, static_cast<double>(std::numeric_limits<std::int16_t>::min()),
                                              static_cast<double>(std::numeric_limits<std::int16_t>::max())));
}

}  // namespace

SimulatedImuGenerator::SimulatedImuGenerator(const SimulatedImu& config)
    : config_(config),
      counter_(config.first_counter & kCounterMask),
      noise_state_(config.seed == 0 ? kZeroSeedReplacement : config.seed) {}

int SimulatedImuGenerator::noise(int amplitude) {
  noise_state_ ^= noise_state_ << 13;
  noise_state_ ^= noise_state_ >> 17;
  noise_state_ ^= noise_state_ << 5;
  const auto span = static_cast<std::uint32_t>(2 * amplitude + 1);
  return static_cast<int>(noise_state_ % span) - amplitude;
}

ImuPayload SimulatedImuGenerator::next_sample() {
  double accel[3] = {0.0, 0.0, kAccelCountsPerG};
  double gyro[3] = {0.0, 0.0, 0.0};
  if (config_.motion == ImuMotion::Moving) {
    // A pendulum-like sway about y: gravity tilts in the x-z plane and the y rate is
    // the tilt's derivative, so the two sensors tell the same story.
    const double t = static_cast<double>(samples_) / kSampleRateHz;
    const double phase = 2.0 * kPi * kSwayFrequencyHz * t;
    const double tilt_rad = kSwayAmplitudeDeg * kPi / 180.0 * std::sin(phase);
    const double rate_dps = kSwayAmplitudeDeg * 2.0 * kPi * kSwayFrequencyHz * std::cos(phase);
    accel[0] = kAccelCountsPerG * std::sin(tilt_rad);
    accel[2] = kAccelCountsPerG * std::cos(tilt_rad);
    gyro[1] = rate_dps * kGyroCountsPerDps;
  }
  const double temperature = (config_.temperature_c - kTemperatureOffsetC) * kTemperatureCountsPerC + noise(2);

  // The camera's own encoding of a sample, the one the SDK decodes; the noise is drawn in the order of the bytes.
  ReadImuResult sample;
  sample.sample_counter = counter_;
  sample.temperature_raw = to_counts(temperature);
  for (std::size_t axis = 0; axis < 3; ++axis) {
    sample.accel_raw[axis] = to_counts(accel[axis] + noise(4));
  }
  for (std::size_t axis = 0; axis < 3; ++axis) {
    sample.gyro_raw[axis] = to_counts(gyro[axis] + noise(2));
  }
  ImuPayload payload{};
  detail::encode_imu_payload(sample, payload);

  counter_ = (counter_ + config_.counter_step) & kCounterMask;
  ++samples_;
  return payload;
}

}  // namespace tovanel::uvc_stereo::sim
