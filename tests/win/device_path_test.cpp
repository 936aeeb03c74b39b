#include "win/device_path.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tovanel::uvc_stereo::win_detail {
namespace {

using namespace std::string_literals;

// The canonical form of the camera interface used throughout these tests.
constexpr std::string_view kCanonicalCamera = "usb#vid_0c45&pid_6366&mi_00#6&2a4b5c&0&0000";

// ---- normalize_windows_device_path ----

TEST(NormalizeWindowsDevicePath, EmptyTextGivesEmpty) { EXPECT_EQ(normalize_windows_device_path(""), ""); }

TEST(NormalizeWindowsDevicePath, SpacesAndTabsOnlyGiveEmpty) {
  EXPECT_EQ(normalize_windows_device_path("   "), "");
  EXPECT_EQ(normalize_windows_device_path("\t \t"), "");
}

TEST(NormalizeWindowsDevicePath, TrailingPaddingOnlyGivesEmpty) {
  EXPECT_EQ(normalize_windows_device_path("\0\0"s), "");
  EXPECT_EQ(normalize_windows_device_path(" \r\n\t\0"s), "");
}

TEST(NormalizeWindowsDevicePath, DirectShowDevicePathGivesCanonicalForm) {
  EXPECT_EQ(normalize_windows_device_path(
                "\\\\?\\USB#VID_0C45&PID_6366&MI_00#6&2A4B5C&0&0000#{65E8773D-8F56-11D0-A3B9-00A0C9223196}\\GLOBAL"),
            kCanonicalCamera);
}

TEST(NormalizeWindowsDevicePath, PnpMonikerWithElidedGuidGivesSameCanonicalForm) {
  EXPECT_EQ(
      normalize_windows_device_path("@device:pnp:\\\\?\\usb#vid_0c45&pid_6366&mi_00#6&2a4b5c&0&0000#{...}\\global"),
      kCanonicalCamera);
}

TEST(NormalizeWindowsDevicePath, PnpMonikerWithFullGuidGivesSameCanonicalForm) {
  EXPECT_EQ(normalize_windows_device_path(
                "@device:pnp:\\\\?\\usb#vid_0c45&pid_6366&mi_00#6&2a4b5c&0&0000#{65e8773d-8f56-11d0-a3b9-00a0c9223196}"
                "\\global"),
            kCanonicalCamera);
}

TEST(NormalizeWindowsDevicePath, MediaFoundationSymbolicLinkWithOtherGuidGivesSameCanonicalForm) {
  EXPECT_EQ(normalize_windows_device_path(
                "\\\\?\\usb#vid_0c45&pid_6366&mi_00#6&2a4b5c&0&0000#{e5323777-f976-4f5b-9b55-b94699c46e44}\\global"),
            kCanonicalCamera);
}

TEST(NormalizeWindowsDevicePath, TrailingNulIsRemoved) {
  EXPECT_EQ(normalize_windows_device_path("usb#vid_0c45&pid_6366#sn1\0"s), "usb#vid_0c45&pid_6366#sn1");
}

TEST(NormalizeWindowsDevicePath, TrailingLineBreaksTabsAndSpacesAreRemoved) {
  EXPECT_EQ(normalize_windows_device_path("root#camera#0000 \t\r\n\0 "s), "root#camera#0000");
}

TEST(NormalizeWindowsDevicePath, LeadingNulIsKept) {
  EXPECT_EQ(normalize_windows_device_path("\0root#camera"s), "\0root#camera"s);
}

TEST(NormalizeWindowsDevicePath, LeadingLineBreakIsKept) {
  EXPECT_EQ(normalize_windows_device_path("\nroot#camera"), "\nroot#camera");
}

TEST(NormalizeWindowsDevicePath, LeadingSpacesAndTabsAreRemoved) {
  EXPECT_EQ(normalize_windows_device_path(" \t ROOT\\Camera"), "root#camera");
}

TEST(NormalizeWindowsDevicePath, LeadingNulBeforeUsbTokenGoesWithTheTextBeforeIt) {
  EXPECT_EQ(normalize_windows_device_path("\0usb#vid_0c45&pid_6366"s), "usb#vid_0c45&pid_6366");
}

TEST(NormalizeWindowsDevicePath, LeadingNulHidesThePrefixes) {
  EXPECT_EQ(normalize_windows_device_path("\0@device:sw:root#cam"s), "\0@device:sw:root#cam"s);
}

TEST(NormalizeWindowsDevicePath, ForwardAndBackSlashesBecomeHashes) {
  EXPECT_EQ(normalize_windows_device_path("root/image\\0000"), "root#image#0000");
}

TEST(NormalizeWindowsDevicePath, RunsOfMixedSeparatorsBecomeOneHash) {
  EXPECT_EQ(normalize_windows_device_path("root//image\\\\/#\\0000"), "root#image#0000");
}

TEST(NormalizeWindowsDevicePath, SeparatorsAtBothEndsAreDropped) {
  EXPECT_EQ(normalize_windows_device_path("//\\root#image\\/#"), "root#image");
}

TEST(NormalizeWindowsDevicePath, FoldsOnlyAsciiLetters) {
  EXPECT_EQ(normalize_windows_device_path("ROOT#Kam\xC3\x84RA#Z"), "root#kam\xC3\x84ra#z");
}

TEST(NormalizeWindowsDevicePath, PathWithoutUsbTokenKeepsItsTextFromTheStart) {
  EXPECT_EQ(normalize_windows_device_path("\\\\?\\ROOT\\IMAGE\\0000"), "root#image#0000");
}

TEST(NormalizeWindowsDevicePath, SoftwareDeviceKeepsItsTextFromTheStartUpToTheInterfaceGuid) {
  EXPECT_EQ(normalize_windows_device_path("@device:sw:{860BB310-5D01-11D0-BD3B-00A0C911CE86}\\{A1B2C3D4}"),
            "{860bb310-5d01-11d0-bd3b-00a0c911ce86}");
}

TEST(NormalizeWindowsDevicePath, SoftwarePrefixIsRemoved) {
  EXPECT_EQ(normalize_windows_device_path("@device:sw:ROOT\\CAM"), "root#cam");
}

TEST(NormalizeWindowsDevicePath, PnpPrefixIsRemovedBeforeTheWin32Prefix) {
  EXPECT_EQ(normalize_windows_device_path("@device:pnp:\\\\?\\root\\cam"), "root#cam");
}

TEST(NormalizeWindowsDevicePath, PnpPrefixAfterTheWin32PrefixIsKept) {
  EXPECT_EQ(normalize_windows_device_path("\\\\?\\@device:pnp:root\\cam"), "@device:pnp:root#cam");
}

TEST(NormalizeWindowsDevicePath, ShortWin32PrefixIsRemoved) {
  EXPECT_EQ(normalize_windows_device_path("\\?\\root\\cam"), "root#cam");
}

TEST(NormalizeWindowsDevicePath, OnlyOneWin32PrefixIsRemoved) {
  EXPECT_EQ(normalize_windows_device_path("\\\\?\\\\?\\root\\cam"), "?#root#cam");
}

TEST(NormalizeWindowsDevicePath, TextBeforeUsbTokenIsDropped) {
  EXPECT_EQ(normalize_windows_device_path("\\\\?\\global\\usb#vid_0c45&pid_6366#sn1"), "usb#vid_0c45&pid_6366#sn1");
}

TEST(NormalizeWindowsDevicePath, InterfaceGuidAndGlobalTailAreDropped) {
  EXPECT_EQ(normalize_windows_device_path("usb#vid_0c45&pid_6366#sn1#{abc}\\global"), "usb#vid_0c45&pid_6366#sn1");
}

TEST(NormalizeWindowsDevicePath, GuidCutLeavesNoTrailingHash) {
  EXPECT_EQ(normalize_windows_device_path("usb#vid_0c45&pid_6366##{abc}"), "usb#vid_0c45&pid_6366");
}

TEST(NormalizeWindowsDevicePath, IsIdempotentOnEverySpellingOfADevice) {
  const std::vector<std::string> inputs = {
      "",
      "   ",
      "\\\\?\\USB#VID_0C45&PID_6366&MI_00#6&2A4B5C&0&0000#{65E8773D-8F56-11D0-A3B9-00A0C9223196}\\GLOBAL",
      "@device:pnp:\\\\?\\usb#vid_0c45&pid_6366&mi_00#6&2a4b5c&0&0000#{...}\\global",
      "@device:sw:{860BB310-5D01-11D0-BD3B-00A0C911CE86}\\{A1B2C3D4}",
      "\\\\?\\HID#VID_0C45&PID_6366&MI_02&COL01#7&1F2E3D&0&0000#{4d1e55b2-f16f-11cf-88cb-001111000030}",
      "\\?\\root\\image\\0000",
      "usb#vid_0c45&pid_6366#sn1\0"s,
      "\0root#camera"s,
      "//a//b\\\\c//",
  };
  for (const std::string& input : inputs) {
    const std::string once = normalize_windows_device_path(input);
    EXPECT_EQ(normalize_windows_device_path(once), once) << "input: " << input;
  }
}

// ---- collapse_path_separators ----

TEST(CollapsePathSeparators, TurnsSlashesIntoSingleHashesAndTrimsThem) {
  EXPECT_EQ(collapse_path_separators("/a\\\\b//#c\\"), "a#b#c");
}

TEST(CollapsePathSeparators, SeparatorsOnlyGiveEmpty) { EXPECT_EQ(collapse_path_separators("#/\\#"), ""); }

TEST(CollapsePathSeparators, LeavesOtherCharactersAlone) {
  EXPECT_EQ(collapse_path_separators("A&b?c{d}"), "A&b?c{d}");
}

// ---- parse_windows_usb_identity ----

TEST(WindowsUsbIdentityParser, ReadsEveryFieldOfACompositeInterfacePath) {
  const WindowsUsbIdentity identity = parse_windows_usb_identity(kCanonicalCamera);
  EXPECT_EQ(identity.vid, 0x0C45);
  EXPECT_EQ(identity.pid, 0x6366);
  EXPECT_EQ(identity.mi, "00");
  EXPECT_EQ(identity.col, "");
  EXPECT_EQ(identity.serial, "6&2a4b5c&0&0000");
}

TEST(WindowsUsbIdentityParser, EmptyPathGivesBlankIdentity) {
  const WindowsUsbIdentity identity = parse_windows_usb_identity("");
  EXPECT_EQ(identity.vid, 0);
  EXPECT_EQ(identity.pid, 0);
  EXPECT_TRUE(identity.serial.empty());
  EXPECT_TRUE(identity.mi.empty());
  EXPECT_TRUE(identity.col.empty());
}

TEST(WindowsUsbIdentityParser, ReadsCollectionAndInterfaceOfAHidPath) {
  const WindowsUsbIdentity identity = parse_windows_usb_identity("hid#vid_0c45&pid_6366&mi_02&col01#7&1f2e3d&0&0000");
  EXPECT_EQ(identity.vid, 0x0C45);
  EXPECT_EQ(identity.pid, 0x6366);
  EXPECT_EQ(identity.mi, "02");
  EXPECT_EQ(identity.col, "01");
  EXPECT_EQ(identity.serial, "7&1f2e3d&0&0000");
}

TEST(WindowsUsbIdentityParser, CollectionEndsAtHash) {
  EXPECT_EQ(parse_windows_usb_identity("hid#vid_0c45&pid_6366&col02#x").col, "02");
}

TEST(WindowsUsbIdentityParser, InterfaceAtEndRunsToEndOfText) {
  EXPECT_EQ(parse_windows_usb_identity("usb#vid_0c45&pid_6366&mi_01").mi, "01");
}

TEST(WindowsUsbIdentityParser, InterfaceMarkerAtVeryEndGivesEmptyInterface) {
  const WindowsUsbIdentity identity = parse_windows_usb_identity("usb#vid_0c45&pid_6366&mi_");
  EXPECT_EQ(identity.mi, "");
  EXPECT_EQ(identity.pid, 0x6366);
}

TEST(WindowsUsbIdentityParser, InterfaceMarkerFollowedBySeparatorGivesEmptyInterface) {
  EXPECT_EQ(parse_windows_usb_identity("usb#vid_0c45&pid_6366&mi_&x#sn").mi, "");
}

TEST(WindowsUsbIdentityParser, TakesTheFirstInterfaceMarker) {
  EXPECT_EQ(parse_windows_usb_identity("usb#vid_0c45&pid_6366&mi_03#mi_04").mi, "03");
}

TEST(WindowsUsbIdentityParser, VidWithFewerThanFourCharactersLeavesVidZero) {
  EXPECT_EQ(parse_windows_usb_identity("usb#pid_6366&vid_0c4").vid, 0);
  EXPECT_EQ(parse_windows_usb_identity("usb#pid_6366&vid_0c4").pid, 0x6366);
}

TEST(WindowsUsbIdentityParser, VidWithExactlyFourCharactersAtEndIsRead) {
  EXPECT_EQ(parse_windows_usb_identity("usb#pid_6366&vid_0c45").vid, 0x0C45);
}

TEST(WindowsUsbIdentityParser, NonHexVidLeavesVidZeroButPidIsRead) {
  const WindowsUsbIdentity identity = parse_windows_usb_identity("usb#vid_0c4g&pid_6366#sn1");
  EXPECT_EQ(identity.vid, 0);
  EXPECT_EQ(identity.pid, 0x6366);
  EXPECT_EQ(identity.serial, "sn1");
}

TEST(WindowsUsbIdentityParser, NonHexPidLeavesPidZeroButVidIsRead) {
  const WindowsUsbIdentity identity = parse_windows_usb_identity("usb#vid_0c45&pid_63x6");
  EXPECT_EQ(identity.vid, 0x0C45);
  EXPECT_EQ(identity.pid, 0);
}

TEST(WindowsUsbIdentityParser, UsesOnlyTheFirstVidMarker) {
  EXPECT_EQ(parse_windows_usb_identity("usb#vid_zzzz&pid_6366#vid_0c45").vid, 0);
  EXPECT_EQ(parse_windows_usb_identity("usb#vid_1234&pid_6366#vid_0c45").vid, 0x1234);
}

TEST(WindowsUsbIdentityParser, DoesNotFoldCaseSoUpperCaseMarkersAreNotFound) {
  const WindowsUsbIdentity identity = parse_windows_usb_identity("USB#VID_0C45&PID_6366&MI_00#SN1");
  EXPECT_EQ(identity.vid, 0);
  EXPECT_EQ(identity.pid, 0);
  EXPECT_EQ(identity.mi, "");
  EXPECT_EQ(identity.serial, "SN1");
}

TEST(WindowsUsbIdentityParser, ReadsUpperCaseHexDigitsAfterLowerCaseMarkers) {
  const WindowsUsbIdentity identity = parse_windows_usb_identity("usb#vid_ABCD&pid_Ef01");
  EXPECT_EQ(identity.vid, 0xABCD);
  EXPECT_EQ(identity.pid, 0xEF01);
}

TEST(WindowsUsbIdentityParser, TwoTokensGiveEmptySerial) {
  EXPECT_EQ(parse_windows_usb_identity("usb#vid_0c45&pid_6366").serial, "");
}

TEST(WindowsUsbIdentityParser, ThirdTokenIsTheSerial) {
  EXPECT_EQ(parse_windows_usb_identity("usb#vid_0c45&pid_6366#sn123").serial, "sn123");
}

TEST(WindowsUsbIdentityParser, SerialIsTakenWholeWithItsAmpersands) {
  EXPECT_EQ(parse_windows_usb_identity("usb#vid_0c45&pid_6366#5&abc&0&2#extra").serial, "5&abc&0&2");
}

TEST(WindowsUsbIdentityParser, EmptyTokensCountWhenFindingTheSerial) {
  EXPECT_EQ(parse_windows_usb_identity("usb##sn9").serial, "sn9");
  EXPECT_EQ(parse_windows_usb_identity("usb#vid_0c45&pid_6366#").serial, "");
}

// ---- make_vidpid_string ----

TEST(VidPidString, FormatsVendorThenProductAsLowerCaseHex) {
  EXPECT_EQ(make_vidpid_string(0x0C45, 0x6366), "0c456366");
}

TEST(VidPidString, PadsEachIdToFourDigits) { EXPECT_EQ(make_vidpid_string(0, 1), "00000001"); }

TEST(VidPidString, LargestIdsStayEightDigits) { EXPECT_EQ(make_vidpid_string(0xFFFF, 0xABCD), "ffffabcd"); }

// ---- parse_hex4 ----

TEST(ParseHex4, ReadsFourLowerCaseDigits) {
  std::uint16_t value = 0;
  EXPECT_TRUE(parse_hex4("0c45", value));
  EXPECT_EQ(value, 0x0C45);
}

TEST(ParseHex4, ReadsUpperCaseDigits) {
  std::uint16_t value = 0;
  EXPECT_TRUE(parse_hex4("FFFF", value));
  EXPECT_EQ(value, 0xFFFF);
}

TEST(ParseHex4, ReadsOnlyTheFirstFourCharacters) {
  std::uint16_t value = 0;
  EXPECT_TRUE(parse_hex4("12345678", value));
  EXPECT_EQ(value, 0x1234);
}

TEST(ParseHex4, RejectsFewerThanFourCharactersAndKeepsTarget) {
  std::uint16_t value = 0x5A5A;
  EXPECT_FALSE(parse_hex4("0c4", value));
  EXPECT_EQ(value, 0x5A5A);
}

TEST(ParseHex4, RejectsNonHexDigitAndKeepsTarget) {
  std::uint16_t value = 0x5A5A;
  EXPECT_FALSE(parse_hex4("0c4g", value));
  EXPECT_EQ(value, 0x5A5A);
}

TEST(ParseHex4, RejectsWhatTheUnsignedConversionWouldOtherwiseAccept) {
  std::uint16_t value = 0;
  EXPECT_FALSE(parse_hex4(" 0c4", value));
  EXPECT_FALSE(parse_hex4("0x0c", value));
  EXPECT_FALSE(parse_hex4("+c45", value));
  EXPECT_FALSE(parse_hex4("-c45", value));
  EXPECT_EQ(value, 0);
}

TEST(ParseHex4, RejectsBytesAboveAscii) {
  std::uint16_t value = 0;
  EXPECT_FALSE(
      parse_hex4("\xC3\x84"
                 "12",
                 value));
  EXPECT_FALSE(
      parse_hex4("12\xFF"
                 "3",
                 value));
}

// ---- vid_pid_from_path ----

TEST(VidPidFromPath, ReadsIdsFromARawUpperCasePath) {
  const auto ids = vid_pid_from_path(
      "\\\\?\\USB#VID_0C45&PID_6366&MI_00#6&2A4B5C&0&0000#{65E8773D-8F56-11D0-A3B9-00A0C9223196}\\GLOBAL");
  ASSERT_TRUE(ids.has_value());
  EXPECT_EQ(ids->vid, 0x0C45);
  EXPECT_EQ(ids->pid, 0x6366);
}

TEST(VidPidFromPath, AcceptsPidEndingExactlyAtEndOfText) {
  const auto ids = vid_pid_from_path("usb#vid_0C45&pid_63A6");
  ASSERT_TRUE(ids.has_value());
  EXPECT_EQ(ids->vid, 0x0C45);
  EXPECT_EQ(ids->pid, 0x63A6);
}

TEST(VidPidFromPath, FailsWithFewerThanEightCharactersFromVidMarker) {
  EXPECT_FALSE(vid_pid_from_path("usb#pid_6366&vid_0c4").has_value());
}

TEST(VidPidFromPath, FailsWithFewerThanEightCharactersFromPidMarker) {
  EXPECT_FALSE(vid_pid_from_path("usb#vid_0c45&pid_636").has_value());
}

TEST(VidPidFromPath, FailsWithoutPid) { EXPECT_FALSE(vid_pid_from_path("usb#vid_0c45#sn1").has_value()); }

TEST(VidPidFromPath, FailsWithoutVid) { EXPECT_FALSE(vid_pid_from_path("usb#pid_6366#sn1").has_value()); }

TEST(VidPidFromPath, FailsWhenVidIsNotHex) { EXPECT_FALSE(vid_pid_from_path("usb#vid_0c4g&pid_6366").has_value()); }

TEST(VidPidFromPath, FailsWhenPidIsNotHex) { EXPECT_FALSE(vid_pid_from_path("usb#vid_0c45&pid_x366").has_value()); }

TEST(VidPidFromPath, FailsOnEmptyPath) { EXPECT_FALSE(vid_pid_from_path("").has_value()); }

TEST(VidPidFromPath, UsesOnlyTheFirstMarkers) {
  EXPECT_FALSE(vid_pid_from_path("vid_zzzz&pid_6366#VID_0C45").has_value());
}

}  // namespace
}  // namespace tovanel::uvc_stereo::win_detail
