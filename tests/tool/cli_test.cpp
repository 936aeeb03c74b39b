#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "tool/tool_test_support.h"
#include "uvc-stereo/exit_status.h"

namespace tovanel::uvc_stereo::tool_testing {
namespace {

TEST(Cli, WithoutACommandPrintsTheOverviewAndFailsAsUsage) {
  const ToolRun run = run_tool({});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err.rfind("Usage: uvc-stereo [--simulate] COMMAND [options]\n", 0), 0u) << run.err;
  EXPECT_EQ(run.out, "");
}

TEST(Cli, HelpListsTheCommandsAndTheExitStatuses) {
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"--help"}, std::vector<std::string>{"-h"}, std::vector<std::string>{"help"}}) {
    const ToolRun run = run_tool(args);
    EXPECT_EQ(run.status, 0);
    for (const char* expected : {"  scan ", "  info ", "  config get ", "  config set ", "  imu ", "--simulate",
                                 "afresh", "  4   the camera vendor library cannot start", "22  InvalidJson",
                                 "24  NotSupported", "10 + its error code"}) {
      EXPECT_NE(run.out.find(expected), std::string::npos) << "missing: " << expected;
    }
  }
}

TEST(Cli, EveryCommandHasItsOwnHelp) {
  for (const std::string command : {"scan", "info", "config get", "config set", "imu"}) {
    std::vector<std::string> args;
    const std::size_t space = command.find(' ');
    args.push_back(command.substr(0, space));
    if (space != std::string::npos) {
      args.push_back(command.substr(space + 1));
    }
    args.push_back("--help");
    const ToolRun run = run_tool(args);
    EXPECT_EQ(run.status, 0) << command;
    EXPECT_EQ(run.out.rfind("Usage: uvc-stereo " + command, 0), 0u) << run.out;
    EXPECT_NE(run.out.find("  --simulate "), std::string::npos) << command;
    EXPECT_NE(run.out.find("starts the simulation afresh"), std::string::npos) << command;
    EXPECT_EQ(run.err, "") << command;
  }
  EXPECT_EQ(run_tool({"config", "--help"}).status, 0);
}

TEST(Cli, PrintsItsVersion) {
  const ToolRun run = run_tool({"--version"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out, "uvc-stereo 0.1.0\n");
}

TEST(Cli, UnknownCommandsAndOptionsAreOneLineUsageErrors) {
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"flash"}, std::vector<std::string>{"--verbose", "scan"},
        std::vector<std::string>{"scan", "--verbose"}, std::vector<std::string>{"config"},
        std::vector<std::string>{"config", "put"}}) {
    const ToolRun run = run_tool(args);
    EXPECT_EQ(run.status, 2) << ::testing::PrintToString(args);
    EXPECT_EQ(lines_of(run.err).size(), 1u) << run.err;
    EXPECT_EQ(run.err.rfind("uvc-stereo: UsageError: ", 0), 0u) << run.err;
  }
}

TEST(Cli, SdkErrorsExitWithTenPlusTheirCode) {
  std::set<int> statuses = {cli::kExitOk, cli::kExitToolFailure, cli::kExitUsage, cli::kExitFileError,
                            cli::kExitVendorLibraryMissing};
  for (int code = 1; code <= static_cast<int>(kLastErrorCode); ++code) {
    const int status = cli::exit_status_for(static_cast<ErrorCode>(code));
    EXPECT_EQ(status, 10 + code);
    EXPECT_TRUE(statuses.insert(status).second) << "status " << status << " is used twice";
  }
  EXPECT_EQ(cli::exit_status_for(ErrorCode::Ok), 0);
}

TEST(Cli, ErrorLinesNameTheError) {
  std::ostringstream out;
  std::ostringstream err;
  std::istringstream in;
  cli::Console console{in, out, err, false};
  EXPECT_EQ(cli::report_sdk_error(Status(ErrorCode::WriteFailed, "it broke"), "writing", console), 15);
  EXPECT_EQ(err.str(), "uvc-stereo: WriteFailed: it broke (writing)\n");
}

// Where the vendor library cannot start, every command that needs a camera says so in one
// line that suggests --simulate.
class VendorLibraryMissing : public ::testing::Test {
 protected:
  void SetUp() override { rig_.set_library_present(false); }
  sim::SimulatedRig rig_;
};

TEST_F(VendorLibraryMissing, EveryCameraCommandSaysSoAndSuggestsSimulate) {
  const ScratchDirectory scratch;
  const std::string input = scratch.write("c.json", "{}");
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"scan"}, std::vector<std::string>{"info"}, std::vector<std::string>{"config", "get"},
        std::vector<std::string>{"config", "set", input}, std::vector<std::string>{"imu", "--count", "1"}}) {
    const ToolRun run = run_tool(args);
    EXPECT_EQ(run.status, 4) << ::testing::PrintToString(args);
    ASSERT_EQ(lines_of(run.err).size(), 1u) << run.err;
    EXPECT_EQ(run.err.rfind("uvc-stereo: VendorLibraryMissing: the camera vendor library cannot start on this "
                            "machine (SonixCam_Init failed: vendor_code=ecLibInitFail(2)); add --simulate to use "
                            "the built-in simulated cameras",
                            0),
              0u)
        << run.err;
    EXPECT_EQ(run.out, "");
  }
}

TEST(Cli, ThrowingIsNeverAnExitThroughTheTool) {
  // A value that overflows double in --duration is refused as usage, not thrown.
  sim::SimulatedRig rig;
  EXPECT_EQ(run_tool({"imu", "--duration", std::string(400, '9')}).status, 2);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
