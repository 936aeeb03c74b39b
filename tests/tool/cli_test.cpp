#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tool/tool_test_support.h"
#include "uvc-stereo/exit_status.h"

namespace tovanel::uvc_stereo::tool_testing {
namespace {

TEST(Cli, WithoutACommandPrintsTheOverviewAndFailsAsUsage) {
  const ToolRun run = run_tool({});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err.rfind("Usage: uvc-stereo [--simulate[=DIR]] [--verbose] COMMAND [options]\n", 0), 0u) << run.err;
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

TEST(Cli, UnknownCommandsAndOptionsAreOneLineUsageErrors) {
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"flash"}, std::vector<std::string>{"--loud", "scan"},
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

TEST(Cli, TheExitStatusTableNamesEverySdkErrorInThreeColumns) {
  EXPECT_EQ(cli::exit_status_help(),
            "Exit statuses:\n"
            "  0   success\n"
            "  1   unexpected failure inside the tool\n"
            "  2   usage error (bad command line, or several cameras and no selector)\n"
            "  3   a file could not be read or written\n"
            "  4   the camera vendor library cannot start on this machine (try --simulate)\n"
            "  11  InvalidArgument       12  PlatformError      13  DeviceUnavailable\n"
            "  14  ReadFailed            15  WriteFailed        16  EraseFailed\n"
            "  17  BadMagic              18  UnsupportedVersion 19  InvalidHeader\n"
            "  20  InvalidLength         21  ChecksumMismatch   22  InvalidJson\n"
            "  23  InternalError         24  NotSupported\n"
            "  (an SDK error exits with 10 + its error code)\n");
  const std::string overview = run_tool({"--help"}).out;
  for (int code = 1; code <= static_cast<int>(kLastErrorCode); ++code) {
    const std::string entry = std::to_string(cli::exit_status_for(static_cast<ErrorCode>(code))) + "  " +
                              std::string(error_code_name(static_cast<ErrorCode>(code)));
    EXPECT_NE(overview.find(entry), std::string::npos) << entry;
  }
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

// Command lines as careless hands type them, against the scenario's cameras: each is refused
// as usage before any camera is touched, or does exactly what it says.
class CliCommandLine : public ScenarioTest {
 protected:
  [[nodiscard]] bool flash_was_changed() const {
    return calls_named("SonixCam_WriteToSF") != 0 || calls_named("SonixCam_SectorEraseSF") != 0;
  }
  const ScratchDirectory scratch_;
};

TEST_F(CliCommandLine, AFlagGivenAValueIsRefusedBeforeTheCameraIsTouched) {
  const std::string input = scratch_.write("new.json", R"({"k":1})");
  // "--dry-run=false" must not be read as a write, nor "--dry-run=1" as anything but a mistake.
  for (const std::string word : {"--dry-run=1", "--dry-run=false", "--dry-run=true"}) {
    const ToolRun run = run_tool({"config", "set", input, "--index", "0", "--no-backup", word});
    EXPECT_EQ(run.status, 2) << word;
    EXPECT_EQ(run.err,
              "uvc-stereo: UsageError: option '--dry-run' takes no value (see: uvc-stereo config set --help)\n");
  }
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(CliCommandLine, AnEmptyValueNeverTakesTheNextOptionAsItsValue) {
  const WorkingDirectory inside(scratch_.path());
  const std::string input = scratch_.write("new.json", R"({"k":1})");
  // Read as "--backup --dry-run", this would save a backup named --dry-run and write the camera.
  const ToolRun set = run_tool({"config", "set", input, "--index", "0", "--backup=", "--dry-run"});
  EXPECT_EQ(set.status, 2);
  EXPECT_EQ(set.err,
            "uvc-stereo: UsageError: option '--backup' needs a value (FILE) (see: uvc-stereo config set --help)\n");
  const ToolRun get = run_tool({"config", "get", "--index", "0", "--out=", "--pretty"});
  EXPECT_EQ(get.status, 2);
  EXPECT_EQ(get.err,
            "uvc-stereo: UsageError: option '--out' needs a value (FILE) (see: uvc-stereo config get --help)\n");
  EXPECT_EQ(get.out, "");
  EXPECT_EQ(scratch_.names(), std::vector<std::string>{"new.json"});
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(CliCommandLine, AnOptionGivenTwiceIsRefusedRatherThanOneOfThemChosen) {
  const ToolRun run = run_tool({"info", "--index", "0", "--index=1"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            "uvc-stereo: UsageError: option '--index' is given more than once (see: uvc-stereo info --help)\n");
  const ToolRun flags = run_tool({"scan", "--json", "--require-serial", "--json"});
  EXPECT_EQ(flags.status, 2);
  EXPECT_EQ(flags.err,
            "uvc-stereo: UsageError: option '--json' is given more than once (see: uvc-stereo scan --help)\n");
  EXPECT_TRUE(rig_.calls().empty());
  // --simulate before the command and again after it is one wish, not a conflict.
  EXPECT_EQ(run_tool({"--simulate", "scan", "--simulate", "--json"}).status, 0);
}

TEST_F(CliCommandLine, AfterDoubleDashAnOptionIsAnArgument) {
  const ToolRun run = run_tool({"scan", "--", "--json"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, "uvc-stereo: UsageError: unexpected argument '--json' (see: uvc-stereo scan --help)\n");
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(CliCommandLine, ABackupNamedLikeAnOptionIsTheValueAndItsUndoHintWorksAsPrinted) {
  const WorkingDirectory inside(scratch_.path());
  const std::string input = scratch_.write("new.json", R"({"name":"changed"})");
  const std::string original = cli::scenario_cameras()[0].stored_json;
  // A value option takes the next word whatever it looks like, as "--backup=--evil.json" does.
  const ToolRun run = run_tool({"config", "set", input, "--index", "0", "--backup", "--evil.json"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(scratch_.read(scratch_.file("--evil.json")), original + "\n");
  const std::string prefix = "undo with: uvc-stereo ";
  const std::size_t at = run.err.find(prefix);
  ASSERT_NE(at, std::string::npos) << run.err;
  const std::string hint = run.err.substr(at + prefix.size(), run.err.find('\n', at) - at - prefix.size());
  EXPECT_EQ(hint, "config set --serial TVS2-00417 -- --evil.json");

  // Pasted word for word: "--serial SN" must not swallow the "--" that follows it.
  std::vector<std::string> words;
  std::istringstream split(hint);
  for (std::string word; split >> word;) {
    words.push_back(word);
  }
  const ToolRun undo = run_tool(words);
  ASSERT_EQ(undo.status, 0) << undo.err;
  EXPECT_EQ(run_tool({"config", "get", "--index", "0"}).out, original + "\n");
}

TEST_F(CliCommandLine, OptionsMayFollowTheFileAndANegativeNumberIsAValue) {
  const std::string input = scratch_.write("new.json", R"({"k":1})");
  const ToolRun dry = run_tool({"config", "set", input, "--dry-run", "--index", "0"});
  ASSERT_EQ(dry.status, 0) << dry.err;
  EXPECT_FALSE(flash_was_changed());
  // "-1" is the rate given, which the command then refuses in its own words, not an unknown option.
  const ToolRun rate = run_tool({"imu", "--index", "1", "--count", "1", "--rate", "-1"});
  EXPECT_EQ(rate.status, 2);
  EXPECT_EQ(rate.err.find("unknown option"), std::string::npos) << rate.err;
  EXPECT_NE(rate.err.find("'-1'"), std::string::npos) << rate.err;
}

TEST(Cli, ThrowingIsNeverAnExitThroughTheTool) {
  // A value that overflows double in --duration is refused as usage, not thrown.
  sim::SimulatedRig rig;
  EXPECT_EQ(run_tool({"imu", "--duration", std::string(400, '9')}).status, 2);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
