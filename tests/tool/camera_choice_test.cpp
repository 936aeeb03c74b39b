#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tool/tool_test_support.h"

// A selector picks exactly one camera or none, and the undo line names the very camera written,
// whatever chose it: cameras without serial numbers, with the same serial number in another
// letter case, or with the very same serial number are common.
namespace tovanel::uvc_stereo::tool_testing {
namespace {

const std::string kOldJson = R"({"name":"old"})";
const std::string kNewJson = R"({"name":"new"})";

class CameraChoice : public ScenarioTest {
 protected:
  // Plugs in one more camera of the legacy model (0c45:6366) holding kOldJson; returns its scan index.
  int add_legacy_camera(const std::optional<std::string>& serial, const std::string& instance) {
    sim::SimulatedCamera camera;
    camera.vendor_id = 0x0C45;
    camera.product_id = 0x6366;
    camera.device_path = "\\\\?\\usb#vid_0c45&pid_6366&mi_00#" + instance + "#{e5323777-f976-4f5b-9b55-b94699c46e44}";
    camera.device_name = "Tovanel Stereo Camera S1";
    camera.product_string = "Tovanel Stereo Camera S1";
    camera.serial_number = serial;
    camera.user_space_size = 4096;
    const int index = rig_.add_camera(camera);
    const ToolRun stored = run_tool({"config", "set", "-", "--path", camera.device_path, "--no-backup"}, kOldJson);
    EXPECT_EQ(stored.status, 0) << stored.err;
    rig_.clear_calls();
    return index;
  }

  [[nodiscard]] std::string stored_at(int index) {
    const ToolRun run = run_tool({"config", "get", "--index", std::to_string(index)});
    EXPECT_EQ(run.status, 0) << run.err;
    return run.out;
  }

  [[nodiscard]] std::string undo_line(const std::string& err) const {
    const std::string hint = "undo with: ";
    const std::size_t at = err.find(hint);
    EXPECT_NE(at, std::string::npos) << err;
    if (at == std::string::npos) {
      return {};
    }
    return err.substr(at + hint.size(), err.find('\n', at) - at - hint.size());
  }

  [[nodiscard]] bool flash_was_changed() const {
    return calls_named("SonixCam_WriteToSF") != 0 || calls_named("SonixCam_SectorEraseSF") != 0;
  }

