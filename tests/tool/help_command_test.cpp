#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tool/tool_test_support.h"

namespace tovanel::uvc_stereo::tool_testing {
namespace {

TEST(HelpCommand, HelpWithACommandShowsThatCommandsHelp) {
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"scan"}, std::vector<std::string>{"info"}, std::vector<std::string>{"imu"},
        std::vector<std::string>{"config", "get"}, std::vector<std::string>{"config", "set"}}) {
    std::vector<std::string> help{"help"};
    help.insert(help.end(), words.begin(), words.end());
    std::vector<std::string> option = words;
    option.push_back("--help");
    const ToolRun asked = run_tool(help);
    const ToolRun expected = run_tool(option);
    const std::string name = words.size() == 1 ? words[0] : words[0] + " " + words[1];
    EXPECT_EQ(asked.status, 0) << name;
    EXPECT_EQ(asked.out.rfind("Usage: uvc-stereo " + name + " ", 0), 0u) << asked.out;
    EXPECT_EQ(asked.out, expected.out) << name;
    EXPECT_EQ(asked.err, "") << name;
  }
}

TEST(HelpCommand, HelpAloneAndHelpHelpShowTheOverview) {
  const ToolRun overview = run_tool({"--help"});
  ASSERT_EQ(overview.out.rfind("Usage: uvc-stereo [--simulate[=DIR]] [--verbose] COMMAND [options]\n", 0), 0u)
      << overview.out;
  EXPECT_EQ(run_tool({"help"}).out, overview.out);
  EXPECT_EQ(run_tool({"help", "help"}).out, overview.out);
  EXPECT_EQ(run_tool({"--simulate", "help"}).out, overview.out);
}

TEST(HelpCommand, HelpConfigShowsBothSubcommands) {
  const ToolRun run = run_tool({"help", "config"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out.rfind("Usage: uvc-stereo config get [options]\n       uvc-stereo config set", 0), 0u) << run.out;
}

TEST(HelpCommand, OfHelpAndVersionTheOneGivenFirstIsAnswered) {
  const ToolRun overview = run_tool({"--help"});
  EXPECT_EQ(run_tool({"-h", "--version"}).out, overview.out);
  const ToolRun version = run_tool({"--version"});
  EXPECT_EQ(version.out.rfind("uvc-stereo ", 0), 0u) << version.out;
  EXPECT_EQ(run_tool({"--simulate", "--version", "--help"}).out, version.out);
  // After the command they are the command's: "scan --version" is no version request.
  const ToolRun scan = run_tool({"scan", "--version"});
  EXPECT_EQ(scan.status, 2);
  EXPECT_EQ(scan.err, "uvc-stereo: UsageError: unknown option '--version' (see: uvc-stereo scan --help)\n");
}

TEST(HelpCommand, HelpAnswersAHalfTypedCommandButNotAMisspelledOption) {
  const ToolRun half = run_tool({"config", "set", "--help"});
  EXPECT_EQ(half.status, 0);
  EXPECT_EQ(half.out, run_tool({"help", "config", "set"}).out);
  const ToolRun misspelled = run_tool({"config", "set", "--dry-rn", "--help"});
  EXPECT_EQ(misspelled.status, 2);
  EXPECT_EQ(misspelled.err, "uvc-stereo: UsageError: unknown option '--dry-rn' (see: uvc-stereo config set --help)\n");
  EXPECT_EQ(run_tool({"--help=yes"}).err,
            "uvc-stereo: UsageError: option '--help' takes no value (see: uvc-stereo --help)\n");
}

TEST(HelpCommand, HelpOnAnUnknownCommandIsAUsageError) {
  const ToolRun run = run_tool({"help", "flash"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.out, "");
  EXPECT_NE(run.err.find("UsageError: unknown command 'flash'"), std::string::npos) << run.err;
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
