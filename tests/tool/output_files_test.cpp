#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tool/tool_test_support.h"

// Every option that names an output file (--out, --plot, --backup) leaves an existing file
// alone unless told otherwise, and every bad name is refused before any camera is touched.
namespace tovanel::uvc_stereo::tool_testing {
namespace {

class OutputFiles : public ScenarioTest {
 protected:
  const ScratchDirectory scratch_;
  const std::string stored_ = cli::scenario_cameras()[0].stored_json + "\n";
};

TEST_F(OutputFiles, ConfigGetRefusesToReplaceAnExistingOutFile) {
  const std::string out = scratch_.write("camera.json", "mine");
  const ToolRun run = run_tool({"config", "get", "--index", "0", "--out", out});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.err, "uvc-stereo: FileError: will not replace '" + out +
                         "': the file already exists (--force replaces it); the camera was not read\n");
  EXPECT_EQ(scratch_.read(out), "mine");
  EXPECT_TRUE(rig_.calls().empty()) << "the camera was touched";
}

TEST_F(OutputFiles, ConfigGetWithForceReplacesAnExistingOutFile) {
  const std::string out = scratch_.write("camera.json", "mine");
  const ToolRun run = run_tool({"config", "get", "--index", "0", "--out", out, "--force"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(scratch_.read(out), stored_);
}

TEST_F(OutputFiles, AnEmptyOutNameIsRefusedBeforeTheCameraIsRead) {
  const ToolRun run = run_tool({"config", "get", "--index", "0", "--out", ""});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.err, "uvc-stereo: FileError: cannot write '': the file name is empty; the camera was not read\n");
  EXPECT_TRUE(rig_.calls().empty()) << "the camera was touched";
}

TEST_F(OutputFiles, ImuRefusesToReplaceAnExistingPlotBeforeTheStreamStarts) {
  const std::string plot = scratch_.write("imu.svg", "an earlier plot");
  const ToolRun run = run_tool({"imu", "--index", "0", "--count", "3", "--rate", "0", "--csv", "--plot", plot});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "uvc-stereo: FileError: will not replace the plot '" + plot +
                         "': the file already exists (--force replaces it)\n");
  EXPECT_EQ(scratch_.read(plot), "an earlier plot");
  EXPECT_TRUE(rig_.calls().empty()) << "the camera was touched";
}

TEST_F(OutputFiles, ThePlotFileIsCreatedOnlyWhenThePlotIsWritten) {
  const std::string plot = scratch_.file("imu.svg");
  // A camera that is not there: the run fails after the plot path was checked.
  const ToolRun missing = run_tool({"imu", "--index", "9", "--count", "3", "--rate", "0", "--plot", plot});
  EXPECT_EQ(missing.status, 13) << missing.err;
  EXPECT_EQ(scratch_.names(), std::vector<std::string>{});
  const ToolRun run = run_tool({"imu", "--index", "0", "--count", "3", "--rate", "0", "--plot", plot});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(scratch_.names(), std::vector<std::string>{"imu.svg"});
}

TEST_F(OutputFiles, ABackupInADirectoryThatIsNotThereIsRefusedBeforeTheChangesAreListed) {
  const std::string input = scratch_.write("new.json", R"({"name":"changed"})");
  const ToolRun run =
      run_tool({"config", "set", input, "--index", "0", "--backup", scratch_.file("no/dir/backup.json")});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.out, "") << "the changes were listed before the backup was refused";
  EXPECT_TRUE(rig_.calls().empty()) << "the camera was touched";
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