  const ScratchDirectory scratch_;
  const std::string scenario0_ = cli::scenario_cameras()[0].stored_json + "\n";
  const std::string scenario1_ = cli::scenario_cameras()[1].stored_json + "\n";
};

TEST_F(CameraChoice, TheUndoLineOfAFilteredIndexRestoresTheCameraThatWasWritten) {
  const int added = add_legacy_camera(std::nullopt, "7&aa&0&0000");
  ASSERT_EQ(added, 2);
  // Inside the scratch directory, so that the pasted undo keeps its own backup there too.
  const WorkingDirectory inside(scratch_.path());
  const std::string input = scratch_.write("new.json", kNewJson);
  // In the scan filtered to 0c45:6366 the added camera is index 1; unfiltered, index 1 is another camera.
  const ToolRun run = run_tool({"config", "set", input, "--pid", "6366", "--index", "1", "--backup", "backup.json"});
  ASSERT_EQ(run.status, 0) << run.err;
  ASSERT_EQ(stored_at(2), kNewJson + "\n");

  const std::string undo = undo_line(run.err);
  EXPECT_EQ(undo,
            "uvc-stereo config set backup.json --path "
            "'\\\\?\\usb#vid_0c45&pid_6366&mi_00#7&aa&0&0000#{e5323777-f976-4f5b-9b55-b94699c46e44}'");
  std::vector<std::string> words = shell_words(undo);
  ASSERT_GE(words.size(), 2u);
  words.erase(words.begin());
  const ToolRun restored = run_tool(words);
  ASSERT_EQ(restored.status, 0) << restored.err;
  EXPECT_EQ(stored_at(2), kOldJson + "\n");
  EXPECT_EQ(stored_at(0), scenario0_);
  EXPECT_EQ(stored_at(1), scenario1_);
}

TEST_F(CameraChoice, TheUndoLineNamesACameraBySerialNumberOnlyWhenNoOtherSharesIt) {
  add_legacy_camera(std::string("tvs1-01288"), "7&bb&0&0000");
  const std::string input = scratch_.write("new.json", kNewJson);
  const ToolRun run =
      run_tool({"config", "set", input, "--serial", "TVS1-01288", "--backup", scratch_.file("backup.json")});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(stored_at(1), kNewJson + "\n");
  EXPECT_EQ(stored_at(2), kOldJson + "\n");
  const std::string undo = undo_line(run.err);
  EXPECT_NE(undo.find(" --path '\\\\?\\usb#vid_0c45&pid_6366&mi_00#7&2f4e6a1b&0&0000#"), std::string::npos) << undo;
  EXPECT_EQ(undo.find("--serial"), std::string::npos) << undo;
}

TEST_F(CameraChoice, AnExactSerialNumberWinsOverOneInAnotherLetterCase) {
  add_legacy_camera(std::string("cam-a1"), "7&cc&0&0000");
  add_legacy_camera(std::string("CAM-A1"), "7&dd&0&0000");
  const ToolRun run =
      run_tool({"config", "set", scratch_.write("new.json", kNewJson), "--serial", "CAM-A1", "--no-backup"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.err.find("wrote and verified the configuration of camera 3 (0c45:6366, serial CAM-A1)"),
            std::string::npos)
      << run.err;
  EXPECT_EQ(stored_at(2), kOldJson + "\n");
  EXPECT_EQ(stored_at(3), kNewJson + "\n");
}

TEST_F(CameraChoice, ASerialNumberMatchingSeveralCamerasOnlyInLetterCaseIsRefusedBeforeAnythingIsWritten) {
  add_legacy_camera(std::string("cam-a1"), "7&cc&0&0000");
  add_legacy_camera(std::string("CAM-A1"), "7&dd&0&0000");
  const ToolRun run = run_tool({"config", "set", scratch_.write("new.json", kNewJson), "--serial", "Cam-A1"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            "uvc-stereo: UsageError: serial number 'Cam-A1' matches 2 cameras (camera 2 (0c45:6366, serial cam-a1), "
            "camera 3 (0c45:6366, serial CAM-A1)); choose one with --path or --index (see: uvc-stereo config set "
            "--help)\n");
  EXPECT_EQ(run.out, "") << "no change may be listed for a camera not chosen";
  EXPECT_FALSE(flash_was_changed());
  EXPECT_EQ(calls_named("SonixCam_CstmReadFromSF"), 0u) << "no camera's configuration may be read";
  EXPECT_EQ(scratch_.names(), std::vector<std::string>{"new.json"}) << "no backup may be made";
}

TEST_F(CameraChoice, TwoCamerasWithTheSameSerialNumberAreRefusedAndTheirPathsStillChooseThem) {
  add_legacy_camera(std::string("DUP-1"), "7&ee&0&0000");
  add_legacy_camera(std::string("DUP-1"), "7&ff&0&0000");
  const std::string input = scratch_.write("new.json", kNewJson);
  const ToolRun refused = run_tool({"config", "set", input, "--serial", "DUP-1", "--no-backup"});
  EXPECT_EQ(refused.status, 2);
  EXPECT_NE(refused.err.find("serial number 'DUP-1' matches 2 cameras"), std::string::npos) << refused.err;
  EXPECT_FALSE(flash_was_changed());

  const ToolRun written = run_tool({"config", "set", input, "--index", "3", "--backup", scratch_.file("b.json")});
  ASSERT_EQ(written.status, 0) << written.err;
  EXPECT_NE(undo_line(written.err).find(" --path '\\\\?\\usb#vid_0c45&pid_6366&mi_00#7&ff&0&0000#"), std::string::npos)
      << written.err;
  EXPECT_EQ(stored_at(2), kOldJson + "\n");
  EXPECT_EQ(stored_at(3), kNewJson + "\n");
}

TEST_F(CameraChoice, APathMatchingSeveralCamerasOnlyInLetterCaseIsRefused) {
  add_legacy_camera(std::nullopt, "7&ab&0&0000");
  add_legacy_camera(std::nullopt, "7&AB&0&0000");
  const ToolRun run =
      run_tool({"config", "get", "--path",
                "\\\\?\\usb#vid_0c45&pid_6366&mi_00#7&Ab&0&0000#{e5323777-f976-4f5b-9b55-b94699c46e44}"});
  EXPECT_EQ(run.status, 2);
  EXPECT_NE(run.err.find("' matches 2 cameras (camera 2 (0c45:6366), camera 3 (0c45:6366)); choose one with --index"),
            std::string::npos)
      << run.err;
  const ToolRun exact =
      run_tool({"config", "get", "--path",
                "\\\\?\\usb#vid_0c45&pid_6366&mi_00#7&AB&0&0000#{e5323777-f976-4f5b-9b55-b94699c46e44}"});
  EXPECT_EQ(exact.status, 0) << exact.err;
}

TEST_F(CameraChoice, ACameraWithoutSerialNumberOrPathIsUndoneByItsIndexWithTheSameFilters) {
  sim::SimulatedCamera camera;
  camera.product_id = 0x6366;
  const int index = rig_.add_camera(camera);
  ASSERT_EQ(index, 2);
  ASSERT_EQ(run_tool({"config", "set", "-", "--index", "2", "--no-backup"}, kOldJson).status, 0);
  const ToolRun run = run_tool({"config", "set", scratch_.write("new.json", kNewJson), "--vid", "0c45", "--pid", "6366",
                                "--index", "1", "--backup", scratch_.file("b.json")});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(undo_line(run.err),
            "uvc-stereo config set " + scratch_.file("b.json") + " --vid 0c45 --pid 6366 --index 1");
}

TEST(CameraChoiceSimulated, TheUndoLineOfASimulatedWriteKeepsSimulate) {
  const ScratchDirectory scratch;
  const ToolRun run = run_tool({"--simulate", "config", "set", scratch.write("new.json", kNewJson), "--index", "1",
                                "--backup", scratch.file("b.json")});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(
      run.err.find("undo with: uvc-stereo config set " + scratch.file("b.json") + " --simulate --serial TVS1-01288\n"),
      std::string::npos)
      << run.err;
  const ToolRun to_output =
      run_tool({"config", "set", "--simulate", scratch.file("new.json"), "--index", "1", "--backup", "-"});
  ASSERT_EQ(to_output.status, 0) << to_output.err;
  EXPECT_NE(to_output.err.find("undo by giving the saved standard output to: uvc-stereo config set --simulate --serial "
                               "TVS1-01288 -\n"),
            std::string::npos)
      << to_output.err;
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
