#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "simulated_rig_fixture.h"
#include "uvc_stereo/simulated_rig.h"

namespace tovanel::uvc_stereo::sim {
namespace {

using rig_testing::enumerate_records;
using rig_testing::LockedSession;
using rig_testing::reported_vendor_code;
using rig_testing::supported_camera;

// One sample as the payload layout defines it: big-endian signed fields, a 20-bit counter.
struct Sample {
  std::int16_t temperature;
  std::int16_t accel[3];
  std::int16_t gyro[3];
  std::uint32_t counter;
};

std::int16_t be16(const std::uint8_t* bytes) {
  return static_cast<std::int16_t>(static_cast<std::uint16_t>((bytes[0] << 8) | bytes[1]));
}

Sample decode(const std::uint8_t* bytes) {
  Sample sample{};
  sample.temperature = be16(bytes);
  for (int axis = 0; axis < 3; ++axis) {
    sample.accel[axis] = be16(bytes + 2 + 2 * axis);
    sample.gyro[axis] = be16(bytes + 8 + 2 * axis);
  }
  sample.counter =
      (static_cast<std::uint32_t>(bytes[16] & 0x0F) << 16) | (static_cast<std::uint32_t>(bytes[14]) << 8) | bytes[15];
  return sample;
}

double magnitude(const std::int16_t (&v)[3]) {
  return std::sqrt(static_cast<double>(v[0]) * v[0] + static_cast<double>(v[1]) * v[1] +
                   static_cast<double>(v[2]) * v[2]);
}

class SimulatedImuTest : public ::testing::Test {
 protected:
  int add(const SimulatedImu& imu) {
    SimulatedCamera camera = supported_camera("IMU" + std::to_string(rig_.camera_count()));
    camera.imu = imu;
    return rig_.add_camera(camera);
  }

  // Reads `count` samples of camera `index` the way the SDK's reader does.
  std::vector<Sample> read_samples(int index, int count) {
    const LockedSession session;
    EXPECT_TRUE(session.opened());
    auto records = enumerate_records();
    std::vector<Sample> samples;
    std::uint8_t buffer[17];
    for (int i = 0; i < count; ++i) {
      EXPECT_TRUE(SonixCam_XuRead(&records.at(static_cast<std::size_t>(index)), buffer, 17, 10, 4));
      samples.push_back(decode(buffer));
    }
    return samples;
  }

  void TearDown() override {
    EXPECT_TRUE(rig_.violations().empty()) << ::testing::PrintToString(rig_.violations());
    EXPECT_EQ(rig_.open_sessions(), 0);
  }

