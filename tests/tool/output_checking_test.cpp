#include <gtest/gtest.h>

#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

#include "tool/tool_test_support.h"

// Standard output that cannot be written is a failure the user hears about: a configuration
// "saved" to a full disk is no backup.
namespace tovanel::uvc_stereo::tool_testing {
namespace {

// Standard output on a device that takes nothing.
class RefusingBuffer : public std::streambuf {
 protected:
  int_type overflow(int_type) override { return traits_type::eof(); }
};

ToolRun run_tool_into_refusing_output(const std::vector<std::string>& args, const std::string& input = "") {
  RefusingBuffer refusing;
  std::ostream out(&refusing);
  return run_tool_on(out, args, input);
}

class OutputChecking : public ScenarioTest {};

TEST_F(OutputChecking, ConfigGetToOutputThatFailsIsAFileError) {
  const ToolRun run = run_tool_into_refusing_output({"config", "get", "--index", "0"});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.err, "format version: 0\nuvc-stereo: FileError: cannot write standard output\n");
}

TEST_F(OutputChecking, OutDashIsStandardOutputAndIsCheckedToo) {
  const ToolRun written = run_tool({"config", "get", "--index", "0", "--out", "-"});
  ASSERT_EQ(written.status, 0) << written.err;
  EXPECT_EQ(written.out, cli::scenario_cameras()[0].stored_json + "\n");
  const ToolRun refused = run_tool_into_refusing_output({"config", "get", "--index", "0", "--out", "-"});
  EXPECT_EQ(refused.status, 3);
  EXPECT_NE(refused.err.find("cannot write standard output"), std::string::npos) << refused.err;
}

TEST_F(OutputChecking, EveryCommandThatPrintsDataChecksItsOutput) {
  const std::vector<std::vector<std::string>> commands = {
      {"scan"},
      {"scan", "--json"},
      {"info", "--index", "0"},
      {"info", "--index", "0", "--json"},
      {"imu", "--index", "1", "--csv", "--count", "5", "--rate", "0"},
      {"imu", "--index", "1", "--json", "--count", "5", "--rate", "0"},
      {"config", "get", "--index", "1", "--pretty"},
      {"--help"},
      {"--version"},
      {"scan", "--help"},
  };
  for (const std::vector<std::string>& command : commands) {
    const ToolRun run = run_tool_into_refusing_output(command);
    EXPECT_EQ(run.status, 3) << ::testing::PrintToString(command);
    EXPECT_EQ(count_of(run.err, "uvc-stereo: FileError: cannot write standard output\n"), 1u)
        << ::testing::PrintToString(command) << run.err;
  }
}

TEST_F(OutputChecking, ConfigSetWritesNothingWhenItsChangesCannotBeShown) {
  const ScratchDirectory scratch;
  const std::string file = scratch.write("new.json", R"({"name":"changed"})");
  const WorkingDirectory inside(scratch.path());
  const std::vector<std::uint8_t> before = user_space(kReportingCamera);
  const ToolRun run = run_tool_into_refusing_output({"config", "set", "--index", "0", file});
  EXPECT_EQ(run.status, 3);
  EXPECT_NE(run.err.find("uvc-stereo: FileError: cannot write standard output; the changes could not be shown; "
                         "nothing was written to camera 0 (0c45:6368, serial TVS2-00417)\n"),
            std::string::npos)
      << run.err;
  EXPECT_EQ(user_space(kReportingCamera), before);
  EXPECT_EQ(calls_named("SonixCam_SectorEraseSF"), 0u);
  EXPECT_EQ(scratch.names(), std::vector<std::string>{"new.json"});
}

TEST_F(OutputChecking, AFailingCommandKeepsItsOwnStatusAndMessage) {
  const ToolRun run = run_tool_into_refusing_output({"info", "--index", "9"});
  EXPECT_EQ(run.status, 13);
  EXPECT_EQ(count_of(run.err, "\n"), 1u) << run.err;
  EXPECT_NE(run.err.find("DeviceUnavailable"), std::string::npos);
}

TEST_F(OutputChecking, CommandsThatPrintNothingToStandardOutputSucceed) {
  const ScratchDirectory scratch;
  const ToolRun run =
      run_tool_into_refusing_output({"config", "get", "--index", "0", "--out", scratch.file("saved.json")});
  EXPECT_EQ(run.status, 0) << run.err;
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
