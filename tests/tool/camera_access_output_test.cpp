// The warnings for cameras this account cannot open, and the doctor's kernel section, from the SDK's own records.
#include "uvc-stereo/camera_access_output.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "tool/json_value.h"
#include "tool/tool_test_support.h"
#include "uvc-stereo/kernel_listing_output.h"

namespace tovanel::uvc_stereo::tool_testing {
namespace {

const char kFix[] = "add this account to the group video: sudo usermod -aG video $USER, then log in again";

CameraAccessProblem forbidden(const std::string& device_path, const std::string& node) {
  return CameraAccessProblem{device_path, node, 13, "Permission denied", kFix};
}

KernelVideoListing listing_with_a_forbidden_camera() {
  KernelVideoListing listing;
  listing.available = true;
  KernelVideoDevice camera;
  camera.device_path = "/sys/bus/usb/devices/1-2";
  camera.bus_name = "1-2";
  camera.vendor_id = 0x0c45;
  camera.product_id = 0x6366;
  camera.supported = true;
  camera.nodes.push_back(KernelVideoNode{"/dev/video0", "root", "video", 0660, false, 13, "Permission denied"});
  camera.nodes.push_back(KernelVideoNode{"/dev/video1", "root", "video", 0660, true, 0, ""});
  listing.devices.push_back(camera);
  KernelVideoDevice webcam;
  webcam.device_path = "/sys/bus/usb/devices/3-1";
  webcam.bus_name = "3-1";
  webcam.vendor_id = 0x046d;
  webcam.product_id = 0x0825;
  webcam.nodes.push_back(KernelVideoNode{"/dev/video2", "root", "video", 0660, true, 0, ""});
  listing.devices.push_back(webcam);
  return listing;
}

std::string text_of(const KernelVideoListing& listing) {
  std::ostringstream out;
  cli::write_kernel_listing_text(listing, out);
  return out.str();
}

TEST(CameraAccessWarnings, OneLineNamesTheCameraItsNodesTheReasonAndTheFix) {
  const std::vector<std::string> warnings = cli::camera_access_warnings(
      {forbidden("/sys/bus/usb/devices/1-2", "/dev/video0"), forbidden("/sys/bus/usb/devices/1-2", "/dev/video1")});
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_EQ(warnings[0],
            "uvc-stereo: warning: this account cannot use the camera at /sys/bus/usb/devices/1-2 (/dev/video0: "
            "Permission denied, /dev/video1: Permission denied); to fix: " +
                std::string(kFix) + "\n");
}

TEST(CameraAccessWarnings, EachCameraGetsItsOwnWarningInTheOrderFound) {
  const std::vector<std::string> warnings = cli::camera_access_warnings(
      {forbidden("/sys/bus/usb/devices/1-4", "/dev/video0"), forbidden("/sys/bus/usb/devices/1-2", "/dev/video2"),
       forbidden("/sys/bus/usb/devices/1-4", "/dev/video1")});
  ASSERT_EQ(warnings.size(), 2u);
  EXPECT_NE(warnings[0].find("/sys/bus/usb/devices/1-4 (/dev/video0: Permission denied, /dev/video1:"),
            std::string::npos)
      << warnings[0];
  EXPECT_NE(warnings[1].find("/sys/bus/usb/devices/1-2 (/dev/video2: Permission denied)"), std::string::npos)
      << warnings[1];
}

TEST(CameraAccessWarnings, NoProblemNoWarning) { EXPECT_TRUE(cli::camera_access_warnings({}).empty()); }

TEST(CameraAccessWarnings, DeviceTextCannotDriveTheTerminal) {
  const std::vector<std::string> warnings =
      cli::camera_access_warnings({forbidden("/sys/bus/usb/devices/1-2\x1b]0;owned\x07", "/dev/video0\n")});
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_EQ(warnings[0].find('\x1b'), std::string::npos);
  EXPECT_EQ(warnings[0].find('\n'), warnings[0].size() - 1);
  EXPECT_NE(warnings[0].find("\\u001b]0;owned\\u0007"), std::string::npos) << warnings[0];
}

TEST(KernelListingText, ShowsEachDeviceAndNodeWithOwnershipAndAccess) {
  const std::string text = text_of(listing_with_a_forbidden_camera());
  EXPECT_EQ(text,
            "kernel\n"
            "  udev rule        not installed (70-tovanel-uvc-stereo.rules is in none of /etc/udev/rules.d, "
            "/lib/udev/rules.d, /usr/lib/udev/rules.d)\n"
            "  usb video        0c45:6366 on 1-2, supported (/sys/bus/usb/devices/1-2)\n"
            "    /dev/video0  root:video 0660  cannot open: Permission denied\n"
            "    /dev/video1  root:video 0660  opens\n"
            "  usb video        046d:0825 on 3-1, not supported (/sys/bus/usb/devices/3-1)\n"
            "    /dev/video2  root:video 0660  opens\n");
}

TEST(KernelListingText, NamesTheInstalledRule) {
  KernelVideoListing listing = listing_with_a_forbidden_camera();
  listing.udev_rules = {"/usr/lib/udev/rules.d/70-tovanel-uvc-stereo.rules"};
  EXPECT_NE(text_of(listing).find("  udev rule        /usr/lib/udev/rules.d/70-tovanel-uvc-stereo.rules\n"),
            std::string::npos);
}

TEST(KernelListingText, SaysWhenNoUsbVideoDeviceIsThere) {
  KernelVideoListing listing;
  listing.available = true;
  EXPECT_NE(text_of(listing).find("  usb video        none (no USB camera is plugged in, or the uvcvideo driver is "
                                  "not loaded)\n"),
            std::string::npos);
}

TEST(KernelListingText, SaysWhyThereIsNoListing) {
  KernelVideoListing listing;
  listing.note = "the kernel's video device listing is Linux-only";
  EXPECT_EQ(text_of(listing), "kernel\n  not listed       the kernel's video device listing is Linux-only\n");
}

TEST(KernelListingText, AMissingNodeShowsNoOwnership) {
  KernelVideoListing listing = listing_with_a_forbidden_camera();
  listing.devices[0].nodes[0] = KernelVideoNode{"/dev/video0", "", "", 0, false, 2, "No such file or directory"};
  EXPECT_NE(text_of(listing).find("    /dev/video0  -  cannot open: No such file or directory\n"), std::string::npos);
}

TEST(KernelListingJson, HoldsTheSameFacts) {
  cli::JsonWriter json;
  json.begin_object();
  cli::write_kernel_listing_json(json, listing_with_a_forbidden_camera());
  json.key("access_problems");
  cli::write_access_problems_json(json, {forbidden("/sys/bus/usb/devices/1-2", "/dev/video0")});
  json.end_object();
  const JsonValue value = JsonValue::parse(json.pretty_text());
  EXPECT_TRUE(value["available"].boolean());
  EXPECT_TRUE(value["note"].is_null());
  EXPECT_TRUE(value["udev_rules"].array().empty());
  const std::vector<JsonValue>& devices = value["devices"].array();
  ASSERT_EQ(devices.size(), 2u);
  EXPECT_EQ(devices[0]["vid_pid"].string(), "0c45:6366");
  EXPECT_EQ(devices[0]["vendor_id"].number(), 0x0c45);
  EXPECT_TRUE(devices[0]["supported"].boolean());
  EXPECT_FALSE(devices[1]["supported"].boolean());
  const JsonValue& node = devices[0]["nodes"].array().at(0);
  EXPECT_EQ(node["path"].string(), "/dev/video0");
  EXPECT_EQ(node["group"].string(), "video");
  EXPECT_EQ(node["mode"].string(), "0660");
  EXPECT_FALSE(node["may_open"].boolean());
  EXPECT_EQ(node["system_error"].number(), 13);
  EXPECT_EQ(node["reason"].string(), "Permission denied");
  const JsonValue& problem = value["access_problems"].array().at(0);
  EXPECT_EQ(problem["node"].string(), "/dev/video0");
  EXPECT_EQ(problem["fix"].string(), kFix);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
