#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "uvc_stereo/checksum.h"
#include "uvc_stereo/flash.h"
#include "uvc_stereo/flash_config.h"

namespace tovanel::uvc_stereo {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes bytes_of(const std::string& text) { return Bytes(text.begin(), text.end()); }

void put_le16(Bytes& out, std::size_t at, std::uint16_t value) {
  out[at] = static_cast<std::uint8_t>(value);
  out[at + 1] = static_cast<std::uint8_t>(value >> 8);
}

void put_le32(Bytes& out, std::size_t at, std::uint32_t value) {
  for (std::size_t i = 0; i < 4; ++i) {
    out[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
  }
}

// A record laid out by hand, independently of build_blob, with every header field chosen
// by the test and `padding_byte` filling bytes 16..header_size.
struct HandRecord {
  std::uint32_t magic = 0x41564F54u;
  std::uint16_t format_version = 0;
  std::uint16_t header_size = 16;
  std::uint32_t payload_length = 0;
  std::uint32_t crc32 = 0;
  std::uint8_t padding_byte = 0;
  Bytes payload;

  // Lays the record out in a buffer of at least `buffer_size` bytes, the rest filled with 0xFF
  // like erased flash.
  [[nodiscard]] Bytes lay_out(std::size_t buffer_size = 0) const {
    const std::size_t length = std::max<std::size_t>(buffer_size, header_size + payload.size());
    Bytes out(length, 0xFF);
    put_le32(out, 0, magic);
    put_le16(out, 4, format_version);
    put_le16(out, 6, header_size);
    put_le32(out, 8, payload_length);
    put_le32(out, 12, crc32);
    for (std::size_t i = 16; i < header_size; ++i) {
      out[i] = padding_byte;
    }
    std::copy(payload.begin(), payload.end(), out.begin() + header_size);
    return out;
  }
};

// A record for `text` with a correct length and CRC.
HandRecord record_for(const std::string& text) {
  HandRecord record;
  record.payload = bytes_of(text);
  record.payload_length = static_cast<std::uint32_t>(record.payload.size());
  record.crc32 = crc32_ieee(record.payload);
  return record;
}

void expect_failure(const Result<FlashBlob>& result, ErrorCode code, const std::string& message) {
  EXPECT_FALSE(result.ok());
  EXPECT_EQ(result.status().code(), code);
  EXPECT_EQ(result.status().message(), message);
}

// ---- build_blob ----

TEST(BuildBlob, LaysOutTheHeaderLittleEndianByteByByteFollowedByThePayload) {
  const Result<FlashBlob> result = build_blob(0x0102, bytes_of("{\"a\":1}"), FlashConfig());
  ASSERT_TRUE(result.ok()) << result.status().message();
  const Bytes expected = {
      0x54, 0x4F, 0x56, 0x41,  // "TOVA"
      0x02, 0x01,              // format_version 0x0102
      0x10, 0x00,              // header_size 16
      0x07, 0x00, 0x00, 0x00,  // payload_length 7
      0xAF, 0xAC, 0x1B, 0x56,  // CRC-32 of {"a":1} = 0x561BACAF
      '{',  '"',  'a',  '"',  ':', '1', '}',
  };
  EXPECT_EQ(result.value().raw, expected);
}

TEST(BuildBlob, ReportsTheHeaderValuesItWrote) {
  const Result<FlashBlob> result = build_blob(0x0102, bytes_of("{\"a\":1}"), FlashConfig());
  ASSERT_TRUE(result.ok()) << result.status().message();
  const FlashBlob& blob = result.value();
  EXPECT_EQ(blob.magic, 0x41564F54u);
  EXPECT_EQ(blob.format_version, 0x0102);
  EXPECT_EQ(blob.header_size, 16);
  EXPECT_EQ(blob.payload_length, 7u);
  EXPECT_EQ(blob.crc32, 0x561BACAFu);
  EXPECT_EQ(blob.payload, bytes_of("{\"a\":1}"));
  EXPECT_TRUE(result.status().ok());
  EXPECT_TRUE(result.status().message().empty());
}

TEST(BuildBlob, WritesTheConfiguredMagicRatherThanAFixedOne) {
  FlashConfig config;
  config.magic = 0x11223344u;
  const Result<FlashBlob> result = build_blob(0, bytes_of("x"), config);
  ASSERT_TRUE(result.ok()) << result.status().message();
  EXPECT_EQ(result.value().magic, 0x11223344u);
  EXPECT_EQ(result.value().raw[0], 0x44);
  EXPECT_EQ(result.value().raw[1], 0x33);
  EXPECT_EQ(result.value().raw[2], 0x22);
  EXPECT_EQ(result.value().raw[3], 0x11);
}

TEST(BuildBlob, WritesTheFormatVersionAsGivenEvenItsLargestValue) {
  const Result<FlashBlob> result = build_blob(0xFFFF, bytes_of("x"), FlashConfig());
  ASSERT_TRUE(result.ok()) << result.status().message();
  EXPECT_EQ(result.value().format_version, 0xFFFF);
  EXPECT_EQ(result.value().raw[4], 0xFF);
  EXPECT_EQ(result.value().raw[5], 0xFF);
}

TEST(BuildBlob, UsesMinHeaderSizeAndZeroFillsThePaddingWithoutConsultingMaxHeaderSize) {
  FlashConfig config;
  config.min_header_size = 32;
  config.max_header_size = 20;  // below the minimum: build_blob must not care
  const Result<FlashBlob> result = build_blob(0, bytes_of("ab"), config);
  ASSERT_TRUE(result.ok()) << result.status().message();
  const FlashBlob& blob = result.value();
  EXPECT_EQ(blob.header_size, 32);
  ASSERT_EQ(blob.raw.size(), 34u);
  EXPECT_EQ(blob.raw[6], 0x20);
  EXPECT_EQ(blob.raw[7], 0x00);
  for (std::size_t i = 16; i < 32; ++i) {
    EXPECT_EQ(blob.raw[i], 0) << "padding byte " << i;
  }
  EXPECT_EQ(blob.raw[32], 'a');
  EXPECT_EQ(blob.raw[33], 'b');
}

TEST(BuildBlob, AcceptsAnEmptyPayloadAsABareHeader) {
  const Result<FlashBlob> result = build_blob(0, Bytes(), FlashConfig());
  ASSERT_TRUE(result.ok()) << result.status().message();
  const Bytes expected = {0x54, 0x4F, 0x56, 0x41, 0, 0, 0x10, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(result.value().raw, expected);
  EXPECT_EQ(result.value().payload_length, 0u);
  EXPECT_EQ(result.value().crc32, 0u);
  EXPECT_TRUE(result.value().payload.empty());
}

TEST(BuildBlob, AcceptsAPayloadThatFillsTheDefaultUserSpaceExactly) {
  const Bytes payload(65520, 'z');
  const Result<FlashBlob> result = build_blob(0, payload, FlashConfig());
  ASSERT_TRUE(result.ok()) << result.status().message();
  EXPECT_EQ(result.value().raw.size(), 65536u);
  EXPECT_EQ(result.value().payload_length, 65520u);
  EXPECT_EQ(result.value().raw[8], 0xF0);
  EXPECT_EQ(result.value().raw[9], 0xFF);
  EXPECT_EQ(result.value().raw[10], 0x00);
  EXPECT_EQ(result.value().raw[11], 0x00);
}

TEST(BuildBlob, RejectsAPayloadOneByteOverTheDefaultUserSpace) {
  expect_failure(build_blob(0, Bytes(65521, 'z'), FlashConfig()), ErrorCode::InvalidLength, "payload is too large");
}

TEST(BuildBlob, CountsTheLargerHeaderAgainstTheUserSpace) {
  FlashConfig config;
  config.min_header_size = 64;
  config.user_space_size = 100;
  EXPECT_TRUE(build_blob(0, Bytes(36, 'q'), config).ok());
  expect_failure(build_blob(0, Bytes(37, 'q'), config), ErrorCode::InvalidLength, "payload is too large");
}

TEST(BuildBlob, WithNoUserSpaceRejectsEvenAnEmptyPayload) {
  FlashConfig config;
  config.user_space_size = 0;
  expect_failure(build_blob(0, Bytes(), config), ErrorCode::InvalidLength, "payload is too large");
}

TEST(BuildBlob, RejectsMinHeaderSizeFifteen) {
  FlashConfig config;
  config.min_header_size = 15;
  expect_failure(build_blob(0, bytes_of("{}"), config), ErrorCode::InvalidArgument,
                 "config.min_header_size must be >= 16");
}

TEST(BuildBlob, ChecksTheMinimumHeaderSizeBeforeThePayloadSize) {
  FlashConfig config;
  config.min_header_size = 8;
  config.user_space_size = 4;
  expect_failure(build_blob(0, Bytes(100, 'p'), config), ErrorCode::InvalidArgument,
                 "config.min_header_size must be >= 16");
}

// ---- parse_and_validate_raw_blob ----

TEST(ParseRawBlob, ReadsBackWhatBuildBlobWroteForManyPayloadSizes) {
  for (const std::size_t size :
       {std::size_t{0}, std::size_t{1}, std::size_t{7}, std::size_t{16}, std::size_t{1000}, std::size_t{65520}}) {
    Bytes payload(size);
    for (std::size_t i = 0; i < size; ++i) {
      payload[i] = static_cast<std::uint8_t>(i * 31 + 7);
    }
    const Result<FlashBlob> built = build_blob(0x0203, payload, FlashConfig());
    ASSERT_TRUE(built.ok()) << built.status().message();
    const Result<FlashBlob> parsed = parse_and_validate_raw_blob(built.value().raw, FlashConfig());
    ASSERT_TRUE(parsed.ok()) << "size " << size << ": " << parsed.status().message();
    EXPECT_EQ(parsed.value().magic, built.value().magic);
    EXPECT_EQ(parsed.value().format_version, 0x0203);
    EXPECT_EQ(parsed.value().header_size, built.value().header_size);
    EXPECT_EQ(parsed.value().payload_length, size);
    EXPECT_EQ(parsed.value().crc32, built.value().crc32);
    EXPECT_EQ(parsed.value().payload, payload);
    EXPECT_EQ(parsed.value().raw, built.value().raw);
  }
}

TEST(ParseRawBlob, ReadsBackARecordBuiltWithAPaddedHeader) {
  FlashConfig config;
  config.min_header_size = 48;
  const Result<FlashBlob> built = build_blob(1, bytes_of("{\"k\":[1,2,3]}"), config);
  ASSERT_TRUE(built.ok()) << built.status().message();
  const Result<FlashBlob> parsed = parse_and_validate_raw_blob(built.value().raw, config);
  ASSERT_TRUE(parsed.ok()) << parsed.status().message();
  EXPECT_EQ(parsed.value().header_size, 48);
  EXPECT_EQ(parsed.value().payload, bytes_of("{\"k\":[1,2,3]}"));
  EXPECT_EQ(parsed.value().raw, built.value().raw);
}

TEST(ParseRawBlob, DecodesEveryHeaderFieldLittleEndian) {
  HandRecord record = record_for("{\"b\":2}");
  record.format_version = 0xA1B2;
  const Result<FlashBlob> parsed = parse_and_validate_raw_blob(record.lay_out(), FlashConfig());
  ASSERT_TRUE(parsed.ok()) << parsed.status().message();
  EXPECT_EQ(parsed.value().magic, 0x41564F54u);
  EXPECT_EQ(parsed.value().format_version, 0xA1B2);
  EXPECT_EQ(parsed.value().header_size, 16);
  EXPECT_EQ(parsed.value().payload_length, 7u);
  EXPECT_EQ(parsed.value().crc32, crc32_ieee(bytes_of("{\"b\":2}")));
  EXPECT_EQ(parsed.value().payload, bytes_of("{\"b\":2}"));
}

TEST(ParseRawBlob, RejectsFifteenBytesWithTheDefaultMinimumHeader) {
  expect_failure(parse_and_validate_raw_blob(Bytes(15, 0), FlashConfig()), ErrorCode::InvalidHeader,
                 "raw size is smaller than minimum header size");
}

TEST(ParseRawBlob, RejectsAnEmptyBuffer) {
  expect_failure(parse_and_validate_raw_blob(Bytes(), FlashConfig()), ErrorCode::InvalidHeader,
                 "raw size is smaller than minimum header size");
}

TEST(ParseRawBlob, RejectsABufferShorterThanALargerConfiguredMinimum) {
  FlashConfig config;
  config.min_header_size = 32;
  const Bytes raw = record_for("").lay_out(31);
  expect_failure(parse_and_validate_raw_blob(raw, config), ErrorCode::InvalidHeader,
                 "raw size is smaller than minimum header size");
}

TEST(ParseRawBlob, RejectsMinHeaderSizeEightWhenTheBufferHoldsIt) {
  FlashConfig config;
  config.min_header_size = 8;
  expect_failure(parse_and_validate_raw_blob(record_for("abcd").lay_out(), config), ErrorCode::InvalidArgument,
                 "config.min_header_size must be >= 16");
}

// The buffer is judged before the configuration: a seven-byte buffer is too short even for
// the invalid minimum of eight, and that is what is reported.
TEST(ParseRawBlob, ReportsAShortBufferBeforeAnInvalidMinimumHeaderSize) {
  FlashConfig config;
  config.min_header_size = 8;
  expect_failure(parse_and_validate_raw_blob(Bytes(7, 0), config), ErrorCode::InvalidHeader,
                 "raw size is smaller than minimum header size");
  expect_failure(parse_and_validate_raw_blob(Bytes(8, 0), config), ErrorCode::InvalidArgument,
                 "config.min_header_size must be >= 16");
}

TEST(ParseRawBlob, RejectsAForeignMagic) {
  HandRecord record = record_for("{}");
  record.magic = 0x41564F55u;  // "UOVA"
  expect_failure(parse_and_validate_raw_blob(record.lay_out(), FlashConfig()), ErrorCode::BadMagic,
                 "flash magic mismatch");
}

TEST(ParseRawBlob, RejectsErasedFlash) {
  expect_failure(parse_and_validate_raw_blob(Bytes(4096, 0xFF), FlashConfig()), ErrorCode::BadMagic,
                 "flash magic mismatch");
}

TEST(ParseRawBlob, ComparesMagicWithTheConfiguredValue) {
  FlashConfig config;
  config.magic = 0xCAFEF00Du;
  HandRecord record = record_for("{}");
  expect_failure(parse_and_validate_raw_blob(record.lay_out(), config), ErrorCode::BadMagic, "flash magic mismatch");
  record.magic = 0xCAFEF00Du;
  EXPECT_TRUE(parse_and_validate_raw_blob(record.lay_out(), config).ok());
}

TEST(ParseRawBlob, ChecksMagicBeforeHeaderSize) {
  HandRecord record = record_for("{}");
  record.magic = 0;
  record.header_size = 300;
  expect_failure(parse_and_validate_raw_blob(record.lay_out(), FlashConfig()), ErrorCode::BadMagic,
                 "flash magic mismatch");
}

TEST(ParseRawBlob, RejectsHeaderSize300AboveMaximum256) {
  HandRecord record = record_for("{}");
  record.header_size = 300;
  expect_failure(parse_and_validate_raw_blob(record.lay_out(), FlashConfig()), ErrorCode::InvalidHeader,
                 "header_size out of range");
}

TEST(ParseRawBlob, AcceptsHeaderSizeEqualToTheMaximumAndRejectsOneMore) {
  HandRecord record = record_for("{}");
  record.header_size = 256;
  EXPECT_TRUE(parse_and_validate_raw_blob(record.lay_out(), FlashConfig()).ok());
  record.header_size = 257;
  expect_failure(parse_and_validate_raw_blob(record.lay_out(), FlashConfig()), ErrorCode::InvalidHeader,
                 "header_size out of range");
}

TEST(ParseRawBlob, RejectsHeaderSizeBelowTheConfiguredMinimum) {
  HandRecord record = record_for("{}");
  record.header_size = 15;
  expect_failure(parse_and_validate_raw_blob(record.lay_out(), FlashConfig()), ErrorCode::InvalidHeader,
                 "header_size out of range");

  FlashConfig config;
  config.min_header_size = 24;
  record.header_size = 16;
  expect_failure(parse_and_validate_raw_blob(record.lay_out(64), config), ErrorCode::InvalidHeader,
                 "header_size out of range");
  record.header_size = 24;
  EXPECT_TRUE(parse_and_validate_raw_blob(record.lay_out(64), config).ok());
}

TEST(ParseRawBlob, AcceptsHeaderSize32AndIgnoresItsZeroPadding) {
  HandRecord record = record_for("{\"p\":true}");
  record.header_size = 32;
  const Bytes raw = record.lay_out();
  const Result<FlashBlob> parsed = parse_and_validate_raw_blob(raw, FlashConfig());
  ASSERT_TRUE(parsed.ok()) << parsed.status().message();
  EXPECT_EQ(parsed.value().header_size, 32);
  EXPECT_EQ(parsed.value().payload, bytes_of("{\"p\":true}"));
  EXPECT_EQ(parsed.value().raw, raw);
}

TEST(ParseRawBlob, IgnoresNonZeroPaddingToo) {
  HandRecord record = record_for("{\"p\":true}");
  record.header_size = 32;
  record.padding_byte = 0xA5;
  const Result<FlashBlob> parsed = parse_and_validate_raw_blob(record.lay_out(), FlashConfig());
  ASSERT_TRUE(parsed.ok()) << parsed.status().message();
  EXPECT_EQ(parsed.value().payload, bytes_of("{\"p\":true}"));
  EXPECT_EQ(parsed.value().raw[20], 0xA5);
}

TEST(ParseRawBlob, DoesNotValidateTheFormatVersion) {
  for (const std::uint16_t version :
       {std::uint16_t{0}, std::uint16_t{1}, std::uint16_t{0x7FFF}, std::uint16_t{0xFFFF}}) {
    HandRecord record = record_for("{}");
    record.format_version = version;
    const Result<FlashBlob> parsed = parse_and_validate_raw_blob(record.lay_out(), FlashConfig());
    ASSERT_TRUE(parsed.ok()) << "version " << version << ": " << parsed.status().message();
    EXPECT_EQ(parsed.value().format_version, version);
  }
}

TEST(ParseRawBlob, RejectsADeclaredTotalBeyondTheUserSpaceEvenWhenTheBufferIsLongEnough) {
  FlashConfig config;
  config.user_space_size = 64;
  HandRecord record = record_for(std::string(49, 'x'));  // 16 + 49 = 65
  const Bytes raw = record.lay_out(1024);
  expect_failure(parse_and_validate_raw_blob(raw, config), ErrorCode::InvalidLength, "total length is invalid");
}

TEST(ParseRawBlob, AcceptsADeclaredTotalExactlyEqualToTheUserSpace) {
  FlashConfig config;
  config.user_space_size = 64;
  HandRecord record = record_for(std::string(48, 'x'));  // 16 + 48 = 64
  const Result<FlashBlob> parsed = parse_and_validate_raw_blob(record.lay_out(), config);
  ASSERT_TRUE(parsed.ok()) << parsed.status().message();
  EXPECT_EQ(parsed.value().raw.size(), 64u);
}

TEST(ParseRawBlob, AcceptsAFullDefaultUserSpaceRecord) {
  const HandRecord record = record_for(std::string(65520, 'y'));
  const Bytes raw = record.lay_out();
  ASSERT_EQ(raw.size(), 65536u);
  const Result<FlashBlob> parsed = parse_and_validate_raw_blob(raw, FlashConfig());
  ASSERT_TRUE(parsed.ok()) << parsed.status().message();
  EXPECT_EQ(parsed.value().payload_length, 65520u);
}

// 16 + 0xFFFFFFF0 is 0x100000000: zero if summed in 32 bits, too large in 64.
TEST(ParseRawBlob, SumsHeaderSizeAndPayloadLengthWithoutThirtyTwoBitWrap) {
  FlashConfig config;
  config.user_space_size = 0xFFFFFFFFu;
  HandRecord record = record_for("");
  record.payload_length = 0xFFFFFFF0u;
  expect_failure(parse_and_validate_raw_blob(record.lay_out(64), config), ErrorCode::InvalidLength,
                 "total length is invalid");
  record.payload_length = 0xFFFFFFFFu;
  record.header_size = 256;
  expect_failure(parse_and_validate_raw_blob(record.lay_out(512), config), ErrorCode::InvalidLength,
                 "total length is invalid");
}

TEST(ParseRawBlob, RejectsABufferOneByteShortOfTheDeclaredTotal) {
  const HandRecord record = record_for("{\"short\":1}");
  Bytes raw = record.lay_out();
  raw.pop_back();
  expect_failure(parse_and_validate_raw_blob(raw, FlashConfig()), ErrorCode::InvalidLength,
                 "raw buffer is shorter than header-declared length");
}

TEST(ParseRawBlob, ReportsTheUserSpaceLimitBeforeAShortBuffer) {
  FlashConfig config;
  config.user_space_size = 32;
  const HandRecord record = record_for(std::string(40, 'x'));
  Bytes raw = record.lay_out();
  raw.resize(20);
  expect_failure(parse_and_validate_raw_blob(raw, config), ErrorCode::InvalidLength, "total length is invalid");
}

TEST(ParseRawBlob, RejectsAFlippedPayloadByteWhenVerifyingTheCrc) {
  Bytes raw = record_for("{\"gain\":12}").lay_out();
  raw[16 + 8] ^= 0x01;
  expect_failure(parse_and_validate_raw_blob(raw, FlashConfig()), ErrorCode::ChecksumMismatch, "crc32 mismatch");
}

TEST(ParseRawBlob, RejectsAFlippedStoredCrcByteWhenVerifyingTheCrc) {
  Bytes raw = record_for("{\"gain\":12}").lay_out();
  raw[15] ^= 0x80;
  expect_failure(parse_and_validate_raw_blob(raw, FlashConfig()), ErrorCode::ChecksumMismatch, "crc32 mismatch");
}

TEST(ParseRawBlob, AcceptsAFlippedPayloadByteAndKeepsTheStoredCrcWhenNotVerifying) {
  const HandRecord record = record_for("{\"gain\":12}");
  Bytes raw = record.lay_out();
  raw[16 + 8] ^= 0x01;
  FlashConfig config;
  config.verify_crc = false;
  const Result<FlashBlob> parsed = parse_and_validate_raw_blob(raw, config);
  ASSERT_TRUE(parsed.ok()) << parsed.status().message();
  EXPECT_EQ(parsed.value().crc32, record.crc32);
  EXPECT_NE(parsed.value().crc32, crc32_ieee(parsed.value().payload));
  EXPECT_EQ(parsed.value().payload[8], static_cast<std::uint8_t>('1' ^ 0x01));
  EXPECT_EQ(parsed.value().raw, raw);
}

TEST(ParseRawBlob, StillChecksLengthsWhenNotVerifyingTheCrc) {
  FlashConfig config;
  config.verify_crc = false;
  Bytes raw = record_for("{\"x\":0}").lay_out();
  raw.pop_back();
  expect_failure(parse_and_validate_raw_blob(raw, config), ErrorCode::InvalidLength,
                 "raw buffer is shorter than header-declared length");
}

TEST(ParseRawBlob, KeepsOnlyTheRecordOfASixtyFourKibibyteFlashRead) {
  const HandRecord record = record_for(std::string(100, 'r'));
  const Bytes flash = record.lay_out(0x10000);
  const Result<FlashBlob> parsed = parse_and_validate_raw_blob(flash, FlashConfig());
  ASSERT_TRUE(parsed.ok()) << parsed.status().message();
  EXPECT_EQ(parsed.value().payload, bytes_of(std::string(100, 'r')));
  ASSERT_EQ(parsed.value().raw.size(), 116u);
  EXPECT_EQ(parsed.value().raw, Bytes(flash.begin(), flash.begin() + 116));
}

TEST(ParseRawBlob, AcceptsAnEmptyPayloadRecord) {
  const Result<FlashBlob> parsed = parse_and_validate_raw_blob(record_for("").lay_out(4096), FlashConfig());
  ASSERT_TRUE(parsed.ok()) << parsed.status().message();
  EXPECT_TRUE(parsed.value().payload.empty());
  EXPECT_EQ(parsed.value().raw.size(), 16u);
}

}  // namespace
}  // namespace tovanel::uvc_stereo
