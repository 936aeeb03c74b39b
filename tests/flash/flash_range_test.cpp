#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "uvc_stereo/flash.h"
#include "uvc_stereo/flash_config.h"

namespace tovanel::uvc_stereo {
namespace {

constexpr std::uint64_t kMaxLength = std::numeric_limits<std::uint64_t>::max();

FlashConfig user_space(std::uint32_t address, std::uint32_t size, std::uint32_t sector = 4096) {
  FlashConfig config;
  config.user_space_address = address;
  config.user_space_size = size;
  config.erase_sector_size = sector;
  return config;
}

void expect_ok(const Status& status) {
  EXPECT_TRUE(status.ok()) << status.message();
  EXPECT_EQ(status.code(), ErrorCode::Ok);
  EXPECT_TRUE(status.message().empty());
}

void expect_invalid(const Status& status, const std::string& message) {
  EXPECT_EQ(status.code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(status.message(), message);
}

// ---- validate_flash_transfer_range ----

TEST(FlashTransferRange, AllowsTheWholeDefaultUserSpace) {
  expect_ok(validate_flash_transfer_range(FlashConfig(), 0x51000, 0x10000, nullptr));
}

TEST(FlashTransferRange, RejectsOneByteMoreThanTheDefaultUserSpaceWithTheFullMessage) {
  expect_invalid(validate_flash_transfer_range(FlashConfig(), 0x51000, 0x10001, nullptr),
                 "Flash transfer range is outside Flash user space (address=0x00051000, length=65537, "
                 "allowed=[0x00051000,0x61000))");
}

TEST(FlashTransferRange, NamesTheRequestWithTheGivenWhat) {
  expect_invalid(validate_flash_transfer_range(FlashConfig(), 0x61000, 1, "Flash read"),
                 "Flash read range is outside Flash user space (address=0x00061000, length=1, "
                 "allowed=[0x00051000,0x61000))");
}

TEST(FlashTransferRange, AllowsLengthZeroExactlyAtTheUserSpaceEnd) {
  expect_ok(validate_flash_transfer_range(FlashConfig(), 0x61000, 0, nullptr));
}

TEST(FlashTransferRange, AllowsTheLastByteAndRejectsTheFirstByteAfterTheEnd) {
  expect_ok(validate_flash_transfer_range(FlashConfig(), 0x60FFF, 1, nullptr));
  expect_invalid(validate_flash_transfer_range(FlashConfig(), 0x60FFF, 2, nullptr),
                 "Flash transfer range is outside Flash user space (address=0x00060FFF, length=2, "
                 "allowed=[0x00051000,0x61000))");
}

TEST(FlashTransferRange, RejectsLengthZeroOneByteBelowTheUserSpace) {
  expect_invalid(validate_flash_transfer_range(FlashConfig(), 0x50FFF, 0, nullptr),
                 "Flash transfer range is outside Flash user space (address=0x00050FFF, length=0, "
                 "allowed=[0x00051000,0x61000))");
}

TEST(FlashTransferRange, RejectsARequestStartingBelowTheUserSpaceEvenIfItEndsInside) {
  expect_invalid(validate_flash_transfer_range(FlashConfig(), 0x50000, 0x2000, "Flash write"),
                 "Flash write range is outside Flash user space (address=0x00050000, length=8192, "
                 "allowed=[0x00051000,0x61000))");
}

TEST(FlashTransferRange, WithNoUserSpaceRejectsEveryRequest) {
  const FlashConfig config = user_space(0x51000, 0);
  expect_invalid(validate_flash_transfer_range(config, 0x51000, 0, nullptr),
                 "Flash transfer range is outside Flash user space (address=0x00051000, length=0, "
                 "allowed=[0x00051000,0x51000))");
  EXPECT_FALSE(validate_flash_transfer_range(config, 0x51000, 1, nullptr).ok());
  EXPECT_FALSE(validate_flash_transfer_range(config, 0, 0, nullptr).ok());
  EXPECT_FALSE(validate_flash_transfer_range(config, 0xFFFFFFFFu, 0, nullptr).ok());
}

TEST(FlashTransferRange, RejectsTheLargestLengthAsOverflowing) {
  expect_invalid(validate_flash_transfer_range(FlashConfig(), 0x51000, kMaxLength, nullptr),
                 "Flash transfer length overflows address range");
}

TEST(FlashTransferRange, ReportsOverflowBeforeTheWindowAndRegardlessOfWhat) {
  expect_invalid(validate_flash_transfer_range(user_space(0x51000, 0), 1, kMaxLength, "Flash read"),
                 "Flash transfer length overflows address range");
}

// address + length reaching exactly 2^64 - 1 does not wrap: it is an ordinary window failure.
TEST(FlashTransferRange, TreatsASumOfExactlyTheLargestValueAsNotWrapping) {
  expect_invalid(validate_flash_transfer_range(FlashConfig(), 0, kMaxLength, nullptr),
                 "Flash transfer range is outside Flash user space (address=0x00000000, "
                 "length=18446744073709551615, allowed=[0x00051000,0x61000))");
  expect_invalid(validate_flash_transfer_range(FlashConfig(), 0x51000, kMaxLength - 0x51000, nullptr),
                 "Flash transfer range is outside Flash user space (address=0x00051000, "
                 "length=18446744073709219839, allowed=[0x00051000,0x61000))");
  expect_invalid(validate_flash_transfer_range(FlashConfig(), 0x51000, kMaxLength - 0x50FFF, nullptr),
                 "Flash transfer length overflows address range");
}

TEST(FlashTransferRange, AllowsAUserSpaceEndingAtTheTopOfTheAddressSpace) {
  const FlashConfig config = user_space(0xFFFFF000u, 0x1000);
  expect_ok(validate_flash_transfer_range(config, 0xFFFFF000u, 0x1000, nullptr));
  expect_ok(validate_flash_transfer_range(config, 0xFFFFFFFFu, 1, nullptr));
  expect_invalid(validate_flash_transfer_range(config, 0xFFFFFFFFu, 2, nullptr),
                 "Flash transfer range is outside Flash user space (address=0xFFFFFFFF, length=2, "
                 "allowed=[0xFFFFF000,0x100000000))");
}

TEST(FlashTransferRange, AllowsTheWholeAddressSpaceWhenTheUserSpaceCoversIt) {
  const FlashConfig config = user_space(0, 0xFFFFFFFFu);
  expect_ok(validate_flash_transfer_range(config, 0, 0xFFFFFFFFu, nullptr));
  expect_invalid(validate_flash_transfer_range(config, 0, 0x100000000ull, nullptr),
                 "Flash transfer range is outside Flash user space (address=0x00000000, length=4294967296, "
                 "allowed=[0x00000000,0xFFFFFFFF))");
}

TEST(FlashTransferRange, WritesAddressesInUpperCaseHexadecimal) {
  expect_invalid(validate_flash_transfer_range(user_space(0xABC00, 0x100), 0xABCDEF, 16, "Probe"),
                 "Probe range is outside Flash user space (address=0x00ABCDEF, length=16, "
                 "allowed=[0x000ABC00,0xABD00))");
}

TEST(FlashTransferRange, CutsAMessageLongerThan319CharactersAtTheBuffer) {
  const std::string what(300, 'w');
  const std::string full = what +
                           " range is outside Flash user space (address=0x00061000, length=1, "
                           "allowed=[0x00051000,0x61000))";
  ASSERT_GT(full.size(), 319u);
  const Status status = validate_flash_transfer_range(FlashConfig(), 0x61000, 1, what.c_str());
  EXPECT_EQ(status.code(), ErrorCode::InvalidArgument);
  ASSERT_EQ(status.message().size(), 319u);
  EXPECT_EQ(status.message(), full.substr(0, 319));
}

TEST(FlashTransferRange, KeepsAMessageOfExactly319Characters) {
  const std::string tail =
      " range is outside Flash user space (address=0x00061000, length=1, allowed=[0x00051000,0x61000))";
  const std::string what(319 - tail.size(), 'v');
  const Status status = validate_flash_transfer_range(FlashConfig(), 0x61000, 1, what.c_str());
  EXPECT_EQ(status.message(), what + tail);
  const std::string longer = what + "v";
  EXPECT_EQ(validate_flash_transfer_range(FlashConfig(), 0x61000, 1, longer.c_str()).message(),
            (longer + tail).substr(0, 319));
}

TEST(FlashTransferRange, IgnoresTheEraseSectorSize) {
  expect_ok(validate_flash_transfer_range(user_space(0x51008, 0x10000), 0x51008, 3, nullptr));
}

// ---- validate_flash_erase_range ----

TEST(FlashEraseRange, AllowsSixteenBytesInsideOneDefaultSector) {
  expect_ok(validate_flash_erase_range(FlashConfig(), 0x51010, 16));
}

TEST(FlashEraseRange, RejectsAnEraseSpillingBelowAnUnalignedUserSpaceStart) {
  expect_invalid(validate_flash_erase_range(user_space(0x51008, 0x10000), 0x51010, 16),
                 "aligned Flash erase range crosses user-space boundary (address=0x00051010, length=16, "
                 "erase=[0x51000,0x52000), allowed=[0x00051008,0x61008))");
}

TEST(FlashEraseRange, UsesTheEraseWordingWhenTheRequestItselfIsOutside) {
  expect_invalid(validate_flash_erase_range(user_space(0x51800, 0x10000), 0x51010, 16),
                 "Flash erase request range is outside Flash user space (address=0x00051010, length=16, "
                 "allowed=[0x00051800,0x61800))");
}

TEST(FlashEraseRange, RejectsTheLargestLengthWithTheTransferWording) {
  expect_invalid(validate_flash_erase_range(FlashConfig(), 0x51000, kMaxLength),
                 "Flash transfer length overflows address range");
  expect_invalid(validate_flash_erase_range(user_space(0, 0), 0xFFFFFFFFu, kMaxLength - 0xFFFFFFFEu),
                 "Flash transfer length overflows address range");
}

TEST(FlashEraseRange, WithNoUserSpaceRejectsEveryRequest) {
  expect_invalid(validate_flash_erase_range(user_space(0x51000, 0), 0x51000, 0),
                 "Flash erase request range is outside Flash user space (address=0x00051000, length=0, "
                 "allowed=[0x00051000,0x51000))");
  EXPECT_FALSE(validate_flash_erase_range(user_space(0x51000, 0), 0x51000, 4096).ok());
}

// Length 0 skips the sector test: here it would otherwise fail, as the sector starts below 0x51008.
TEST(FlashEraseRange, AllowsLengthZeroWithoutTheSectorTest) {
  const FlashConfig config = user_space(0x51008, 0x10000);
  expect_ok(validate_flash_erase_range(config, 0x51010, 0));
  EXPECT_FALSE(validate_flash_erase_range(config, 0x51010, 1).ok());
}

TEST(FlashEraseRange, TreatsSectorSizeZeroAs4096) {
  const FlashConfig zero = user_space(0x51008, 0x10000, 0);
  const FlashConfig explicit_4096 = user_space(0x51008, 0x10000, 4096);
  const std::string expected =
      "aligned Flash erase range crosses user-space boundary (address=0x00051010, length=16, "
      "erase=[0x51000,0x52000), allowed=[0x00051008,0x61008))";
  expect_invalid(validate_flash_erase_range(zero, 0x51010, 16), expected);
  expect_invalid(validate_flash_erase_range(explicit_4096, 0x51010, 16), expected);
  expect_ok(validate_flash_erase_range(user_space(0x51000, 0x10000, 0), 0x51010, 16));
  expect_ok(validate_flash_erase_range(user_space(0x51000, 0x10000, 0), 0x60FFF, 1));
}

TEST(FlashEraseRange, AllowsAnEraseEndingExactlyAtTheUserSpaceEnd) {
  expect_ok(validate_flash_erase_range(FlashConfig(), 0x60000, 0x1000));
  expect_ok(validate_flash_erase_range(FlashConfig(), 0x60FFF, 1));
  expect_ok(validate_flash_erase_range(FlashConfig(), 0x51000, 0x10000));
}

TEST(FlashEraseRange, RejectsAnEraseSpillingPastAnUnalignedUserSpaceEnd) {
  const FlashConfig config = user_space(0x51000, 0x10800);  // ends at 0x61800, mid-sector
  expect_ok(validate_flash_erase_range(config, 0x60000, 0x1000));
  expect_invalid(validate_flash_erase_range(config, 0x61000, 0x100),
                 "aligned Flash erase range crosses user-space boundary (address=0x00061000, length=256, "
                 "erase=[0x61000,0x62000), allowed=[0x00051000,0x61800))");
}

TEST(FlashEraseRange, WidensToSixtyFourKibibyteSectors) {
  const FlashConfig config = user_space(0x50000, 0x20000, 0x10000);
  expect_ok(validate_flash_erase_range(config, 0x51000, 1));
  expect_invalid(validate_flash_erase_range(user_space(0x51000, 0x10000, 0x10000), 0x51000, 1),
                 "aligned Flash erase range crosses user-space boundary (address=0x00051000, length=1, "
                 "erase=[0x50000,0x60000), allowed=[0x00051000,0x61000))");
}

TEST(FlashEraseRange, WidensTo256ByteSectors) {
  const FlashConfig config = user_space(0x51100, 0x200, 256);
  expect_ok(validate_flash_erase_range(config, 0x51180, 0x100));
  expect_ok(validate_flash_erase_range(config, 0x51100, 0x200));
  expect_invalid(validate_flash_erase_range(user_space(0x51180, 0x200, 256), 0x51180, 1),
                 "aligned Flash erase range crosses user-space boundary (address=0x00051180, length=1, "
                 "erase=[0x51100,0x51200), allowed=[0x00051180,0x51380))");
}

TEST(FlashEraseRange, WidensToSectorsThatAreNotAPowerOfTwo) {
  // 0x51000 is a multiple of 3; 0x51001 is not.
  expect_ok(validate_flash_erase_range(user_space(0x51000, 0x30, 3), 0x51001, 1));
  expect_invalid(validate_flash_erase_range(user_space(0x51001, 0x30, 3), 0x51001, 1),
                 "aligned Flash erase range crosses user-space boundary (address=0x00051001, length=1, "
                 "erase=[0x51000,0x51003), allowed=[0x00051001,0x51031))");
}

TEST(FlashEraseRange, AllowsSectorsReachingTheTopOfTheAddressSpace) {
  expect_ok(validate_flash_erase_range(user_space(0xFFFFF000u, 0x1000), 0xFFFFFFFFu, 1));
  expect_ok(validate_flash_erase_range(user_space(0xFFFFF000u, 0x1000), 0xFFFFF000u, 0x1000));
  expect_ok(validate_flash_erase_range(user_space(0x80000000u, 0x80000000u, 0x80000000u), 0xFFFFFFFFu, 1));
  expect_invalid(validate_flash_erase_range(user_space(0xFFFFF800u, 0x800), 0xFFFFFFFFu, 1),
                 "aligned Flash erase range crosses user-space boundary (address=0xFFFFFFFF, length=1, "
                 "erase=[0xFFFFF000,0x100000000), allowed=[0xFFFFF800,0x100000000))");
}

TEST(FlashEraseRange, ReportsTheWindowBeforeTheSectorTest) {
  // Outside the window and misaligned: the window wording wins.
  expect_invalid(validate_flash_erase_range(user_space(0x51008, 0x10000), 0x51004, 8),
                 "Flash erase request range is outside Flash user space (address=0x00051004, length=8, "
                 "allowed=[0x00051008,0x61008))");
}

}  // namespace
}  // namespace tovanel::uvc_stereo
