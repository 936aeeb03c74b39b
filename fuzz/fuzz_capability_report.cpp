#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "capability/capability_probe_result.h"
#include "capability/capability_report.h"
#include "capability/capability_report_encoder.h"
#include "fuzz_check.h"
#include "uvc_stereo/capability.h"
#include "uvc_stereo/checksum.h"

namespace {

namespace sdk = tovanel::uvc_stereo;
using sdk::ErrorCode;
using Report = std::array<std::uint8_t, 64>;

// The first input byte says which framing fields to repair before parsing, so the fuzzer spends its time on
// the field checks behind the CRC as well as on raw bytes; with the byte zero the 64 bytes are parsed as given.
enum Repair : std::uint8_t {
  kSealCrc = 0x01,
  kWriteFraming = 0x02,
};

constexpr std::size_t kBits = 7;
constexpr std::size_t kFlashStart = 15;
constexpr std::size_t kFlashSize = 19;
constexpr std::size_t kModel = 23;
constexpr std::size_t kUnit = 31;
constexpr std::size_t kSelector = 32;
constexpr std::size_t kLength = 33;
constexpr std::size_t kExponent = 34;
constexpr std::size_t kTemperatureOffset = 35;
constexpr std::size_t kTemperatureScale = 37;
constexpr std::size_t kAccelScale = 39;
constexpr std::size_t kGyroScale = 41;
constexpr std::size_t kReserved = 43;
constexpr std::size_t kCrc = 60;

std::uint64_t le(const Report& bytes, std::size_t offset, std::size_t width) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < width; ++i) {
    value |= static_cast<std::uint64_t>(bytes[offset + i]) << (8 * i);
  }
  return value;
}

void seal(Report& bytes) {
  const std::uint32_t crc = sdk::detail::crc32c(bytes.data(), kCrc);
  for (std::size_t i = 0; i < 4; ++i) {
    bytes[kCrc + i] = static_cast<std::uint8_t>(crc >> (8 * i));
  }
}

struct Expected {
  ErrorCode code = ErrorCode::Ok;
  const char* message = "";
};

// The report rules restated on their own, in their order: the first failing check decides.
Expected expected_parse(const Report& b) {
  if (b[0] != 'T' || b[1] != 'O' || b[2] != 'V' || b[3] != 'A') {
    return {ErrorCode::BadMagic, "capability magic must be ASCII TOVA"};
  }
  if (b[4] != 1) return {ErrorCode::UnsupportedVersion, "capability major_version is not supported"};
  if (b[6] != 64) return {ErrorCode::InvalidHeader, "capability size must be 64 bytes"};
  if (sdk::detail::crc32c(b.data(), kCrc) != le(b, kCrc, 4)) {
    return {ErrorCode::ChecksumMismatch, "capability CRC32C mismatch"};
  }
  if (std::any_of(b.begin() + kReserved, b.begin() + kCrc, [](std::uint8_t v) { return v != 0; })) {
    return {ErrorCode::InvalidArgument, "capability reserved bytes must be zero"};
  }
  const std::uint64_t bits = le(b, kBits, 8);
  if ((bits & ~std::uint64_t{0x1F}) != 0) {
    return {ErrorCode::InvalidArgument, "capability_bits contains unsupported bits"};
  }
  if ((bits & 0x02) != 0) {
    const std::uint64_t start = le(b, kFlashStart, 4);
    const std::uint64_t size = le(b, kFlashSize, 4);
    if (size < 16)
      return {ErrorCode::InvalidArgument, "capability Flash user space is smaller than the minimum header"};
    if (start + size > 0xFFFFFFFFu) {
      return {ErrorCode::InvalidArgument, "capability Flash user-space range overflows uint32 address space"};
    }
  }
  if ((bits & 0x04) != 0) {
    std::size_t i = 0;
    for (; i < 8 && b[kModel + i] != 0; ++i) {
      if (b[kModel + i] < 0x20 || b[kModel + i] > 0x7E) {
        return {ErrorCode::InvalidArgument, "capability IMU model contains non-printable ASCII"};
      }
    }
    for (; i < 8; ++i) {
      if (b[kModel + i] != 0) return {ErrorCode::InvalidArgument, "capability IMU model is not NUL padded"};
    }
    if (b[kUnit] == 0 || b[kSelector] == 0) {
      return {ErrorCode::InvalidArgument, "capability IMU XU unit and selector must be non-zero"};
    }
    if (b[kLength] < 17) return {ErrorCode::InvalidArgument, "capability IMU XU length must be at least 17 bytes"};
    if (b[kExponent] < 1 || b[kExponent] > 3) {
      return {ErrorCode::InvalidArgument, "capability IMU decimal exponent must be 1, 2, or 3"};
    }
    if (le(b, kTemperatureScale, 2) == 0 || le(b, kAccelScale, 2) == 0 || le(b, kGyroScale, 2) == 0) {
      return {ErrorCode::InvalidArgument, "capability IMU conversion scale must be non-zero"};
    }
  }
  return {};
}

