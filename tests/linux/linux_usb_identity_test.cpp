// Which USB device is at a port: the numbers and fingerprint the Linux backend compares, and the stamp it leaves
// in the device records it hands out.
#include "bridge/backends/linux_usb_identity.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

const std::string kDescriptors = std::string("\x12\x01\x00\x02", 4) + std::string(14, '\x01');

TEST(SysfsDecimal, ReadsTheKernelsNumbers) {
  EXPECT_EQ(parse_sysfs_decimal("1"), std::optional<std::uint32_t>(1));
  EXPECT_EQ(parse_sysfs_decimal("127"), std::optional<std::uint32_t>(127));
  EXPECT_EQ(parse_sysfs_decimal("4294967295"), std::optional<std::uint32_t>(0xFFFFFFFFu));
}

TEST(SysfsDecimal, RejectsEmptySignedHugeAndNonDecimalTexts) {
  EXPECT_EQ(parse_sysfs_decimal(""), std::nullopt);
  EXPECT_EQ(parse_sysfs_decimal("-1"), std::nullopt);
  EXPECT_EQ(parse_sysfs_decimal("4294967296"), std::nullopt);
  EXPECT_EQ(parse_sysfs_decimal("99999999999999999999999"), std::nullopt);
  EXPECT_EQ(parse_sysfs_decimal("0x1f"), std::nullopt);
  EXPECT_EQ(parse_sysfs_decimal("3 "), std::nullopt);
}

TEST(LinuxUsbIdentity, TakesTheBusAndDeviceNumbers) {
  const LinuxUsbIdentity identity = make_linux_usb_identity("3", "17", std::string_view("SN"), kDescriptors);
  EXPECT_EQ(identity.bus_number, 3u);
  EXPECT_EQ(identity.device_number, 17u);
}

TEST(LinuxUsbIdentity, NumbersThatAreNotNumbersReadAsZeroAndStillCount) {
  const LinuxUsbIdentity odd = make_linux_usb_identity("x", "", std::nullopt, kDescriptors);
  EXPECT_EQ(odd.bus_number, 0u);
  EXPECT_EQ(odd.device_number, 0u);
  EXPECT_NE(odd, make_linux_usb_identity("y", "", std::nullopt, kDescriptors));
}

TEST(LinuxUsbIdentity, TheSameDeviceIsTheSameIdentity) {
  EXPECT_EQ(make_linux_usb_identity("1", "5", std::string_view("SN-A"), kDescriptors),
            make_linux_usb_identity("1", "5", std::string_view("SN-A"), kDescriptors));
}

TEST(LinuxUsbIdentity, ADifferenceInAnyPartIsAnotherDevice) {
  const LinuxUsbIdentity base = make_linux_usb_identity("1", "5", std::string_view("SN-A"), kDescriptors);
  EXPECT_NE(base, make_linux_usb_identity("2", "5", std::string_view("SN-A"), kDescriptors));
  EXPECT_NE(base, make_linux_usb_identity("1", "6", std::string_view("SN-A"), kDescriptors));
  EXPECT_NE(base, make_linux_usb_identity("1", "5", std::string_view("SN-B"), kDescriptors));
  EXPECT_NE(base, make_linux_usb_identity("1", "5", std::string_view("SN-A"), kDescriptors + "\x02"));
  EXPECT_NE(base, make_linux_usb_identity("1", "5", std::nullopt, kDescriptors));
}

TEST(LinuxUsbIdentity, SerialNumbersThatDifferOnlyAfterByte64AreDifferentDevices) {
  const std::string common(64, 'S');
  EXPECT_NE(make_linux_usb_identity("1", "5", std::string_view(common + "1"), kDescriptors),
            make_linux_usb_identity("1", "5", std::string_view(common + "2"), kDescriptors));
}

TEST(LinuxUsbIdentity, NoSerialNumberDiffersFromAnEmptyOne) {
  EXPECT_NE(make_linux_usb_identity("1", "5", std::nullopt, kDescriptors),
            make_linux_usb_identity("1", "5", std::string_view(""), kDescriptors));
}

TEST(LinuxUsbIdentity, BytesMovedFromOneFieldToTheNextChangeIt) {
  EXPECT_NE(make_linux_usb_identity("1", "25", std::string_view("S"), kDescriptors),
            make_linux_usb_identity("12", "5", std::string_view("S"), kDescriptors));
}

TEST(LinuxDeviceRecord, CarriesTheIdentityItWasStampedWith) {
  SonixLib::scDevice_t record{};
  const LinuxUsbIdentity identity = make_linux_usb_identity("4", "9", std::string_view("SN"), kDescriptors);
  stamp_linux_device_record(identity, record);
  EXPECT_EQ(linux_device_record_identity(record), std::optional<LinuxUsbIdentity>(identity));
}

TEST(LinuxDeviceRecord, AZeroedRecordCarriesNone) {
  const SonixLib::scDevice_t record{};
  EXPECT_EQ(linux_device_record_identity(record), std::nullopt);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::detail::bridge
