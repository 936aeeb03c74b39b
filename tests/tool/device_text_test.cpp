#include <gtest/gtest.h>

#include <string>

#include "tool/tool_test_support.h"
#include "uvc-stereo/camera_selection.h"
#include "uvc-stereo/device_output.h"
#include "uvc-stereo/terminal_text.h"

// What a camera says about itself reaches a terminal as text only: a serial number or name that
// holds ESC or BEL sequences can neither clear the screen nor set the window title.
namespace tovanel::uvc_stereo::tool_testing {
namespace {

const std::string kHostileSerial = "SN\x1b[2J\x07-1";
const std::string kHostileName =
    "\x1b]0;owned\x07"
    "Cam";

bool holds_control_bytes(const std::string& text) {
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte < 0x20 && c != '\n') || byte == 0x7F) {
      return true;
    }
  }
  return false;
}

TEST(TerminalSafe, EscapesControlCharactersAsTheJsonOutputDoes) {
  EXPECT_EQ(cli::terminal_safe("plain TVS2-00417"), "plain TVS2-00417");
  EXPECT_EQ(cli::terminal_safe(kHostileSerial), "SN\\u001b[2J\\u0007-1");
  EXPECT_EQ(cli::terminal_safe("a\nb\tc\rd\x7f"), "a\\nb\\tc\\rd\\u007f");
  EXPECT_EQ(cli::terminal_safe(std::string("nul\0end", 7)), "nul\\u0000end");
}

TEST(TerminalSafe, EscapesC1ControlsAndBytesThatAreNotUtf8ButKeepsOtherText) {
  EXPECT_EQ(cli::terminal_safe("\xc2\x9b"
                               "2J"),
            "\\u009b2J");
  EXPECT_EQ(cli::terminal_safe("\x9b"
                               "2J"),
            "\\x9b2J");
  EXPECT_EQ(cli::terminal_safe("caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x93\xb7"),
            "caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x93\xb7");
  EXPECT_EQ(cli::terminal_safe("\xc3"), "\\xc3");
  EXPECT_EQ(cli::terminal_safe("\xed\xa0\x80"), "\\xed\\xa0\\x80") << "a surrogate is not UTF-8";
  EXPECT_EQ(cli::terminal_safe("C:\\cams\\left"), "C:\\cams\\left") << "backslashes of paths stay as they are";
}

TEST(HexText, WritesAtLeastTheDigitsAskedForInLowerCase) {
  EXPECT_EQ(cli::hex_text(0x60000, 8), "0x00060000");
  EXPECT_EQ(cli::hex_text(0x8000, 1), "0x8000");
  EXPECT_EQ(cli::hex_text(0x3, 2), "0x03");
  EXPECT_EQ(cli::hex_text(0xDEADBEEF, 8), "0xdeadbeef");
  EXPECT_EQ(cli::hex_text(0, 8), "0x00000000");
  EXPECT_EQ(cli::hex_text(UINT64_MAX, 8), "0xffffffffffffffff");
}

TEST(QuotedForShell, WritesControlCharactersAsAnsiCQuotedPieces) {
  EXPECT_EQ(cli::quoted_for_shell("a\x1b[2Jb"), "'a'$'\\x1b''[2Jb'");
  EXPECT_FALSE(holds_control_bytes(cli::quoted_for_shell(kHostileSerial)));
}

class DeviceText : public ScenarioTest {
 protected:
  void SetUp() override {
    ScenarioTest::SetUp();
    sim::SimulatedCamera camera;
    camera.product_id = 0x6366;
    camera.serial_number = kHostileSerial;
    camera.product_string = kHostileName;
    camera.device_name = kHostileName;
    camera.device_path = "\\\\?\\usb#vid_0c45&pid_6366&mi_00#\x1b[31mred#{x}";
    rig_.add_camera(camera);
    rig_.clear_calls();
  }
};

TEST_F(DeviceText, ScanShowsControlBytesEscaped) {
  const ToolRun run = run_tool({"scan"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_FALSE(holds_control_bytes(run.out)) << run.out;
  EXPECT_NE(run.out.find("SN\\u001b[2J\\u0007-1"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("#\\u001b[31mred#"), std::string::npos) << run.out;
}

TEST_F(DeviceText, InfoShowsControlBytesEscaped) {
  const ToolRun run = run_tool({"info", "--index", "2"});
  EXPECT_FALSE(holds_control_bytes(run.out)) << run.out;
  EXPECT_FALSE(holds_control_bytes(run.err)) << run.err;
  EXPECT_NE(run.out.find("  serial number     SN\\u001b[2J\\u0007-1\n"), std::string::npos) << run.out;
}

TEST_F(DeviceText, ErrorMessagesThatNameTheCameraShowControlBytesEscaped) {
  // Its flash is erased: reading its configuration fails with a message that names it.
  const ToolRun run = run_tool({"config", "get", "--index", "2"});
  EXPECT_EQ(run.status, 17);
  EXPECT_FALSE(holds_control_bytes(run.err)) << run.err;
  EXPECT_NE(run.err.find("(reading the configuration of camera 2 (0c45:6366, serial SN\\u001b[2J\\u0007-1))"),
            std::string::npos)
      << run.err;
  const ToolRun missing = run_tool({"config", "get", "--serial", "\x1b[2J"});
  EXPECT_EQ(missing.status, 13);
  EXPECT_EQ(missing.err, "uvc-stereo: DeviceUnavailable: no camera with serial number '\\u001b[2J' in the scan\n");
}

TEST_F(DeviceText, TheUndoLineOfACameraWithControlBytesInItsSerialNumberIsPlainText) {
  const ScratchDirectory scratch;
  const WorkingDirectory inside(scratch.path());
  ASSERT_EQ(run_tool({"config", "set", "-", "--index", "2", "--no-backup"}, R"({"a":1})").status, 0);
  const ToolRun run = run_tool({"config", "set", "-", "--index", "2", "--backup", "b.json"}, R"({"a":2})");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_FALSE(holds_control_bytes(run.err)) << run.err;
  EXPECT_NE(run.err.find("undo with: uvc-stereo config set b.json --path "), std::string::npos) << run.err;
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
