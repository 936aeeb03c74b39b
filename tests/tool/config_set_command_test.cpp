#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tool/json_value.h"
#include "tool/tool_test_support.h"
#include "uvc-stereo/camera_selection.h"

namespace tovanel::uvc_stereo::tool_testing {
namespace {

const std::string kNewJson =
    "{\n"
    "  \"name\": \"rig A left-right\",\n"
    "  \"baseline_mm\": 60.5,\n"
    "  \"rectify\": true,\n"
    "  \"exposure\": {\"mode\": \"manual\", \"time_us\": 5000},\n"
    "  \"intrinsics\": {\"fx\": 612.4, \"fy\": 611.9, \"cx\": 319.5, \"cy\": 241.2}\n"
    "}\n";
const std::string kNewMinified =
    "{\"name\":\"rig A left-right\",\"baseline_mm\":60.5,\"rectify\":true,\"exposure\":{\"mode\":\"manual\","
    "\"time_us\":5000},\"intrinsics\":{\"fx\":612.4,\"fy\":611.9,\"cx\":319.5,\"cy\":241.2}}";

class ConfigSetCommand : public ScenarioTest {
 protected:
  [[nodiscard]] std::string stored_json(const std::string& selector) const {
    const ToolRun run = run_tool({"config", "get", "--index", selector});
    EXPECT_EQ(run.status, 0) << run.err;
    return run.out;
  }
  [[nodiscard]] bool flash_was_changed() const {
    return calls_named("SonixCam_WriteToSF") != 0 || calls_named("SonixCam_SectorEraseSF") != 0 ||
           calls_named("SonixCam_SetWriteProtectedSF") != 0 || calls_named("SonixCam_SetStatusRegBitWP") != 0;
  }

