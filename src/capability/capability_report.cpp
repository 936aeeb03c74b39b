#include "capability/capability_report.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "capability/capability_report_layout.h"
#include "core/byte_order.h"
#include "core/crc32c_inline.h"

namespace tovanel::uvc_stereo::detail {
namespace {

namespace layout = capability_layout;

// The smallest flash record header; a user space that cannot hold one is useless.
constexpr std::uint32_t kMinFlashUserSpaceSize = 16;
constexpr std::uint8_t kMinImuXuLength = 17;

using ReportBytes = std::array<std::uint8_t, kCapabilityReportSize>;

std::uint16_t read_u16(const ReportBytes& bytes, std::size_t offset) { return load_le16(bytes.data() + offset); }

std::uint32_t read_u32(const ReportBytes& bytes, std::size_t offset) { return load_le32(bytes.data() + offset); }

// Two's complement reinterpretation done arithmetically, so it does not depend on narrowing rules.
std::int16_t read_i16(const ReportBytes& bytes, std::size_t offset) {
  const int raw = read_u16(bytes, offset);
  return static_cast<std::int16_t>(raw >= 0x8000 ? raw - 0x10000 : raw);
}

bool is_printable_ascii(std::uint8_t byte) { return byte >= 0x20 && byte <= 0x7E; }

[[nodiscard]] Status parse_imu_model(const ReportBytes& bytes, std::string& model) {
  std::size_t text_length = 0;
  while (text_length < layout::kImuModelLength && bytes[layout::kImuModelOffset + text_length] != 0) {
    if (!is_printable_ascii(bytes[layout::kImuModelOffset + text_length])) {
      return Status(ErrorCode::InvalidArgument, "capability IMU model contains non-printable ASCII");
    }
    ++text_length;
  }
  for (std::size_t i = text_length; i < layout::kImuModelLength; ++i) {
    if (bytes[layout::kImuModelOffset + i] != 0) {
      return Status(ErrorCode::InvalidArgument, "capability IMU model is not NUL padded");
    }
  }
  model.assign(reinterpret_cast<const char*>(bytes.data() + layout::kImuModelOffset), text_length);
  return Status();
}

[[nodiscard]] Status check_imu_fields(const ReportBytes& bytes) {
  if (bytes[layout::kImuUnitOffset] == 0 || bytes[layout::kImuSelectorOffset] == 0) {
    return Status(ErrorCode::InvalidArgument, "capability IMU XU unit and selector must be non-zero");
  }
  if (bytes[layout::kImuLengthOffset] < kMinImuXuLength) {
    return Status(ErrorCode::InvalidArgument, "capability IMU XU length must be at least 17 bytes");
  }
  const std::uint8_t exponent = bytes[layout::kImuExponentOffset];
  if (exponent < 1 || exponent > 3) {
    return Status(ErrorCode::InvalidArgument, "capability IMU decimal exponent must be 1, 2, or 3");
  }
  if (read_u16(bytes, layout::kTemperatureScaleOffset) == 0 || read_u16(bytes, layout::kAccelScaleOffset) == 0 ||
      read_u16(bytes, layout::kGyroScaleOffset) == 0) {
    return Status(ErrorCode::InvalidArgument, "capability IMU conversion scale must be non-zero");
  }
  return Status();
}

double decimal_divisor(std::uint8_t exponent) {
  switch (exponent) {
    case 1:
      return 10.0;
    case 2:
      return 100.0;
    default:
      return 1000.0;
  }
}

}  // namespace

Result<CapabilityReport> parse_xu_capability_report(const ReportBytes& bytes) {
  if (!std::equal(std::begin(layout::kMagic), std::end(layout::kMagic), bytes.begin() + layout::kMagicOffset)) {
    return Status(ErrorCode::BadMagic, "capability magic must be ASCII TOVA");
  }
  if (bytes[layout::kMajorVersionOffset] != layout::kSupportedMajorVersion) {
    return Status(ErrorCode::UnsupportedVersion, "capability major_version is not supported");
  }
  if (bytes[layout::kSizeOffset] != kCapabilityReportSize) {
    return Status(ErrorCode::InvalidHeader, "capability size must be 64 bytes");
  }
  if (crc32c_short(bytes.data(), layout::kCrcOffset) != read_u32(bytes, layout::kCrcOffset)) {
    return Status(ErrorCode::ChecksumMismatch, "capability CRC32C mismatch");
  }
  for (std::size_t i = layout::kReservedOffset; i < layout::kCrcOffset; ++i) {
    if (bytes[i] != 0) {
      return Status(ErrorCode::InvalidArgument, "capability reserved bytes must be zero");
    }
  }

  CapabilityReport report;
  report.major_version = layout::kSupportedMajorVersion;
  report.minor_version = bytes[layout::kMinorVersionOffset];
  report.capability_bits = load_le64(bytes.data() + layout::kBitsOffset);
  if ((report.capability_bits & ~kCapabilityKnownBits) != 0) {
    return Status(ErrorCode::InvalidArgument, "capability_bits contains unsupported bits");
  }

  if ((report.capability_bits & kCapabilityFlashUserSpace) != 0) {
    const std::uint32_t start = read_u32(bytes, layout::kFlashStartOffset);
    const std::uint32_t size = read_u32(bytes, layout::kFlashSizeOffset);
    if (size < kMinFlashUserSpaceSize) {
      return Status(ErrorCode::InvalidArgument, "capability Flash user space is smaller than the minimum header");
    }
    // An end of exactly 2^32 is refused too: the report must describe a range whose end is itself addressable.
    if (static_cast<std::uint64_t>(start) + size > 0xFFFFFFFFull) {
      return Status(ErrorCode::InvalidArgument, "capability Flash user-space range overflows uint32 address space");
    }
    report.flash_user_space = FlashUserSpace{start, size};
  }

  if ((report.capability_bits & kCapabilityImu) != 0) {
    ReportedImuInfo imu;
    Status model_status = guard_imu_model_step([&] { return parse_imu_model(bytes, imu.model); });
    if (!model_status.ok()) {
      return model_status;
    }
    Status fields_status = check_imu_fields(bytes);
    if (!fields_status.ok()) {
      return fields_status;
    }
    imu.xu_unit = bytes[layout::kImuUnitOffset];
    imu.xu_selector = bytes[layout::kImuSelectorOffset];
    imu.xu_length = bytes[layout::kImuLengthOffset];
    imu.decimal_exponent = bytes[layout::kImuExponentOffset];
    // Temperature and gyroscope scales carry the decimal exponent; the accelerometer scale is whole LSB per g.
    const double divisor = decimal_divisor(imu.decimal_exponent);
    imu.temperature_offset_c = static_cast<double>(read_i16(bytes, layout::kTemperatureOffsetOffset)) / divisor;
    imu.temperature_lsb_per_c = static_cast<double>(read_u16(bytes, layout::kTemperatureScaleOffset)) / divisor;
    imu.accel_lsb_per_g = static_cast<double>(read_u16(bytes, layout::kAccelScaleOffset));
    imu.gyro_lsb_per_dps = static_cast<double>(read_u16(bytes, layout::kGyroScaleOffset)) / divisor;
    report.imu = std::move(imu);
  }

  return Result<CapabilityReport>(std::move(report));
}

}  // namespace tovanel::uvc_stereo::detail
