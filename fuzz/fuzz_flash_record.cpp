#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_check.h"
#include "fuzz_input.h"
#include "uvc_stereo/checksum.h"
#include "uvc_stereo/flash.h"
#include "uvc_stereo/flash_config.h"

namespace {

namespace sdk = tovanel::uvc_stereo;
using sdk::ErrorCode;

// Which configuration fields the input overrides; the others keep the shipped defaults, so most inputs explore
// real records while the rest explore odd configurations.
enum ConfigFlag : std::uint8_t {
  kVerifyCrc = 0x01,
  kCustomHeaderSizes = 0x02,
  kCustomUserSpaceSize = 0x04,
  kCustomMagic = 0x08,
};

struct Expected {
  ErrorCode code = ErrorCode::Ok;
  const char* message = "";
};

std::uint32_t le(const std::vector<std::uint8_t>& bytes, std::size_t offset, std::size_t width) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < width; ++i) {
    value |= static_cast<std::uint32_t>(bytes[offset + i]) << (8 * i);
  }
  return value;
}

// The record rules restated on their own: the first check that fails decides the outcome.
Expected expected_parse(const std::vector<std::uint8_t>& raw, const sdk::FlashConfig& config) {
  if (raw.size() < config.min_header_size) {
    return {ErrorCode::InvalidHeader, "raw size is smaller than minimum header size"};
  }
  if (config.min_header_size < 16) {
    return {ErrorCode::InvalidArgument, "config.min_header_size must be >= 16"};
  }
  if (le(raw, 0, 4) != config.magic) {
    return {ErrorCode::BadMagic, "flash magic mismatch"};
  }
  const std::uint32_t header_size = le(raw, 6, 2);
  if (header_size < config.min_header_size || header_size > config.max_header_size) {
    return {ErrorCode::InvalidHeader, "header_size out of range"};
  }
  const std::uint64_t total = std::uint64_t{header_size} + le(raw, 8, 4);
  if (total > config.user_space_size) {
    return {ErrorCode::InvalidLength, "total length is invalid"};
  }
  if (raw.size() < total) {
    return {ErrorCode::InvalidLength, "raw buffer is shorter than header-declared length"};
  }
  const std::vector<std::uint8_t> payload(raw.begin() + header_size, raw.begin() + static_cast<std::ptrdiff_t>(total));
  if (config.verify_crc && sdk::crc32_ieee(payload) != le(raw, 12, 4)) {
    return {ErrorCode::ChecksumMismatch, "crc32 mismatch"};
  }
  return {};
}

bool same_record(const sdk::FlashBlob& a, const sdk::FlashBlob& b) {
  return a.magic == b.magic && a.format_version == b.format_version && a.header_size == b.header_size &&
         a.payload_length == b.payload_length && a.crc32 == b.crc32 && a.payload == b.payload && a.raw == b.raw;
}

std::string describe(const sdk::Status& status) {
  return std::to_string(static_cast<int>(status.code())) + " '" + status.message() + "'";
}

// Parsing any bytes under any configuration gives exactly the outcome the record rules predict, and an accepted
// record is consistent with the bytes it came from and re-parses from its own raw bytes to itself.
void check_parse(const std::vector<std::uint8_t>& raw, const sdk::FlashConfig& config) {
  const auto parsed = sdk::parse_and_validate_raw_blob(raw, config);
  const Expected expected = expected_parse(raw, config);
  if (!parsed.ok()) {
    FUZZ_CHECK(parsed.status().code() == expected.code && parsed.status().message() == expected.message,
               "parse failed with " + describe(parsed.status()) + ", expected '" + expected.message + "'");
    return;
  }
  FUZZ_CHECK(expected.code == ErrorCode::Ok,
             std::string("parse accepted a record expected to fail with '") + expected.message + "'");
  FUZZ_CHECK(parsed.status().message().empty(), "success carries a message");
  const sdk::FlashBlob& blob = parsed.value();
  const std::size_t total = std::size_t{blob.header_size} + blob.payload_length;
  FUZZ_CHECK(blob.raw.size() == total,
             "raw holds " + std::to_string(blob.raw.size()) + " bytes, record is " + std::to_string(total));
  FUZZ_CHECK(std::equal(blob.raw.begin(), blob.raw.end(), raw.begin()), "raw is not the front of the input");
  FUZZ_CHECK(blob.magic == le(raw, 0, 4) && blob.format_version == le(raw, 4, 2) && blob.header_size == le(raw, 6, 2) &&
                 blob.payload_length == le(raw, 8, 4) && blob.crc32 == le(raw, 12, 4),
             "header fields differ from the header bytes");
  FUZZ_CHECK(blob.payload.size() == blob.payload_length &&
                 std::equal(blob.payload.begin(), blob.payload.end(), raw.begin() + blob.header_size),
             "payload is not the bytes after the header");

  const auto again = sdk::parse_and_validate_raw_blob(blob.raw, config);
  FUZZ_CHECK(again.ok(), "a parsed record's raw does not re-parse: " + describe(again.status()));
  FUZZ_CHECK(same_record(again.value(), blob), "a parsed record's raw re-parses to a different record");
}

