#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tool/tool_test_support.h"

// Checking an output path creates, truncates and removes nothing the user has: not a file this
// user may only write, and not a symbolic link, even a dangling one.
namespace tovanel::uvc_stereo::tool_testing {
namespace {

class OutputFilesPosix : public ScenarioTest {
 protected:
  const ScratchDirectory scratch_;
};

TEST_F(OutputFilesPosix, AFailedRunLeavesADanglingPlotLinkAndCreatesNoTarget) {
  const std::string link = scratch_.file("plot.svg");
  std::filesystem::create_symlink(scratch_.file("target.svg"), link);
  for (const bool force : {false, true}) {
    std::vector<std::string> args = {"imu", "--index", "9", "--count", "3", "--rate", "0", "--plot", link};
    if (force) {
      args.push_back("--force");
    }
    const ToolRun run = run_tool(args);
    EXPECT_NE(run.status, 0) << run.err;
    EXPECT_TRUE(std::filesystem::is_symlink(std::filesystem::symlink_status(link))) << "the link was removed";
    EXPECT_FALSE(std::filesystem::exists(scratch_.file("target.svg"))) << "the link's target was created";
  }
  EXPECT_TRUE(rig_.calls().empty()) << "the camera was touched";
}

TEST_F(OutputFilesPosix, AFailedRunLeavesAWriteOnlyPlotFileAsItWas) {
  const std::string plot = scratch_.write("plot.svg", "an earlier plot");
  ASSERT_EQ(::chmod(plot.c_str(), 0200), 0);
  for (const bool force : {false, true}) {
    std::vector<std::string> args = {"imu", "--index", "9", "--count", "3", "--rate", "0", "--plot", plot};
    if (force) {
      args.push_back("--force");
    }
    const ToolRun run = run_tool(args);
    EXPECT_NE(run.status, 0) << run.err;
    ASSERT_TRUE(std::filesystem::exists(plot)) << "the plot file was removed";
    ASSERT_EQ(::chmod(plot.c_str(), 0600), 0);
    EXPECT_EQ(scratch_.read(plot), "an earlier plot");
    ASSERT_EQ(::chmod(plot.c_str(), 0200), 0);
  }
}

TEST_F(OutputFilesPosix, ADanglingBackupLinkIsRefusedBeforeTheChangesAreListed) {
  const std::string link = scratch_.file("backup.json");
  std::filesystem::create_symlink(scratch_.file("elsewhere.json"), link);
  const std::string input = scratch_.write("new.json", R"({"name":"changed"})");
  const ToolRun run = run_tool({"config", "set", input, "--index", "0", "--backup", link});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.out, "") << "the changes were listed before the backup was refused";
  EXPECT_EQ(run.err, "uvc-stereo: FileError: will not replace '" + link +
                         "': the file already exists (a backup never replaces a file); nothing was written\n");
  EXPECT_TRUE(rig_.calls().empty()) << "the camera was touched";
  EXPECT_FALSE(std::filesystem::exists(scratch_.file("elsewhere.json")));
}

TEST_F(OutputFilesPosix, ADanglingOutLinkIsRefusedBeforeTheCameraIsRead) {
  const std::string link = scratch_.file("camera.json");
  std::filesystem::create_symlink(scratch_.file("elsewhere.json"), link);
  const ToolRun run = run_tool({"config", "get", "--index", "0", "--out", link});
  EXPECT_EQ(run.status, 3);
  EXPECT_TRUE(rig_.calls().empty()) << "the camera was touched";
  EXPECT_FALSE(std::filesystem::exists(scratch_.file("elsewhere.json")));
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
