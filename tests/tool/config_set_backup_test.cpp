#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tool/tool_test_support.h"

// A backup never replaces a file, "-" is standard output, and the undo hint works when pasted.
namespace tovanel::uvc_stereo::tool_testing {
namespace {

const std::string kNewJson = R"({"name":"changed"})";

class ConfigSetBackup : public ScenarioTest {
 protected:
  [[nodiscard]] bool flash_was_changed() const {
    return calls_named("SonixCam_WriteToSF") != 0 || calls_named("SonixCam_SectorEraseSF") != 0;
  }
  const std::string original_ = cli::scenario_cameras()[0].stored_json;
  const ScratchDirectory scratch_;
};

TEST_F(ConfigSetBackup, ABackupNamedLikeTheInputDoesNotReplaceIt) {
  const std::string mine = scratch_.write("mine.json", kNewJson);
  const ToolRun run = run_tool({"config", "set", mine, "--index", "0", "--backup", mine});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.err, "uvc-stereo: FileError: will not replace '" + mine +
                         "': the file already exists (a backup never replaces a file); nothing was written\n");
  EXPECT_EQ(scratch_.read(mine), kNewJson);
  EXPECT_TRUE(rig_.calls().empty()) << "the camera was contacted";
}

TEST_F(ConfigSetBackup, AnExistingBackupIsNotOverwrittenNotEvenByADryRun) {
  const std::string earlier = scratch_.write("earlier.json", "precious");
  const std::string input = scratch_.write("new.json", kNewJson);
  for (const bool dry_run : {false, true}) {
    std::vector<std::string> args = {"config", "set", input, "--index", "0", "--backup", earlier};
    if (dry_run) {
      args.push_back("--dry-run");
    }
    const ToolRun run = run_tool(args);
    EXPECT_EQ(run.status, 3) << run.err;
    EXPECT_EQ(scratch_.read(earlier), "precious");
  }
  EXPECT_FALSE(flash_was_changed());
}

TEST_F(ConfigSetBackup, TheDefaultNameNeverTakesAnExistingFile) {
  const WorkingDirectory inside(scratch_.path());
  const std::string input = scratch_.write("new.json", kNewJson);
  const ToolRun first = run_tool({"config", "set", input, "--index", "0"});
  ASSERT_EQ(first.status, 0) << first.err;
  const ToolRun second = run_tool({"config", "set", "-", "--index", "0"}, original_);
  ASSERT_EQ(second.status, 0) << second.err;
  EXPECT_EQ(scratch_.names().size(), 3u) << ::testing::PrintToString(scratch_.names());
}

TEST_F(ConfigSetBackup, CreateNewFileRefusesAnExistingFile) {
  const std::string path = scratch_.write("taken.json", "old");
  std::string error;
  EXPECT_FALSE(cli::create_new_file(path, "new", error));
  EXPECT_EQ(error, "will not replace '" + path + "': the file already exists");
  EXPECT_EQ(scratch_.read(path), "old");
  EXPECT_TRUE(cli::create_new_file(scratch_.file("fresh.json"), "new", error)) << error;
  EXPECT_EQ(scratch_.read(scratch_.file("fresh.json")), "new");
}

TEST_F(ConfigSetBackup, CreateBackupFileTakesTheNextFreeName) {
  const WorkingDirectory inside(scratch_.path());
  std::string error;
  const std::string first = cli::create_backup_file("S1", 0, "a", error);
  const std::string second = cli::create_backup_file("S1", 0, "b", error);
  EXPECT_EQ(first, "uvc-stereo-backup-S1-19700101T000000Z.json");
  EXPECT_EQ(second, "uvc-stereo-backup-S1-19700101T000000Z-2.json");
  EXPECT_EQ(scratch_.read(scratch_.file(first)), "a");
  EXPECT_EQ(scratch_.read(scratch_.file(second)), "b");
}

TEST_F(ConfigSetBackup, DashIsStandardOutputAndTheChangesGoToStandardError) {
  const WorkingDirectory inside(scratch_.path());
  const std::string input = scratch_.write("new.json", kNewJson);
  const ToolRun run = run_tool({"config", "set", input, "--index", "0", "--backup", "-"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, original_ + "\n");
  EXPECT_NE(run.err.find("~ /name: "), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("undo by giving the saved standard output to: uvc-stereo config set --serial TVS2-00417 -\n"),
            std::string::npos)
      << run.err;
  EXPECT_EQ(scratch_.names(), std::vector<std::string>{"new.json"}) << "a file named '-' was written";

  // The hint works: the saved output, given back on standard input, restores the camera.
  const ToolRun undo = run_tool({"config", "set", "--serial", "TVS2-00417", "--no-backup", "-"}, run.out);
  ASSERT_EQ(undo.status, 0) << undo.err;
  EXPECT_EQ(run_tool({"config", "get", "--index", "0"}).out, original_ + "\n");
}

TEST_F(ConfigSetBackup, ABackupNamedLikeAnOptionGetsAnUndoHintThatWorks) {
  const WorkingDirectory inside(scratch_.path());
  const std::string input = scratch_.write("new.json", kNewJson);
  const ToolRun run = run_tool({"config", "set", input, "--index", "0", "--backup=--evil.json"});
  ASSERT_EQ(run.status, 0) << run.err;
  const std::string hint = "undo with: uvc-stereo config set --serial TVS2-00417 -- --evil.json\n";
  ASSERT_NE(run.err.find(hint), std::string::npos) << run.err;
  EXPECT_EQ(scratch_.read(scratch_.file("--evil.json")), original_ + "\n");

  const ToolRun undo = run_tool({"config", "set", "--serial", "TVS2-00417", "--no-backup", "--", "--evil.json"});
  ASSERT_EQ(undo.status, 0) << undo.err;
  EXPECT_EQ(run_tool({"config", "get", "--index", "0"}).out, original_ + "\n");
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