// Building a record from any payload either fails for the reason the configuration gives or yields a record
// that parses back, under the same configuration, to the same fields, payload and bytes.
void check_build(std::uint16_t format_version, const std::vector<std::uint8_t>& payload,
                 const sdk::FlashConfig& config) {
  const auto built = sdk::build_blob(format_version, payload, config);
  const std::uint64_t total = std::uint64_t{config.min_header_size} + payload.size();
  if (config.min_header_size < 16) {
    FUZZ_CHECK(!built.ok() && built.status().code() == ErrorCode::InvalidArgument &&
                   built.status().message() == "config.min_header_size must be >= 16",
               "build with a short minimum header gave " + describe(built.status()));
    return;
  }
  if (total > config.user_space_size) {
    FUZZ_CHECK(!built.ok() && built.status().code() == ErrorCode::InvalidLength &&
                   built.status().message() == "payload is too large",
               "build of an oversized record gave " + describe(built.status()));
    return;
  }
  FUZZ_CHECK(built.ok(), "build failed: " + describe(built.status()));
  const sdk::FlashBlob& blob = built.value();
  FUZZ_CHECK(blob.magic == config.magic && blob.format_version == format_version &&
                 blob.header_size == config.min_header_size && blob.payload_length == payload.size() &&
                 blob.crc32 == sdk::crc32_ieee(payload) && blob.payload == payload && blob.raw.size() == total,
             "built record fields are wrong");
  for (std::size_t i = 16; i < blob.header_size; ++i) {
    FUZZ_CHECK(blob.raw[i] == 0, "header padding byte " + std::to_string(i) + " is not zero");
  }

  const auto parsed = sdk::parse_and_validate_raw_blob(blob.raw, config);
  if (config.max_header_size < config.min_header_size) {
    // The builder always writes the minimum header size, which such a configuration then refuses to read.
    FUZZ_CHECK(!parsed.ok() && parsed.status().message() == "header_size out of range",
               "a record with a header above the maximum parsed as " + describe(parsed.status()));
    return;
  }
  FUZZ_CHECK(parsed.ok(), "a built record does not parse: " + describe(parsed.status()));
  FUZZ_CHECK(same_record(parsed.value(), blob), "a built record parses to a different record");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  uvc_stereo_fuzz::FuzzInput input(data, size);
  sdk::FlashConfig config;
  const std::uint8_t flags = input.take_u8();
  config.verify_crc = (flags & kVerifyCrc) != 0;
  if ((flags & kCustomHeaderSizes) != 0) {
    config.min_header_size = input.take_u16();
    config.max_header_size = input.take_u16();
  }
  if ((flags & kCustomUserSpaceSize) != 0) {
    config.user_space_size = input.take_u32();
  }
  if ((flags & kCustomMagic) != 0) {
    config.magic = input.take_u32();
  }
  const std::uint16_t format_version = input.take_u16();
  const std::vector<std::uint8_t> bytes = input.take_rest();

  check_parse(bytes, config);
  check_build(format_version, bytes, config);
  return 0;
}