// The bytes an encoder must give for an accepted report: the fields a clear bit does not govern read as zero
// and the CRC is recomputed over them.
Report canonical(const Report& accepted) {
  Report bytes = accepted;
  const std::uint64_t bits = le(bytes, kBits, 8);
  if ((bits & 0x02) == 0) std::fill(bytes.begin() + kFlashStart, bytes.begin() + kModel, std::uint8_t{0});
  if ((bits & 0x04) == 0) std::fill(bytes.begin() + kModel, bytes.begin() + kReserved, std::uint8_t{0});
  seal(bytes);
  return bytes;
}

bool same_report(const sdk::CapabilityReport& a, const sdk::CapabilityReport& b) {
  if (a.major_version != b.major_version || a.minor_version != b.minor_version ||
      a.capability_bits != b.capability_bits || a.flash_user_space.has_value() != b.flash_user_space.has_value() ||
      a.imu.has_value() != b.imu.has_value()) {
    return false;
  }
  if (a.flash_user_space && (a.flash_user_space->start != b.flash_user_space->start ||
                             a.flash_user_space->size != b.flash_user_space->size)) {
    return false;
  }
  if (!a.imu) return true;
  const auto& x = *a.imu;
  const auto& y = *b.imu;
  return x.model == y.model && x.xu_unit == y.xu_unit && x.xu_selector == y.xu_selector && x.xu_length == y.xu_length &&
         x.decimal_exponent == y.decimal_exponent && x.temperature_offset_c == y.temperature_offset_c &&
         x.temperature_lsb_per_c == y.temperature_lsb_per_c && x.accel_lsb_per_g == y.accel_lsb_per_g &&
         x.gyro_lsb_per_dps == y.gyro_lsb_per_dps;
}

