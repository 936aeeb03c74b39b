#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "tool/tool_test_support.h"
#include "uvc-stereo/simulated_scenario.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/simulated_rig.h"

// --simulate=DIR: simulated cameras kept in a directory, shared by runs and by programs.
namespace tovanel::uvc_stereo::tool_testing {
namespace {

TEST(SimulateDirectory, AFreshDirectoryGetsTheScenarioAndKeepsWhatARunWrites) {
  const ScratchDirectory scratch;
  const std::string simulate = "--simulate=" + scratch.path().string() + "/rig";
  const ToolRun fresh = run_tool({simulate, "config", "get", "--index", "1"});
  ASSERT_EQ(fresh.status, 0) << fresh.err;
  EXPECT_EQ(fresh.out, cli::scenario_cameras()[1].stored_json + "\n");

  const ToolRun set = run_tool({simulate, "config", "set", "-", "--index", "0", "--no-backup"}, "{\"k\": 1}");
  ASSERT_EQ(set.status, 0) << set.err;
  const ToolRun get = run_tool({"config", "get", "--index", "0", simulate});
  ASSERT_EQ(get.status, 0) << get.err;
  EXPECT_EQ(get.out, "{\"k\":1}\n");
  // A bare --simulate still starts afresh.
  const ToolRun afresh = run_tool({"--simulate", "config", "get", "--index", "0"});
  EXPECT_EQ(afresh.out, cli::scenario_cameras()[0].stored_json + "\n");
}

TEST(SimulateDirectory, ConfigSetWhileAnotherProgramStreamsTheImuFailsBusyAndTouchesNothing) {
  const ScratchDirectory scratch;
  const std::string directory = scratch.path().string() + "/rig";
  ASSERT_EQ(run_tool({"--simulate=" + directory, "scan"}).status, 0);

  // The other program: the same cameras, their first camera's IMU streaming.
  Result<std::unique_ptr<sim::SimulatedRig>> other = sim::SimulatedRig::keep_in_directory(directory);
  ASSERT_TRUE(other.ok()) << other.status().message();
  Result<std::vector<DeviceInfo>> scanned = scan_devices();
  ASSERT_TRUE(scanned.ok() && !scanned.value().empty());
  Result<Device> streaming = open_device(scanned.value()[0]);
  ASSERT_TRUE(streaming.ok()) << streaming.status().message();
  ASSERT_TRUE(streaming.value().open_imu().ok());

  const ToolRun set =
      run_tool({"--simulate=" + directory, "config", "set", "-", "--index", "0", "--no-backup"}, "{\"k\":2}");
  EXPECT_EQ(set.status, 13) << set.err;
  EXPECT_NE(set.err.find("camera is busy: its IMU is open in "), std::string::npos) << set.err;

  ASSERT_TRUE(streaming.value().close_imu().ok());
  const ToolRun get = run_tool({"--simulate=" + directory, "config", "get", "--index", "0"});
  ASSERT_EQ(get.status, 0) << get.err;
  EXPECT_EQ(get.out, cli::scenario_cameras()[0].stored_json + "\n");
}

TEST(SimulateDirectory, PastingThePrintedUndoCommandRestoresTheBackup) {
  const ScratchDirectory scratch;
  const WorkingDirectory inside(scratch.path());
  const std::string directory = (scratch.path() / "rig").string();
  const ToolRun set = run_tool(
      {"--simulate=" + directory, "config", "set", "-", "--index", "0", "--backup", "before.json"}, "{\"k\":3}");
  ASSERT_EQ(set.status, 0) << set.err;
  const std::string marker = "undo with: uvc-stereo ";
  const std::size_t at = set.err.find(marker);
  ASSERT_NE(at, std::string::npos) << set.err;
  const std::string line = set.err.substr(at + marker.size(), set.err.find('\n', at) - at - marker.size());
  EXPECT_NE(line.find(" --simulate=" + directory), std::string::npos) << line;

  // The scratch paths and the scenario's serial numbers need no quoting, so the words split at spaces.
  std::vector<std::string> words;
  for (std::size_t start = 0; start <= line.size();) {
    const std::size_t end = std::min(line.find(' ', start), line.size());
    words.push_back(line.substr(start, end - start));
    start = end + 1;
  }
  const ToolRun undo = run_tool(words);
  ASSERT_EQ(undo.status, 0) << undo.err;
  const ToolRun get = run_tool({"--simulate=" + directory, "config", "get", "--index", "0"});
  EXPECT_EQ(get.out, cli::scenario_cameras()[0].stored_json + "\n");
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
