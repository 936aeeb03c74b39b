#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tool/tool_test_support.h"

namespace tovanel::uvc_stereo::tool_testing {
namespace {

struct Refusal {
  std::vector<std::string> args;
  std::string command;  ///< whose --help the refusal points to
  std::string message;
};

void expect_usage_error(const Refusal& refusal) {
  const ToolRun run = run_tool(refusal.args);
  EXPECT_EQ(run.status, 2) << ::testing::PrintToString(refusal.args);
  EXPECT_EQ(run.out, "") << ::testing::PrintToString(refusal.args);
  EXPECT_EQ(run.err,
            "uvc-stereo: UsageError: " + refusal.message + " (see: uvc-stereo " + refusal.command + " --help)\n")
      << ::testing::PrintToString(refusal.args);
}

TEST(OptionChecks, EveryCommandRefusesAMalformedValueInItsOwnWords) {
  for (const Refusal& refusal : std::vector<Refusal>{
           {{"--simulate", "scan", "--pid", "12345"},
            "scan",
            "--pid takes a hexadecimal USB product id such as 6366, not '12345'"},
           {{"--simulate", "info", "--vid", "0x"},
            "info",
            "--vid takes a hexadecimal USB vendor id such as 0c45, not '0x'"},
           {{"--simulate", "info", "--index", "x"}, "info", "--index takes a camera index such as 0, not 'x'"},
           {{"--simulate", "config", "get", "--index=-1"},
            "config get",
            "--index takes a camera index such as 0, not '-1'"},
           {{"--simulate", "imu", "--count", "0"}, "imu", "--count takes a number of samples from 1, not '0'"},
           {{"--simulate", "imu", "--duration", "0"}, "imu", "--duration takes a number of seconds above 0, not '0'"},
           {{"--simulate", "imu", "--rate", "200000"},
            "imu",
            "--rate takes reads per second from 0 to 100000, not '200000'"},
           {{"--simulate", "doctor", "--imu-seconds", "3601"},
            "doctor",
            "--imu-seconds takes seconds from 0 to 3600, not '3601'"},
       }) {
    expect_usage_error(refusal);
  }
}

TEST(OptionChecks, EveryCommandRefusesOptionsThatExcludeEachOther) {
  for (const Refusal& refusal : std::vector<Refusal>{
           {{"--simulate", "imu", "--csv", "--json"}, "imu", "choose one of --csv and --json"},
           {{"--simulate", "config", "get", "--serial", "a", "--index", "0"},
            "config get",
            "choose the camera with only one of --serial, --path and --index"},
           {{"--simulate", "info", "--path", "p", "--serial", "s"},
            "info",
            "choose the camera with only one of --serial, --path and --index"},
           {{"--simulate", "config", "set", "--backup", "b.json", "--no-backup", "f.json"},
            "config set",
            "--backup and --no-backup exclude each other"},
       }) {
    expect_usage_error(refusal);
  }
}

TEST(OptionChecks, AMalformedValueIsNamedBeforeOptionsThatExcludeEachOther) {
  expect_usage_error({{"--simulate", "imu", "--csv", "--json", "--count", "0"},
                      "imu",
                      "--count takes a number of samples from 1, not '0'"});
}

TEST(OptionChecks, HelpAnswersALineWithAMalformedValue) {
  const ToolRun help = run_tool({"imu", "--help"});
  ASSERT_EQ(help.status, 0);
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"imu", "--count", "0", "--help"}, std::vector<std::string>{"imu", "-h", "--rate", "x"},
        std::vector<std::string>{"imu", "--csv", "--json", "--help"}}) {
    const ToolRun run = run_tool(args);
    EXPECT_EQ(run.status, 0) << ::testing::PrintToString(args);
    EXPECT_EQ(run.out, help.out) << ::testing::PrintToString(args);
    EXPECT_EQ(run.err, "") << ::testing::PrintToString(args);
  }
}

TEST(OptionChecks, AWellFormedValueReachesTheCommand) {
  const ToolRun run = run_tool({"--simulate", "imu", "--index", "0", "--count", "3", "--csv", "--rate", "0"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 4) << run.out;  // the header and three samples
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
