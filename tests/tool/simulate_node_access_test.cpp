// --simulate=DIR with a camera whose video node this account may not open, as its camera file says: every command
// warns of it with the fix, as on Linux, and fails where it needs the node.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "tool/json_value.h"
#include "tool/tool_test_support.h"
#include "uvc-stereo/simulated_scenario.h"

namespace tovanel::uvc_stereo::tool_testing {
namespace {

const char kWarning[] = "uvc-stereo: warning: this account cannot use the camera at ";
const char kJoinVideo[] =
    "to fix: add this account to the group video: sudo usermod -aG video $USER, then log in again";

std::string read_file(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

// Rewrites one "name=value" line of a camera file, as a person editing it would.
void edit_camera_file(const std::filesystem::path& path, const std::string& from, const std::string& to) {
  std::string text = read_file(path);
  const std::size_t at = text.find("\n" + from + "\n");
  ASSERT_NE(at, std::string::npos) << text;
  text.replace(at + 1, from.size(), to);
  std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

class SimulateRefusedCamera : public ::testing::Test {
 protected:
  void SetUp() override {
    const ToolRun made = run_tool({simulate_, "scan", "--json"});
    ASSERT_EQ(made.status, 0) << made.err;
    first_camera_path_ = JsonValue::parse(made.out)["cameras"].array().at(0)["device_path"].string();
    edit_camera_file(directory_ / "camera-0.txt", "node_access=allowed", "node_access=permission_denied");
  }

  // The run warned once, of the first camera's two nodes, with the fix.
  void expect_warned(const ToolRun& run) const {
    EXPECT_EQ(count_of(run.err, kWarning), 1u) << run.err;
    EXPECT_NE(run.err.find(kWarning + first_camera_path_ +
                           " (/dev/video0: Permission denied, /dev/video1: Permission denied); " + kJoinVideo),
              std::string::npos)
        << run.err;
  }

  const ScratchDirectory scratch_;
  const std::filesystem::path directory_ = scratch_.path() / "rig";
  const std::string simulate_ = "--simulate=" + directory_.string();
  std::string first_camera_path_;
};

TEST_F(SimulateRefusedCamera, ScanListsBothCamerasAndWarnsOfTheRefusedOne) {
  const ToolRun run = run_tool({simulate_, "scan"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find(cli::scenario_cameras()[0].serial_number), std::string::npos) << run.out;
  EXPECT_NE(run.out.find(cli::scenario_cameras()[1].serial_number), std::string::npos) << run.out;
  expect_warned(run);
}

TEST_F(SimulateRefusedCamera, InfoWarnsAndShowsTheFallbackCapabilities) {
  const ToolRun run = run_tool({simulate_, "info", "--index", "0"});
  EXPECT_EQ(run.status, 0) << run.err;
  expect_warned(run);
}

TEST_F(SimulateRefusedCamera, ConfigGetWarnsFirstThenFailsOnTheFlash) {
  const ToolRun run = run_tool({simulate_, "config", "get", "--index", "0"});
  EXPECT_NE(run.status, 0);
  expect_warned(run);
  EXPECT_EQ(run.err.find(kWarning), 0u) << run.err;
  EXPECT_NE(run.err.find("SonixCam_GetSerialFlashType failed: vendor_code=ecGetKsControlFail(5)"), std::string::npos)
      << run.err;
}

TEST_F(SimulateRefusedCamera, TheOtherCameraStillWorksUnderTheWarning) {
  const ToolRun run = run_tool({simulate_, "config", "get", "--index", "1"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, cli::scenario_cameras()[1].stored_json + "\n");
  expect_warned(run);
}

TEST_F(SimulateRefusedCamera, ConfigSetWarnsFailsAndLeavesTheRecordAsItWas) {
  const ToolRun run = run_tool({simulate_, "config", "set", "-", "--index", "0", "--no-backup"}, "{\"k\":1}");
  EXPECT_NE(run.status, 0);
  expect_warned(run);
  // Once this account may open the node again, the record is the one it had.
  edit_camera_file(directory_ / "camera-0.txt", "node_access=permission_denied", "node_access=allowed");
  const ToolRun get = run_tool({simulate_, "config", "get", "--index", "0"});
  ASSERT_EQ(get.status, 0) << get.err;
  EXPECT_EQ(get.out, cli::scenario_cameras()[0].stored_json + "\n");
  EXPECT_EQ(get.err.find(kWarning), std::string::npos) << get.err;
}

TEST_F(SimulateRefusedCamera, ImuWarnsThenFailsOnTheNodeItCannotOpen) {
  const ToolRun run = run_tool({simulate_, "imu", "--index", "0", "--count", "1"});
  EXPECT_NE(run.status, 0);
  expect_warned(run);
  EXPECT_NE(run.err.find("SonixCam_SetNodeID failed: vendor_code=ecGetKsControlFail(5)"), std::string::npos) << run.err;
}

TEST_F(SimulateRefusedCamera, DoctorListsTheProblemWithItsFix) {
  const ToolRun run = run_tool({simulate_, "doctor", "--json", "--imu-seconds", "0"});
  EXPECT_EQ(run.status, 0) << run.err;
  expect_warned(run);
  const JsonValue report = JsonValue::parse(run.out);
  const std::vector<JsonValue>& problems = report["access_problems"].array();
  ASSERT_EQ(problems.size(), 2u);
  EXPECT_EQ(problems[0]["device_path"].string(), first_camera_path_);
  EXPECT_EQ(problems[0]["node"].string(), "/dev/video0");
  EXPECT_EQ(problems[0]["reason"].string(), "Permission denied");
}

TEST_F(SimulateRefusedCamera, ABusyCameraAsksToCloseTheOtherProgram) {
  edit_camera_file(directory_ / "camera-0.txt", "node_access=permission_denied", "node_access=busy");
  const ToolRun run = run_tool({simulate_, "scan"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.err.find(" (/dev/video0: Device or resource busy, /dev/video1: Device or resource busy); to fix: "
                         "another program holds the node: close it and retry\n"),
            std::string::npos)
      << run.err;
}

TEST(SimulateNodeAccess, TheBareScenarioWarnsOfNothing) {
  const ToolRun run = run_tool({"--simulate", "scan"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err, "");
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
