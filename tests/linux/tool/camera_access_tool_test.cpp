// The tool on a Linux machine whose camera node this account may not open: every command that meets the camera says
// so with the fix, and doctor shows what the kernel lists.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "linux/linux_fixture.h"
#include "tool/json_value.h"
#include "tool/tool_test_support.h"

namespace tovanel::uvc_stereo::linux_testing {
namespace {

using tool_testing::count_of;
using tool_testing::JsonValue;
using tool_testing::run_tool;
using tool_testing::ToolRun;

const char kWarning[] = "uvc-stereo: warning: this account cannot use the camera at ";
const char kJoinVideo[] = "sudo usermod -aG video $USER, then log in again";

class ToolOnLinux : public LinuxBackendTest {
 protected:
  void plug_forbidden_camera() { kernel_.add_camera(forbidden_camera("1-2", 0)); }

  // The one warning the run printed, which names the camera, its nodes, the reason and the fix.
  void expect_warned(const ToolRun& run) {
    EXPECT_EQ(count_of(run.err, kWarning), 1u) << run.err;
    const std::string expected = kWarning + kernel_.usb_path("1-2") + " (" + kernel_.dev_node(0) +
                                 ": Permission denied, " + kernel_.dev_node(1) + ": Permission denied); to fix: ";
    EXPECT_NE(run.err.find(expected), std::string::npos) << run.err;
    EXPECT_NE(run.err.find(kJoinVideo), std::string::npos) << run.err;
  }
};

TEST_F(ToolOnLinux, ScanListsTheCameraAndWarnsThatItCannotBeUsed) {
  plug_forbidden_camera();
  const ToolRun run = run_tool({"scan"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("SN0001"), std::string::npos) << run.out;
  expect_warned(run);
}

TEST_F(ToolOnLinux, ScanJsonStaysJsonOnStandardOutput) {
  plug_forbidden_camera();
  const ToolRun run = run_tool({"scan", "--json"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(JsonValue::parse(run.out)["cameras"].array().size(), 1u);
  expect_warned(run);
}

TEST_F(ToolOnLinux, InfoWarnsAndStillShowsTheFallbackCapabilities) {
  plug_forbidden_camera();
  const ToolRun run = run_tool({"info"});
  EXPECT_EQ(run.status, 0) << run.err;
  expect_warned(run);
}

TEST_F(ToolOnLinux, ConfigGetWarnsBeforeItFailsAsBefore) {
  plug_forbidden_camera();
  const ToolRun run = run_tool({"config", "get"});
  EXPECT_NE(run.status, 0);
  expect_warned(run);
  // The warning comes first: the failure that follows has been explained.
  EXPECT_EQ(run.err.find(kWarning), 0u) << run.err;
  EXPECT_GT(run.err.find("\n"), 0u);
  EXPECT_NE(run.err.find("uvc-stereo: ", run.err.find("\n")), std::string::npos) << run.err;
}

TEST_F(ToolOnLinux, ConfigSetWarnsBeforeItFailsAsBefore) {
  plug_forbidden_camera();
  const ToolRun run = run_tool({"config", "set", "-"}, "{\"a\":1}");
  EXPECT_NE(run.status, 0);
  expect_warned(run);
  EXPECT_EQ(run.err.find(kWarning), 0u) << run.err;
}

TEST_F(ToolOnLinux, ImuWarnsBeforeItFailsOnTheNodeItCannotOpen) {
  plug_forbidden_camera();
  const ToolRun run = run_tool({"imu", "--count", "1"});
  EXPECT_NE(run.status, 0);
  expect_warned(run);
  EXPECT_NE(run.err.find("SonixCam_SetNodeID failed"), std::string::npos) << run.err;
}

TEST_F(ToolOnLinux, VerboseShowsTheDiagnosticsToo) {
  plug_forbidden_camera();
  const ToolRun run = run_tool({"--verbose", "imu", "--count", "1"});
  expect_warned(run);
  EXPECT_NE(
      run.err.find("uvc-stereo: diagnostic: Linux UVC: cannot open " + kernel_.dev_node(0) + ": Permission denied"),
      std::string::npos)
      << run.err;
}

TEST_F(ToolOnLinux, ACameraThatOpensBringsNoWarning) {
  kernel_.add_camera(supported_camera("SN0001", "1-2", 0));
  const ToolRun run = run_tool({"scan"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err.find("warning"), std::string::npos) << run.err;
}

TEST_F(ToolOnLinux, ANodeGoneWhileListedIsWarnedOfAsUnplugged) {
  kernel_.add_camera(supported_camera("SN0001", "1-2", 0));
  kernel_.remove_node(1);
  const ToolRun run = run_tool({"scan"});
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.err.find(kernel_.dev_node(1) + ": No such file or directory); to fix: the kernel lists the camera "
                                               "but its node is gone"),
            std::string::npos)
      << run.err;
}

TEST_F(ToolOnLinux, DoctorListsWhatTheKernelShowsInText) {
  plug_forbidden_camera();
  const ToolRun run = run_tool({"doctor", "--imu-seconds", "0"});
  EXPECT_EQ(run.status, 0) << run.err;
  expect_warned(run);
  for (const std::string& expected :
       {std::string("  udev rule        not installed (70-tovanel-uvc-stereo.rules is in none of "),
        "  usb video        0c45:6366 on 1-2, supported (" + kernel_.usb_path("1-2") + ")\n",
        "    " + kernel_.dev_node(0) + "  root:video 0660  cannot open: Permission denied\n",
        "  " + kernel_.dev_node(0) + "  cannot open: Permission denied\n    fix: add this account to the group video",
        std::string("cameras: 1 found\n")}) {
    EXPECT_NE(run.out.find(expected), std::string::npos) << "missing: " << expected << "\nin:\n" << run.out;
  }
}

TEST_F(ToolOnLinux, DoctorNamesTheInstalledRule) {
  const std::string rule = kernel_.install_udev_rule("usr/lib/udev/rules.d").string();
  plug_forbidden_camera();
  const ToolRun run = run_tool({"doctor", "--imu-seconds", "0"});
  EXPECT_NE(run.out.find("  udev rule        " + rule + "\n"), std::string::npos) << run.out;
  EXPECT_NE(run.err.find("is installed but does not apply to this node yet"), std::string::npos) << run.err;
}

TEST_F(ToolOnLinux, DoctorListsWhatTheKernelShowsInJson) {
  plug_forbidden_camera();
  kernel_.add_camera(other_makers_webcam("1-3", 2));
  const ToolRun run = run_tool({"doctor", "--json", "--imu-seconds", "0"});
  EXPECT_EQ(run.status, 0) << run.err;
  expect_warned(run);
  const JsonValue report = JsonValue::parse(run.out);
  const JsonValue& kernel = report["kernel"];
  EXPECT_TRUE(kernel["available"].boolean());
  EXPECT_TRUE(kernel["udev_rules"].array().empty());
  const std::vector<JsonValue>& devices = kernel["devices"].array();
  ASSERT_EQ(devices.size(), 2u);
  EXPECT_EQ(devices[0]["device_path"].string(), kernel_.usb_path("1-2"));
  EXPECT_TRUE(devices[0]["supported"].boolean());
  EXPECT_FALSE(devices[1]["supported"].boolean());
  const JsonValue& node = devices[0]["nodes"].array().at(0);
  EXPECT_EQ(node["path"].string(), kernel_.dev_node(0));
  EXPECT_EQ(node["owner"].string(), "root");
  EXPECT_EQ(node["group"].string(), "video");
  EXPECT_EQ(node["mode"].string(), "0660");
  EXPECT_FALSE(node["may_open"].boolean());
  EXPECT_EQ(node["reason"].string(), "Permission denied");
  EXPECT_TRUE(devices[1]["nodes"].array().at(0)["may_open"].boolean());
  const std::vector<JsonValue>& problems = report["access_problems"].array();
  ASSERT_EQ(problems.size(), 2u);
  EXPECT_EQ(problems[0]["node"].string(), kernel_.dev_node(0));
  EXPECT_EQ(problems[0]["system_error"].number(), EACCES);
  EXPECT_EQ(report["cameras"].array().size(), 1u);
}

TEST_F(ToolOnLinux, DoctorOnAMachineWithoutCameraSaysSo) {
  const ToolRun run = run_tool({"doctor", "--imu-seconds", "0"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_NE(run.out.find("  usb video        none (no USB camera is plugged in, or the uvcvideo driver is not "
                         "loaded)\n"),
            std::string::npos)
      << run.out;
  EXPECT_NE(run.out.find("cameras: 0 found\n"), std::string::npos) << run.out;
  EXPECT_EQ(run.out.find("access\n"), std::string::npos) << run.out;
}

TEST_F(ToolOnLinux, DoctorAfterTheCameraWasUnpluggedListsNothing) {
  const int camera = kernel_.add_camera(supported_camera("SN0001", "1-2", 0));
  kernel_.unplug(camera);
  const ToolRun run = run_tool({"doctor", "--json", "--imu-seconds", "0"});
  EXPECT_EQ(run.status, 0) << run.err;
  const JsonValue report = JsonValue::parse(run.out);
  EXPECT_TRUE(report["kernel"]["devices"].array().empty());
  EXPECT_TRUE(report["access_problems"].array().empty());
  EXPECT_TRUE(report["cameras"].array().empty());
}

}  // namespace
}  // namespace tovanel::uvc_stereo::linux_testing