  const std::string original_ = cli::scenario_cameras()[0].stored_json;
  const ScratchDirectory scratch_;
};

TEST_F(ConfigSetCommand, InvalidJsonIsRefusedAtItsPositionAndTheFlashStaysByteIdentical) {
  const WorkingDirectory inside(scratch_.path());
  const std::vector<std::uint8_t> before = user_space(kReportingCamera);
  const std::string bad = scratch_.write("bad.json", "{\n  \"a\": [1,\n  2,]\n}\n");
  const ToolRun run = run_tool({"config", "set", bad, "--index", "0"});
  EXPECT_EQ(run.status, 22);
  EXPECT_EQ(run.err, "uvc-stereo: InvalidJson: invalid JSON value at offset 17 (line 3, column 5 of " + bad +
                         "; nothing was written)\n");
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(user_space(kReportingCamera), before);
  EXPECT_TRUE(rig_.calls().empty()) << "the camera was contacted for invalid JSON";
  EXPECT_EQ(scratch_.names().size(), 1u) << "a backup was written for invalid JSON";
}

TEST_F(ConfigSetCommand, InvalidJsonOnStandardInputNamesItsPosition) {
  const std::vector<std::uint8_t> before = user_space(kLegacyCamera);
  const ToolRun run = run_tool({"config", "set", "-", "--index", "1"}, "{\"a\":1}x");
  EXPECT_EQ(run.status, 22);
  EXPECT_EQ(run.err,
            "uvc-stereo: InvalidJson: unexpected trailing characters at offset 7 (line 1, column 8 of standard "
            "input; nothing was written)\n");
  EXPECT_EQ(user_space(kLegacyCamera), before);
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(ConfigSetCommand, AnEmptyFileIsInvalidJson) {
  const ToolRun run = run_tool({"config", "set", scratch_.write("empty.json", ""), "--index", "0"});
  EXPECT_EQ(run.status, 22);
  EXPECT_EQ(run.err.rfind("uvc-stereo: InvalidJson: json text is empty (", 0), 0u) << run.err;
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(ConfigSetCommand, AMissingFileIsAFileError) {
  const ToolRun run = run_tool({"config", "set", scratch_.file("nope.json"), "--index", "0"});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.err.rfind("uvc-stereo: FileError: cannot read '" + scratch_.file("nope.json") + "': ", 0), 0u)
      << run.err;
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(ConfigSetCommand, WritesVerifiesAndListsTheChanges) {
  const std::string backup = scratch_.file("backup.json");
  const ToolRun run =
      run_tool({"config", "set", scratch_.write("new.json", kNewJson), "--serial", "TVS2-00417", "--backup", backup});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out,
            "~ /baseline_mm: 60.0 -> 60.5\n"
            "~ /exposure/mode: \"auto\" -> \"manual\"\n"
            "+ /exposure/time_us: 5000\n"
            "- /exposure/max_us: 8000\n");
  EXPECT_NE(run.err.find("saved the configuration being replaced to " + backup + "\n"), std::string::npos);
  EXPECT_NE(run.err.find("wrote and verified the configuration of camera 0 (0c45:6368, serial TVS2-00417) (" +
                         std::to_string(kNewMinified.size()) + " bytes): 2 changed, 1 added, 1 removed\n"),
            std::string::npos)
      << run.err;
  EXPECT_NE(
      run.err.find("undo with: uvc-stereo config set " + cli::quoted_for_shell(backup) + " --serial TVS2-00417\n"),
      std::string::npos)
      << run.err;
  EXPECT_EQ(calls_named("SonixCam_WriteToSF"), 1u);
  EXPECT_EQ(stored_json("0"), kNewMinified + "\n");
  EXPECT_EQ(stored_json("1"), cli::scenario_cameras()[1].stored_json + "\n") << "the other camera was touched";
}

TEST_F(ConfigSetCommand, TheBackupHoldsTheReplacedConfigurationAndUndoesTheWrite) {
  const std::vector<std::uint8_t> before = user_space(kReportingCamera);
  const std::string backup = scratch_.file("backup.json");
  ASSERT_EQ(
      run_tool({"config", "set", scratch_.write("new.json", kNewJson), "--index", "0", "--backup", backup}).status, 0);
  EXPECT_EQ(scratch_.read(backup), original_ + "\n");
  EXPECT_NE(user_space(kReportingCamera), before);

  const ToolRun undo = run_tool({"config", "set", backup, "--index", "0", "--no-backup"});
  ASSERT_EQ(undo.status, 0) << undo.err;
  EXPECT_EQ(user_space(kReportingCamera), before) << "the undo did not restore the record byte for byte";
}

TEST_F(ConfigSetCommand, TheDefaultBackupGoesToTheCurrentDirectoryUnderTheSerialNumber) {
  const WorkingDirectory inside(scratch_.path());
  const std::string input = scratch_.write("new.json", kNewJson);
  const ToolRun run = run_tool({"config", "set", input, "--index", "0"});
  ASSERT_EQ(run.status, 0) << run.err;
  std::string backup;
  for (const std::string& name : scratch_.names()) {
    if (name != "new.json") {
      backup = name;
    }
  }
  ASSERT_EQ(scratch_.names().size(), 2u);
  EXPECT_EQ(backup.rfind("uvc-stereo-backup-TVS2-00417-", 0), 0u) << backup;
  EXPECT_EQ(backup.size(), std::string("uvc-stereo-backup-TVS2-00417-20240305T060708Z.json").size()) << backup;
  EXPECT_EQ(scratch_.read(scratch_.file(backup)), original_ + "\n");
  EXPECT_NE(run.err.find("saved the configuration being replaced to " + backup + "\n"), std::string::npos);
}

TEST_F(ConfigSetCommand, NoBackupWritesNoFile) {
  const WorkingDirectory inside(scratch_.path());
  const ToolRun run = run_tool({"config", "set", "-", "--index", "1", "--no-backup"}, "{\"x\": 1}");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(scratch_.names().size(), 0u);
  EXPECT_EQ(stored_json("1"), "{\"x\":1}\n");
  EXPECT_EQ(run.err.find("undo with"), std::string::npos);
}

TEST_F(ConfigSetCommand, DryRunShowsTheChangesAndWritesNothing) {
  const WorkingDirectory inside(scratch_.path());
  const std::vector<std::uint8_t> before = user_space(kReportingCamera);
  const ToolRun run = run_tool({"config", "set", scratch_.write("new.json", kNewJson), "--index", "0", "--dry-run"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(lines_of(run.out).size(), 4u) << run.out;
  EXPECT_NE(run.out.find("~ /baseline_mm: 60.0 -> 60.5\n"), std::string::npos);
  EXPECT_EQ(run.err,
            "dry run: 2 changed, 1 added, 1 removed; nothing was written to camera 0 (0c45:6368, serial "
            "TVS2-00417)\n");
  EXPECT_FALSE(flash_was_changed()) << ::testing::PrintToString(rig_.call_names());
  EXPECT_EQ(user_space(kReportingCamera), before);
  EXPECT_EQ(scratch_.names().size(), 1u) << "a dry run wrote a backup";
}

TEST_F(ConfigSetCommand, TheSameConfigurationIsNotWrittenAgain) {
  const WorkingDirectory inside(scratch_.path());
  const ToolRun run = run_tool({"config", "set", "-", "--index", "0"}, "  " + original_ + "\n");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "camera 0 (0c45:6368, serial TVS2-00417) already holds this configuration; nothing was written\n");
  EXPECT_FALSE(flash_was_changed());
  EXPECT_EQ(scratch_.names().size(), 0u);
}

TEST_F(ConfigSetCommand, ACameraWithoutARecordHasNothingToBackUp) {
  const WorkingDirectory inside(scratch_.path());
  rig_.set_flash(kLegacyCamera, 0x51000, std::vector<std::uint8_t>(4096, 0xFF));
  const ToolRun run = run_tool({"config", "set", "-", "--index", "1"}, "{\"a\":true}");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, "+ /a: true\n");
  EXPECT_NE(run.err.find("camera 1 (0c45:6366, serial TVS1-01288) holds no configuration yet; there is nothing to "
                         "back up\n"),
            std::string::npos)
      << run.err;
  EXPECT_EQ(scratch_.names().size(), 0u);
  EXPECT_EQ(stored_json("1"), "{\"a\":true}\n");
}

TEST_F(ConfigSetCommand, AnUnreadableRecordIsNotReplacedUnlessNoBackupIsGiven) {
  std::vector<std::uint8_t> byte = rig_.flash(kReportingCamera, 0x60000 + 30, 1);
  byte[0] ^= 0x20;
  rig_.set_flash(kReportingCamera, 0x60000 + 30, byte);
  const std::string input = scratch_.write("new.json", kNewJson);

  const ToolRun refused = run_tool({"config", "set", input, "--index", "0"});
  EXPECT_EQ(refused.status, 21);
  EXPECT_EQ(refused.err,
            "uvc-stereo: ChecksumMismatch: crc32 mismatch (cannot read the configuration to be replaced, so it "
            "cannot be backed up; nothing was written (--no-backup writes anyway))\n");
  EXPECT_FALSE(flash_was_changed());

  const ToolRun forced = run_tool({"config", "set", input, "--index", "0", "--no-backup"});
  ASSERT_EQ(forced.status, 0) << forced.err;
  EXPECT_EQ(stored_json("0"), kNewMinified + "\n");
}

TEST_F(ConfigSetCommand, AFailedWriteIsWriteFailedAndPointsAtTheBackup) {
  rig_.add_fault(sim::VendorFault{"SonixCam_WriteToSF", 1, 1, 0, false});
  const std::string backup = scratch_.file("backup.json");
  const ToolRun run =
      run_tool({"config", "set", scratch_.write("new.json", kNewJson), "--index", "0", "--backup", backup});
  EXPECT_EQ(run.status, 15);
  const std::vector<std::string> lines = lines_of(run.err);
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back().rfind("uvc-stereo: WriteFailed: SonixCam_WriteToSF failed: ", 0), 0u) << run.err;
  EXPECT_NE(lines.back().find("the previous configuration is in " + backup + ")"), std::string::npos) << run.err;
  EXPECT_EQ(scratch_.read(backup), original_ + "\n");
}

TEST_F(ConfigSetCommand, AFailedEraseIsEraseFailed) {
  rig_.add_fault(sim::VendorFault{"SonixCam_SectorEraseSF", 1, 1, 0, false});
  const ToolRun run = run_tool({"config", "set", scratch_.write("new.json", kNewJson), "--index", "0", "--no-backup"});
  EXPECT_EQ(run.status, 16);
  EXPECT_NE(run.err.find("uvc-stereo: EraseFailed: SonixCam_SectorEraseSF failed: "), std::string::npos) << run.err;
}

TEST_F(ConfigSetCommand, ABackupThatCannotBeSavedStopsTheWrite) {
  const ToolRun run = run_tool({"config", "set", scratch_.write("new.json", kNewJson), "--index", "0", "--backup",
                                scratch_.file("no/dir/backup.json")});
  EXPECT_EQ(run.status, 3);
  EXPECT_NE(run.err.find("; nothing was written to the camera\n"), std::string::npos) << run.err;
  EXPECT_FALSE(flash_was_changed());
  EXPECT_EQ(stored_json("0"), original_ + "\n");
}

TEST_F(ConfigSetCommand, MalformedCommandLinesAreUsageErrors) {
  const std::string input = scratch_.write("new.json", kNewJson);
  EXPECT_EQ(run_tool({"config", "set", "--index", "0"}).status, 2);
  EXPECT_EQ(run_tool({"config", "set", input, input, "--index", "0"}).status, 2);
  const ToolRun both = run_tool({"config", "set", input, "--index", "0", "--no-backup", "--backup", "b.json"});
  EXPECT_EQ(both.status, 2);
  EXPECT_EQ(both.err,
            "uvc-stereo: UsageError: --backup and --no-backup exclude each other (see: uvc-stereo config set "
            "--help)\n");
  EXPECT_TRUE(rig_.calls().empty());
}

TEST(ConfigSetSimulated, EachRunStartsTheScenarioAfresh) {
  const ToolRun set = run_tool({"--simulate", "config", "set", "-", "--index", "0", "--no-backup"}, "{\"k\":1}");
  ASSERT_EQ(set.status, 0) << set.err;
  const ToolRun get = run_tool({"--simulate", "config", "get", "--index", "0"});
  ASSERT_EQ(get.status, 0) << get.err;
  EXPECT_EQ(get.out, cli::scenario_cameras()[0].stored_json + "\n");
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