// An accepted report holds exactly what its bytes say.
void check_fields(const Report& b, const sdk::CapabilityReport& report) {
  const std::uint64_t bits = le(b, kBits, 8);
  FUZZ_CHECK(report.major_version == 1 && report.minor_version == b[5] && report.capability_bits == bits,
             "version or bits differ from the bytes");
  FUZZ_CHECK(report.flash_user_space.has_value() == ((bits & 0x02) != 0), "flash user space engaged wrongly");
  if (report.flash_user_space) {
    FUZZ_CHECK(report.flash_user_space->start == le(b, kFlashStart, 4) &&
                   report.flash_user_space->size == le(b, kFlashSize, 4),
               "flash user space differs from the bytes");
  }
  FUZZ_CHECK(report.imu.has_value() == ((bits & 0x04) != 0), "IMU block engaged wrongly");
  if (!report.imu) return;
  const auto& imu = *report.imu;
  std::string model;
  for (std::size_t i = 0; i < 8 && b[kModel + i] != 0; ++i) model.push_back(static_cast<char>(b[kModel + i]));
  const double divisor = b[kExponent] == 1 ? 10.0 : b[kExponent] == 2 ? 100.0 : 1000.0;
  const auto offset = static_cast<std::int16_t>(static_cast<std::uint16_t>(le(b, kTemperatureOffset, 2)));
  FUZZ_CHECK(imu.model == model, "model '" + imu.model + "' differs from the bytes '" + model + "'");
  FUZZ_CHECK(imu.xu_unit == b[kUnit] && imu.xu_selector == b[kSelector] && imu.xu_length == b[kLength] &&
                 imu.decimal_exponent == b[kExponent],
             "IMU transport fields differ from the bytes");
  FUZZ_CHECK(imu.temperature_offset_c == offset / divisor &&
                 imu.temperature_lsb_per_c == static_cast<double>(le(b, kTemperatureScale, 2)) / divisor &&
                 imu.accel_lsb_per_g == static_cast<double>(le(b, kAccelScale, 2)) &&
                 imu.gyro_lsb_per_dps == static_cast<double>(le(b, kGyroScale, 2)) / divisor,
             "IMU scale factors differ from the bytes");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::uint8_t repair = data[0];
  Report bytes{};
  std::copy(data + 1, data + 1 + std::min<std::size_t>(size - 1, bytes.size()), bytes.begin());
  if ((repair & kWriteFraming) != 0) {
    bytes[0] = 'T';
    bytes[1] = 'O';
    bytes[2] = 'V';
    bytes[3] = 'A';
    bytes[4] = 1;
    bytes[6] = 64;
  }
  if ((repair & kSealCrc) != 0) seal(bytes);

  const auto parsed = sdk::detail::parse_xu_capability_report(bytes);
  const Expected expected = expected_parse(bytes);
  const auto interpreted = sdk::detail::interpret_xu_capability_bytes(bytes);
  const bool all_zero = std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t v) { return v == 0; });

  FUZZ_CHECK(interpreted.legacy_fallback == !interpreted.report.has_value() &&
                 interpreted.legacy_fallback == !interpreted.status.ok(),
             "probe result breaks its invariant: " + interpreted.status.message());
  if (all_zero) {
    FUZZ_CHECK(interpreted.status.code() == ErrorCode::BadMagic &&
                   interpreted.status.message() == "capability XU returned an all-zero report",
               "all-zero bytes interpreted as '" + interpreted.status.message() + "'");
  }

  if (!parsed.ok()) {
    FUZZ_CHECK(parsed.status().code() == expected.code && parsed.status().message() == expected.message,
               "parse refused with '" + parsed.status().message() + "', expected '" + expected.message + "'");
    if (!all_zero) {
      FUZZ_CHECK(interpreted.status.code() == parsed.status().code() &&
                     interpreted.status.message() == parsed.status().message(),
                 "probe result status '" + interpreted.status.message() + "' differs from the parser's");
    }
    return 0;
  }
  FUZZ_CHECK(expected.code == ErrorCode::Ok,
             std::string("parse accepted a report expected to fail with '") + expected.message + "'");
  FUZZ_CHECK(parsed.status().message().empty(), "success carries a message");
  const sdk::CapabilityReport& report = parsed.value();
  check_fields(bytes, report);
  FUZZ_CHECK(!interpreted.legacy_fallback && same_report(*interpreted.report, report),
             "probe result does not keep the parsed report");

  const Report encoded = sdk::detail::encode_xu_capability_report(report);
  FUZZ_CHECK(encoded == canonical(bytes), "re-encoded bytes differ from the accepted report's");
  const auto reparsed = sdk::detail::parse_xu_capability_report(encoded);
  FUZZ_CHECK(reparsed.ok(), "re-encoded report is refused: " + reparsed.status().message());
  FUZZ_CHECK(same_report(reparsed.value(), report), "re-encoded report parses to a different report");
  return 0;
}
