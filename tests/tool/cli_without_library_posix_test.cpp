#include <gtest/gtest.h>

#include "tool/tool_test_support.h"

namespace tovanel::uvc_stereo::tool_testing {
namespace {

// Off Windows there is no vendor library at all: without --simulate the tool says so.
TEST(CliWithoutLibrary, ScanSaysTheVendorLibraryIsMissing) {
  const ToolRun run = run_tool({"scan"});
  EXPECT_EQ(run.status, 4);
  EXPECT_EQ(run.err,
            "uvc-stereo: VendorLibraryMissing: the camera vendor library cannot start on this machine "
            "(SonixCam_Init failed: vendor_code=ecLibInitFail(2)); add --simulate to use the built-in simulated "
            "cameras\n");
}

TEST(CliWithoutLibrary, SimulateStillWorks) {
  const ToolRun run = run_tool({"--simulate", "scan", "--json"});
  EXPECT_EQ(run.status, 0) << run.err;
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
