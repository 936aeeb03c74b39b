#include "capability/capability_report_encoder.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>

#include "capability/capability_report_layout.h"
#include "core/byte_order.h"
#include "core/crc32c_inline.h"

namespace tovanel::uvc_stereo::detail {
namespace {

namespace layout = capability_layout;
using ReportBytes = std::array<std::uint8_t, kCapabilityReportSize>;

// Rounds to the nearest integer within [low, high]; values the field cannot hold saturate instead of wrapping.
long long round_clamped(double value, long long low, long long high) {
  if (std::isnan(value)) {
    return 0;
  }
  const double clamped = std::clamp(value, static_cast<double>(low), static_cast<double>(high));
  return std::llround(clamped);
}

// Repeated multiplication keeps 10, 100 and 1000 exact on every C library, unlike some pow implementations.
double power_of_ten(std::uint8_t exponent) {
  double factor = 1.0;
  for (std::uint8_t i = 0; i < exponent; ++i) {
    factor *= 10.0;
  }
  return factor;
}

std::uint16_t to_u16_field(double value) { return static_cast<std::uint16_t>(round_clamped(value, 0, 0xFFFF)); }

void write_imu(ReportBytes& bytes, const ReportedImuInfo& imu) {
  const std::size_t model_length = std::min(imu.model.size(), layout::kImuModelLength);
  for (std::size_t i = 0; i < model_length; ++i) {
    bytes[layout::kImuModelOffset + i] = static_cast<std::uint8_t>(imu.model[i]);
  }
  bytes[layout::kImuUnitOffset] = imu.xu_unit;
  bytes[layout::kImuSelectorOffset] = imu.xu_selector;
  bytes[layout::kImuLengthOffset] = imu.xu_length;
  bytes[layout::kImuExponentOffset] = imu.decimal_exponent;
  const double factor = power_of_ten(imu.decimal_exponent);
  const long long offset = round_clamped(imu.temperature_offset_c * factor, -0x8000, 0x7FFF);
  store_le16(bytes.data() + layout::kTemperatureOffsetOffset,
             static_cast<std::uint16_t>(offset < 0 ? offset + 0x10000 : offset));
  store_le16(bytes.data() + layout::kTemperatureScaleOffset, to_u16_field(imu.temperature_lsb_per_c * factor));
  store_le16(bytes.data() + layout::kAccelScaleOffset, to_u16_field(imu.accel_lsb_per_g));
  store_le16(bytes.data() + layout::kGyroScaleOffset, to_u16_field(imu.gyro_lsb_per_dps * factor));
}

}  // namespace

ReportBytes encode_xu_capability_report(const CapabilityReport& report) {
  ReportBytes bytes{};
  std::copy(std::begin(layout::kMagic), std::end(layout::kMagic), bytes.begin() + layout::kMagicOffset);
  bytes[layout::kMajorVersionOffset] = layout::kSupportedMajorVersion;
  bytes[layout::kMinorVersionOffset] = report.minor_version;
  bytes[layout::kSizeOffset] = static_cast<std::uint8_t>(kCapabilityReportSize);
  store_le64(bytes.data() + layout::kBitsOffset, report.capability_bits);
  if (report.flash_user_space.has_value()) {
    store_le32(bytes.data() + layout::kFlashStartOffset, report.flash_user_space->start);
    store_le32(bytes.data() + layout::kFlashSizeOffset, report.flash_user_space->size);
  }
  if (report.imu.has_value()) {
    write_imu(bytes, *report.imu);
  }
  store_le32(bytes.data() + layout::kCrcOffset, crc32c_short(bytes.data(), layout::kCrcOffset));
  return bytes;
}

}  // namespace tovanel::uvc_stereo::detail
