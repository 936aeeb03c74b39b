#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tool/tool_test_support.h"
#include "uvc_stereo/platform_info.h"
#include "uvc_stereo/version.h"

namespace tovanel::uvc_stereo::tool_testing {
namespace {

TEST(VersionOption, PrintsTheToolsTheLibrarysAndTheVendorLibrarysVersions) {
  const ToolRun run = run_tool({"--version"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
  const std::vector<std::string> lines = lines_of(run.out);
  ASSERT_EQ(lines.size(), 3u) << run.out;
  EXPECT_EQ(lines[0], std::string("uvc-stereo ") + UVC_STEREO_VERSION_STRING);
  EXPECT_EQ(lines[1], std::string("SDK library ") + library_version());
  EXPECT_EQ(lines[2], "vendor library: " + vendor_library_version());
}

TEST(VersionOption, TheLibraryReportsTheVersionItsHeadersWereGeneratedWith) {
  EXPECT_STREQ(library_version(), UVC_STEREO_VERSION_STRING);
  EXPECT_EQ(std::string(library_version()), std::to_string(UVC_STEREO_VERSION_MAJOR) + "." +
                                                std::to_string(UVC_STEREO_VERSION_MINOR) + "." +
                                                std::to_string(UVC_STEREO_VERSION_PATCH));
}

#if !defined(_WIN32)
TEST(VersionOption, OnLinuxTheKernelsDriverStandsInForTheVendorLibrary) {
  EXPECT_EQ(lines_of(run_tool({"--version"}).out).at(2), "vendor library: none (the kernel's UVC driver)");
}
#endif

TEST_F(ScenarioTest, VendorLibraryVersionNamesTheSimulatedBackendWhileARigIsInForce) {
  EXPECT_EQ(vendor_library_version(), "none (the simulated backend)");
}

TEST(VersionOption, IsAFlagThatTakesNoValue) {
  const ToolRun run = run_tool({"--version=1"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.out, "");
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
