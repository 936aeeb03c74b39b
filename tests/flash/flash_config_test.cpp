#include "uvc_stereo/flash_config.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>

namespace tovanel::uvc_stereo {
namespace {

// Longer than any small-string buffer, so copies and moves really involve the heap.
const std::string kLongPath =
    "\\\\?\\usb#vid_0c45&pid_6366&mi_00#7&1a2b3c4d&0&0000#{e5323777-f976-4f5b-9b55-b94699c46e44}\\global";
const std::string kLongSerial = "SN-STEREO-0123456789-ABCDEFGHIJ";

// A configuration in which every field differs from its default.
FlashConfig non_default_config() {
  FlashConfig config;
  config.vidpid = "0c456366";
  config.auto_select = false;
  config.vendor_id = 0x0C45;
  config.product_id = 0x6366;
  config.aux_flag_a = true;
  config.aux_flag_b = true;
  config.serial_number = kLongSerial;
  config.device_path = kLongPath;
  config.user_space_address = 0x70000;
  config.erase_sector_size = 0x10000;
  config.magic = 0x12345678u;
  config.user_space_size = 0x8000;
  config.min_header_size = 32;
  config.max_header_size = 128;
  config.verify_crc = false;
  config.verify_after_write = false;
  return config;
}

void expect_same_numbers_as_non_default(const FlashConfig& config) {
  EXPECT_FALSE(config.auto_select);
  EXPECT_EQ(config.vendor_id, 0x0C45);
  EXPECT_EQ(config.product_id, 0x6366);
  EXPECT_TRUE(config.aux_flag_a);
  EXPECT_TRUE(config.aux_flag_b);
  EXPECT_EQ(config.user_space_address, 0x70000u);
  EXPECT_EQ(config.erase_sector_size, 0x10000u);
  EXPECT_EQ(config.magic, 0x12345678u);
  EXPECT_EQ(config.user_space_size, 0x8000u);
  EXPECT_EQ(config.min_header_size, 32);
  EXPECT_EQ(config.max_header_size, 128);
  EXPECT_FALSE(config.verify_crc);
  EXPECT_FALSE(config.verify_after_write);
}

void expect_same_strings_as_non_default(const FlashConfig& config) {
  EXPECT_EQ(config.vidpid, "0c456366");
  EXPECT_EQ(config.serial_number, kLongSerial);
  EXPECT_EQ(config.device_path, kLongPath);
}

TEST(FlashConfig, DefaultSelectsAnyDeviceAutomatically) {
  const FlashConfig config;
  EXPECT_TRUE(config.auto_select);
  EXPECT_TRUE(config.vidpid.empty());
  EXPECT_TRUE(config.serial_number.empty());
  EXPECT_TRUE(config.device_path.empty());
  EXPECT_EQ(config.vendor_id, 0);
  EXPECT_EQ(config.product_id, 0);
  EXPECT_FALSE(config.aux_flag_a);
  EXPECT_FALSE(config.aux_flag_b);
}

TEST(FlashConfig, DefaultUserSpaceIs64KibibytesAt0x51000With4096ByteSectors) {
  const FlashConfig config;
  EXPECT_EQ(config.user_space_address, 0x51000u);
  EXPECT_EQ(config.user_space_size, 0x10000u);
  EXPECT_EQ(config.erase_sector_size, 4096u);
}

TEST(FlashConfig, DefaultMagicIsTheBytesTovaReadLittleEndian) {
  const FlashConfig config;
  const std::uint32_t tova = static_cast<std::uint32_t>('T') | (static_cast<std::uint32_t>('O') << 8) |
                             (static_cast<std::uint32_t>('V') << 16) | (static_cast<std::uint32_t>('A') << 24);
  EXPECT_EQ(config.magic, tova);
  EXPECT_EQ(config.magic, 0x41564F54u);
}

TEST(FlashConfig, DefaultHeaderSizesAre16To256AndBothVerificationsAreOn) {
  const FlashConfig config;
  EXPECT_EQ(config.min_header_size, 16);
  EXPECT_EQ(config.max_header_size, 256);
  EXPECT_TRUE(config.verify_crc);
  EXPECT_TRUE(config.verify_after_write);
}

TEST(FlashConfig, CopyConstructionCopiesEveryFieldAndLeavesTheSourceIntact) {
  const FlashConfig source = non_default_config();
  FlashConfig copy(source);
  expect_same_strings_as_non_default(copy);
  expect_same_numbers_as_non_default(copy);
  expect_same_strings_as_non_default(source);
  copy.device_path[0] = 'X';
  copy.serial_number.clear();
  EXPECT_EQ(source.device_path, kLongPath);
  EXPECT_EQ(source.serial_number, kLongSerial);
}

TEST(FlashConfig, CopyAssignmentReplacesEveryField) {
  const FlashConfig source = non_default_config();
  FlashConfig target;
  target.device_path = "previous";
  target = source;
  expect_same_strings_as_non_default(target);
  expect_same_numbers_as_non_default(target);
  expect_same_strings_as_non_default(source);
}

TEST(FlashConfig, MoveConstructionTakesTheStringsAndLeavesTheSourceNumbersUnchanged) {
  FlashConfig source = non_default_config();
  const FlashConfig moved(std::move(source));
  expect_same_strings_as_non_default(moved);
  expect_same_numbers_as_non_default(moved);
  EXPECT_TRUE(source.vidpid.empty());          // NOLINT(bugprone-use-after-move)
  EXPECT_TRUE(source.serial_number.empty());   // NOLINT(bugprone-use-after-move)
  EXPECT_TRUE(source.device_path.empty());     // NOLINT(bugprone-use-after-move)
  expect_same_numbers_as_non_default(source);  // NOLINT(bugprone-use-after-move)
}

TEST(FlashConfig, MoveAssignmentTakesTheStringsAndLeavesTheSourceNumbersUnchanged) {
  FlashConfig source = non_default_config();
  FlashConfig target;
  target.serial_number = "to be replaced, and long enough to sit on the heap";
  target = std::move(source);
  expect_same_strings_as_non_default(target);
  expect_same_numbers_as_non_default(target);
  EXPECT_TRUE(source.vidpid.empty());          // NOLINT(bugprone-use-after-move)
  EXPECT_TRUE(source.serial_number.empty());   // NOLINT(bugprone-use-after-move)
  EXPECT_TRUE(source.device_path.empty());     // NOLINT(bugprone-use-after-move)
  expect_same_numbers_as_non_default(source);  // NOLINT(bugprone-use-after-move)
}

}  // namespace
}  // namespace tovanel::uvc_stereo
