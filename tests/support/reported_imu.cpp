#include "support/reported_imu.h"

namespace tovanel::uvc_stereo::test_support {

ReportedImuInfo reported_imu(const std::string& model, std::uint8_t unit, std::uint8_t selector, std::uint8_t length,
                             std::uint8_t exponent, double temperature_offset_c, double temperature_lsb_per_c,
                             double accel_lsb_per_g, double gyro_lsb_per_dps) {
  ReportedImuInfo imu;
  imu.model = model;
  imu.xu_unit = unit;
  imu.xu_selector = selector;
  imu.xu_length = length;
  imu.decimal_exponent = exponent;
  imu.temperature_offset_c = temperature_offset_c;
  imu.temperature_lsb_per_c = temperature_lsb_per_c;
  imu.accel_lsb_per_g = accel_lsb_per_g;
  imu.gyro_lsb_per_dps = gyro_lsb_per_dps;
  return imu;
}

CapabilityReport flash_and_imu_report(std::uint32_t start, std::uint32_t size) {
  CapabilityReport report;
  report.capability_bits = kCapabilityFlashUserSpace | kCapabilityImu;
  report.flash_user_space = FlashUserSpace{start, size};
  report.imu = reported_imu("BMI088", 4, 10, 17, 2, -0.1, 128.0, 2048.0, 16.4);
  return report;
}

}  // namespace tovanel::uvc_stereo::test_support
