#pragma once

#include <cstdint>
#include <string>

#include "uvc_stereo/capability.h"

namespace tovanel::uvc_stereo::test_support {

// The IMU block of a capability report: model, extension unit, selector, bytes per read and decimal exponent, then
// the temperature offset and the raw counts per degree Celsius, per g and per degree per second.
[[nodiscard]] ReportedImuInfo reported_imu(const std::string& model, std::uint8_t unit, std::uint8_t selector,
                                           std::uint8_t length, std::uint8_t exponent, double temperature_offset_c,
                                           double temperature_lsb_per_c, double accel_lsb_per_g,
                                           double gyro_lsb_per_dps);

// A report declaring a flash user space of `size` bytes at `start` and the usual IMU: a BMI088 read through unit 4,
// selector 10, 17 bytes a read, decimal exponent 2, offset -0.1 degrees Celsius, 128 counts per degree Celsius,
// 2048 per g and 16.4 per degree per second.
[[nodiscard]] CapabilityReport flash_and_imu_report(std::uint32_t start, std::uint32_t size);

}  // namespace tovanel::uvc_stereo::test_support
