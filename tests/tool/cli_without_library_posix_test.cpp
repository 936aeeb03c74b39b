#include <gtest/gtest.h>

#include <filesystem>
#include <system_error>

#include "tool/tool_test_support.h"

namespace tovanel::uvc_stereo::tool_testing {
namespace {

// Without --simulate the tool uses the machine's own cameras: on Linux through the kernel's UVC driver.
#if defined(__linux__)
TEST(CliOnLinux, ScanWithNoCameraSaysSoAndSucceeds) {
  std::error_code error;
  if (!std::filesystem::is_directory("/sys", error)) {
    GTEST_SKIP() << "sysfs is not mounted here";
  }
  if (!std::filesystem::is_empty("/sys/class/video4linux", error) && !error) {
    GTEST_SKIP() << "this machine has video devices";
  }
  const ToolRun run = run_tool({"scan"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "no supported camera found\n");
}
#endif

TEST(CliWithoutLibrary, SimulateStillWorks) {
  const ToolRun run = run_tool({"--simulate", "scan", "--json"});
  EXPECT_EQ(run.status, 0) << run.err;
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
