#include <gtest/gtest.h>

#include <string>

#include "tool/tool_test_support.h"

namespace tovanel::uvc_stereo::tool_testing {
namespace {

using VerboseOption = ScenarioTest;

constexpr const char* kDiagnosticPrefix = "uvc-stereo: diagnostic: ";

TEST_F(VerboseOption, ShowsTheSdksDiagnosticsOnStandardErrorOneLineEach) {
  rig_.add_fault(sim::VendorFault{"SonixCam_CstmReadFromSF", 1, 1, 0, false});
  const ToolRun run = run_tool({"--verbose", "config", "get", "--index", "0"});
  EXPECT_EQ(run.status, 14);
  EXPECT_EQ(run.out, "");
  const std::vector<std::string> lines = lines_of(run.err);
  ASSERT_EQ(lines.size(), 2u) << run.err;
  EXPECT_EQ(lines[0].rfind(std::string(kDiagnosticPrefix) + "SonixCam_CstmReadFromSF failed: ", 0), 0u) << run.err;
  EXPECT_NE(lines[0].find("(address=0x"), std::string::npos) << run.err;
  EXPECT_EQ(lines[1].rfind("uvc-stereo: ReadFailed: SonixCam_CstmReadFromSF failed: ", 0), 0u) << run.err;
}

TEST_F(VerboseOption, WithoutItTheDiagnosticsStayHidden) {
  rig_.add_fault(sim::VendorFault{"SonixCam_CstmReadFromSF", 1, 1, 0, false});
  const ToolRun run = run_tool({"config", "get", "--index", "0"});
  EXPECT_EQ(run.status, 14);
  EXPECT_EQ(run.err.find(kDiagnosticPrefix), std::string::npos) << run.err;
}

TEST_F(VerboseOption, NoDiagnosticReachesTheToolOnceTheCommandHasEnded) {
  ASSERT_EQ(run_tool({"--verbose", "scan"}).status, 0);
  // The same failure after the run: its diagnostic has no registered callback to reach.
  rig_.add_fault(sim::VendorFault{"SonixCam_CstmReadFromSF", 1, 1, 0, false});
  const ToolRun quiet = run_tool({"config", "get", "--index", "0"});
  EXPECT_EQ(quiet.err.find(kDiagnosticPrefix), std::string::npos) << quiet.err;
}

TEST_F(VerboseOption, ASuccessfulCommandWritesNothingMore) {
  const ToolRun plain = run_tool({"scan"});
  const ToolRun verbose = run_tool({"--verbose", "scan"});
  EXPECT_EQ(verbose.status, 0);
  EXPECT_EQ(verbose.out, plain.out);
  EXPECT_EQ(verbose.err, plain.err);
}

TEST(VerboseOptionLine, IsGlobalAndAFlag) {
  const ToolRun after = run_tool({"--simulate", "scan", "--verbose"});
  EXPECT_EQ(after.status, 2);
  EXPECT_EQ(after.err, "uvc-stereo: UsageError: unknown option '--verbose' (see: uvc-stereo scan --help)\n");
  const ToolRun valued = run_tool({"--verbose=yes", "--simulate", "scan"});
  EXPECT_EQ(valued.status, 2);
  EXPECT_EQ(lines_of(valued.err).size(), 1u) << valued.err;
  EXPECT_EQ(run_tool({"--verbose", "--simulate", "scan"}).status, 0);
  EXPECT_EQ(run_tool({"--simulate", "--verbose", "scan"}).status, 0);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
