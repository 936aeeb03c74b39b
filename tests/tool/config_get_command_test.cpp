#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tool/json_value.h"
#include "tool/tool_test_support.h"

namespace tovanel::uvc_stereo::tool_testing {
namespace {

class ConfigGetCommand : public ScenarioTest {
 protected:
  const std::string stored_ = cli::scenario_cameras()[0].stored_json;
};

TEST_F(ConfigGetCommand, PrintsTheStoredJsonWithItsFormatVersionOnStandardError) {
  const ToolRun run = run_tool({"config", "get", "--index", "0"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, stored_ + "\n");
  EXPECT_EQ(run.err, "format version: 0\n");
}

TEST_F(ConfigGetCommand, PrettyOutputHoldsTheSameDocument) {
  const ToolRun run = run_tool({"config", "get", "--index", "0", "--pretty"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out.rfind("{\n  \"name\": \"rig A left-right\",\n  \"baseline_mm\": 60.0,\n", 0), 0u) << run.out;
  const JsonValue document = JsonValue::parse(run.out);
  EXPECT_EQ(document["exposure"]["max_us"].number(), 8000);
  EXPECT_DOUBLE_EQ(document["intrinsics"]["cy"].number(), 241.2);
}

TEST_F(ConfigGetCommand, WritesToAFileWithOut) {
  const ScratchDirectory scratch;
  const ToolRun run = run_tool({"config", "get", "--index", "1", "--out", scratch.file("camera.json")});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(scratch.read(scratch.file("camera.json")), cli::scenario_cameras()[1].stored_json + "\n");
  EXPECT_NE(run.err.find("format version: 0\n"), std::string::npos);
  EXPECT_NE(run.err.find("wrote the configuration of camera 1 (0c45:6366, serial TVS1-01288) to "), std::string::npos);
}

TEST_F(ConfigGetCommand, AnUnwritableOutFileIsAFileError) {
  const ScratchDirectory scratch;
  const ToolRun run = run_tool({"config", "get", "--index", "0", "--out", scratch.file("missing/dir/c.json")});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.err.rfind("uvc-stereo: FileError: cannot write '", 0), 0u) << run.err;
  EXPECT_NE(run.err.find("': No such file or directory; the camera was not read\n"), std::string::npos) << run.err;
  EXPECT_TRUE(rig_.calls().empty()) << "a bad --out is refused before the camera is touched";
}

TEST_F(ConfigGetCommand, AnErasedFlashIsBadMagic) {
  rig_.set_flash(kReportingCamera, 0x60000, std::vector<std::uint8_t>(64, 0xFF));
  const ToolRun run = run_tool({"config", "get", "--index", "0"});
  EXPECT_EQ(run.status, 17);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err,
            "uvc-stereo: BadMagic: flash magic mismatch (reading the configuration of camera 0 (0c45:6368, serial "
            "TVS2-00417))\n");
}

TEST_F(ConfigGetCommand, ACorruptedRecordIsAChecksumMismatch) {
  std::vector<std::uint8_t> byte = rig_.flash(kReportingCamera, 0x60000 + 20, 1);
  byte[0] ^= 0x01;
  rig_.set_flash(kReportingCamera, 0x60000 + 20, byte);
  const ToolRun run = run_tool({"config", "get", "--index", "0"});
  EXPECT_EQ(run.status, 21);
  EXPECT_EQ(run.err.rfind("uvc-stereo: ChecksumMismatch: crc32 mismatch (", 0), 0u) << run.err;
}

TEST_F(ConfigGetCommand, AFailingFlashReadIsReadFailed) {
  rig_.add_fault(sim::VendorFault{"SonixCam_CstmReadFromSF", 1, 1, 0, false});
  const ToolRun run = run_tool({"config", "get", "--index", "0"});
  EXPECT_EQ(run.status, 14);
  EXPECT_EQ(run.err.rfind("uvc-stereo: ReadFailed: SonixCam_CstmReadFromSF failed: ", 0), 0u) << run.err;
  EXPECT_EQ(lines_of(run.err).size(), 1u) << run.err;
}

TEST(ConfigGetSimulated, ReadsTheScenarioRecord) {
  const ToolRun run = run_tool({"--simulate", "config", "get", "--serial", "TVS1-01288"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, cli::scenario_cameras()[1].stored_json + "\n");
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