  SimulatedRig rig_;
};

TEST_F(SimulatedImuTest, ReadGivesOneSampleAndZeroesTheRestOfTheBuffer) {
  SimulatedImu imu;
  imu.first_counter = 0x51234;
  add(imu);
  const LockedSession session;
  auto records = enumerate_records();
  std::uint8_t buffer[32];
  std::memset(buffer, 0xEE, sizeof(buffer));
  ASSERT_TRUE(SonixCam_XuRead(&records[0], buffer, 32, 10, 4));
  EXPECT_EQ(buffer[14], 0x12);
  EXPECT_EQ(buffer[15], 0x34);
  EXPECT_EQ(buffer[16], 0x05);
  for (std::size_t i = 17; i < 32; ++i) {
    ASSERT_EQ(buffer[i], 0) << "byte " << i;
  }
}

TEST_F(SimulatedImuTest, CounterAdvancesByItsStepAndWrapsAt20Bits) {
  SimulatedImu imu;
  imu.first_counter = 0xFFFFD;
  imu.counter_step = 2;
  const int index = add(imu);
  EXPECT_EQ(rig_.next_imu_counter(index), 0xFFFFDu);
  const std::vector<Sample> samples = read_samples(index, 4);
  EXPECT_EQ(samples[0].counter, 0xFFFFDu);
  EXPECT_EQ(samples[1].counter, 0xFFFFFu);
  EXPECT_EQ(samples[2].counter, 0x00001u);
  EXPECT_EQ(samples[3].counter, 0x00003u);
  EXPECT_EQ(rig_.next_imu_counter(index), 0x00005u);
}

TEST_F(SimulatedImuTest, FirstCounterBeyond20BitsKeepsItsLowBits) {
  SimulatedImu imu;
  imu.first_counter = 0x123456;
  const int index = add(imu);
  EXPECT_EQ(rig_.next_imu_counter(index), 0x23456u);
  EXPECT_EQ(read_samples(index, 1)[0].counter, 0x23456u);
}

TEST_F(SimulatedImuTest, AtRestShowsGravityOnZWithSmallNoise) {
  SimulatedImu imu;
  imu.temperature_c = 31.5;  // 832 counts above 25 degrees
  const int index = add(imu);
  const std::vector<Sample> samples = read_samples(index, 400);
  bool any_noise = false;
  for (const Sample& s : samples) {
    EXPECT_NEAR(s.accel[0], 0, 8);
    EXPECT_NEAR(s.accel[1], 0, 8);
    EXPECT_NEAR(s.accel[2], 2048, 8);
    EXPECT_NEAR(magnitude(s.accel), 2048.0, 10.0);
    for (std::int16_t rate : s.gyro) {
      EXPECT_NEAR(rate, 0, 3);
    }
    EXPECT_NEAR(s.temperature, 832, 3);
    any_noise = any_noise || s.accel[2] != 2048 || s.gyro[0] != 0;
  }
  EXPECT_TRUE(any_noise) << "a real sensor is never perfectly still";
}

TEST_F(SimulatedImuTest, TemperatureFollowsTheDieTemperature) {
  SimulatedImu imu;
  imu.temperature_c = 45.0;
  const int warm = add(imu);
  imu.temperature_c = 10.0;
  const int cold = add(imu);
  EXPECT_NEAR(read_samples(warm, 1)[0].temperature, 2560, 3);
  EXPECT_NEAR(read_samples(cold, 1)[0].temperature, -1920, 3);
}

TEST_F(SimulatedImuTest, MovingSwayTiltsGravityAndTheGyroAgreesWithTheTilt) {
  SimulatedImu imu;
  imu.motion = ImuMotion::Moving;
  const int index = add(imu);
  // Two seconds at 200 samples per second: one full period of the sway.
  const std::vector<Sample> samples = read_samples(index, 400);
  double max_x = 0.0;
  double max_rate = 0.0;
  double integrated_tilt_deg = 0.0;
  double worst_tilt_error_deg = 0.0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const Sample& s = samples[i];
    EXPECT_NEAR(magnitude(s.accel), 2048.0, 12.0) << "sample " << i;
    EXPECT_NEAR(s.accel[1], 0, 8);
    max_x = std::max(max_x, std::abs(static_cast<double>(s.accel[0])));
    max_rate = std::max(max_rate, std::abs(static_cast<double>(s.gyro[1])));
    const double tilt_from_gravity_deg = std::atan2(s.accel[0], s.accel[2]) * 180.0 / 3.14159265358979323846;
    worst_tilt_error_deg = std::max(worst_tilt_error_deg, std::abs(tilt_from_gravity_deg - integrated_tilt_deg));
    integrated_tilt_deg += s.gyro[1] / 16.4 / 200.0;
  }
  // 20 degrees of tilt puts sin(20 deg) g on x; 20 degrees at 0.5 Hz peaks near 62.8 degrees per second.
  EXPECT_NEAR(max_x, 2048.0 * std::sin(20.0 * 3.14159265358979323846 / 180.0), 20.0);
  EXPECT_NEAR(max_rate, 62.83 * 16.4, 20.0);
  EXPECT_LT(worst_tilt_error_deg, 1.5) << "integrating the gyro must follow the tilt the accelerometer shows";
}

TEST_F(SimulatedImuTest, SameSeedGivesTheSameStreamAndAnotherSeedAnother) {
  SimulatedImu imu;
  imu.seed = 42;
  const int first = add(imu);
  const int second = add(imu);
  imu.seed = 43;
  const int third = add(imu);
  const std::vector<Sample> a = read_samples(first, 50);
  const std::vector<Sample> b = read_samples(second, 50);
  const std::vector<Sample> c = read_samples(third, 50);
  bool differs = false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    EXPECT_EQ(std::memcmp(&a[i], &b[i], sizeof(Sample)), 0) << "sample " << i;
    differs = differs || std::memcmp(&a[i], &c[i], sizeof(Sample)) != 0;
  }
  EXPECT_TRUE(differs);
}

TEST_F(SimulatedImuTest, QueuedStatusBytesAnswerInOrderThenSamplesResume) {
  SimulatedImu imu;
  imu.first_counter = 7;
  const int index = add(imu);
  rig_.queue_imu_status(index, 0xF1);
  rig_.queue_imu_status(index, 0xF2);
  const LockedSession session;
  auto records = enumerate_records();
  std::uint8_t buffer[17];
  ASSERT_TRUE(SonixCam_XuRead(&records[0], buffer, 17, 10, 4));
  EXPECT_EQ(buffer[0], 0xF1);
  for (std::size_t i = 1; i < 17; ++i) {
    ASSERT_EQ(buffer[i], 0) << "byte " << i;
  }
  ASSERT_TRUE(SonixCam_XuRead(&records[0], buffer, 17, 10, 4));
  EXPECT_EQ(buffer[0], 0xF2);
  ASSERT_TRUE(SonixCam_XuRead(&records[0], buffer, 17, 10, 4));
  EXPECT_EQ(decode(buffer).counter, 7u) << "status replies carry no sample";
  EXPECT_NEAR(decode(buffer).accel[2], 2048, 8);
}

TEST_F(SimulatedImuTest, ReadOfAnotherControlOrTooShortFails) {
  SimulatedCamera camera = supported_camera("IMU-X");
  camera.imu_unit = 3;
  camera.imu_selector = 2;
  camera.imu_length = 20;
  rig_.add_camera(camera);
  const LockedSession session;
  auto records = enumerate_records();
  std::uint8_t buffer[32] = {};
  EXPECT_FALSE(SonixCam_XuRead(&records[0], buffer, 32, 10, 4));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecGetKsControlFail);
  EXPECT_FALSE(SonixCam_XuRead(&records[0], buffer, 19, 2, 3));
  EXPECT_TRUE(SonixCam_XuRead(&records[0], buffer, 20, 2, 3));
}

}  // namespace
}  // namespace tovanel::uvc_stereo::sim
