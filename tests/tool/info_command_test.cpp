#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tool/json_value.h"
#include "tool/tool_test_support.h"

namespace tovanel::uvc_stereo::tool_testing {
namespace {

class InfoCommand : public ScenarioTest {};

TEST_F(InfoCommand, ShowsTheReportOfACameraThatHasOne) {
  const ToolRun run = run_tool({"info", "--index", "0"});
  ASSERT_EQ(run.status, 0) << run.err;
  for (const char* expected :
       {"Camera 0 of 2\n", "  serial number     TVS2-00417\n", "  capture           CAP_DSHOW=2 CAP_MSMF=1\n",
        "  source            reported (the camera's capability report)\n", "  report version    1.2\n",
        "  capability bits   0x06 (flash user space, IMU)\n", "  report flash      0x00060000, 32768 bytes\n",
        "  report IMU        BMI088: unit 4, selector 10, 17 bytes, exponent 2\n",
        "Flash user space\n  address           0x00060000\n  size              32768 bytes (0x8000)\n",
        "  transport         unit 4, selector 10, 17 bytes per read\n", "  gyroscope         16.4 counts per deg/s\n",
        "  flags             0x05 (flash, flash JSON)\n", "  flash JSON        proven\n"}) {
    EXPECT_NE(run.out.find(expected), std::string::npos) << "missing: " << expected << "\n" << run.out;
  }
}

TEST_F(InfoCommand, JsonOfTheReportingCamera) {
  const ToolRun run = run_tool({"info", "--serial", "TVS2-00417", "--json"});
  ASSERT_EQ(run.status, 0) << run.err;
  const JsonValue info = JsonValue::parse(run.out);
  EXPECT_EQ(info["camera"]["index"].number(), 0);
  EXPECT_EQ(info["camera"]["serial_number"].string(), "TVS2-00417");
  EXPECT_EQ(info["capability"]["source"].string(), "reported");
  EXPECT_EQ(info["capability"]["message"].string(), "");
  const JsonValue& report = info["capability"]["report"];
  EXPECT_EQ(report["major_version"].number(), 1);
  EXPECT_EQ(report["minor_version"].number(), 2);
  EXPECT_EQ(report["capability_bits"].number(), 6);
  EXPECT_EQ(report["flash_user_space"]["start"].number(), 0x60000);
  EXPECT_EQ(report["flash_user_space"]["size"].number(), 0x8000);
  EXPECT_EQ(report["imu"]["model"].string(), "BMI088");
  EXPECT_EQ(report["imu"]["decimal_exponent"].number(), 2);
  EXPECT_DOUBLE_EQ(report["imu"]["gyro_lsb_per_dps"].number(), 16.4);
  EXPECT_EQ(info["flash"]["user_space_address"].number(), 0x60000);
  EXPECT_EQ(info["flash"]["user_space_size"].number(), 0x8000);
  EXPECT_EQ(info["flash"]["erase_sector_size"].number(), 4096);
  EXPECT_EQ(info["flash"]["vidpid"].string(), "0c456368");
  EXPECT_EQ(info["imu"]["xu_unit"].number(), 4);
  EXPECT_EQ(info["imu"]["xu_selector"].number(), 10);
  EXPECT_EQ(info["imu"]["xu_length"].number(), 17);
  EXPECT_DOUBLE_EQ(info["imu"]["temperature_offset_c"].number(), 25.0);
  EXPECT_DOUBLE_EQ(info["imu"]["temperature_lsb_per_c"].number(), 128.0);
  EXPECT_DOUBLE_EQ(info["imu"]["accel_lsb_per_g"].number(), 2048.0);
  EXPECT_DOUBLE_EQ(info["imu"]["gyro_lsb_per_dps"].number(), 16.4);
  EXPECT_EQ(info["transports"]["flags"].number(), 5);
  EXPECT_TRUE(info["transports"]["flash"].boolean());
  EXPECT_TRUE(info["transports"]["flash_json"].boolean());
  EXPECT_TRUE(info["transports"]["flash_failure"].is_null());
  EXPECT_TRUE(info["transports"]["flash_json_failure"].is_null());
}

TEST_F(InfoCommand, ACameraWithoutAReportFallsBackToTheDefaults) {
  const ToolRun run = run_tool({"info", "--index", "1", "--json"});
  ASSERT_EQ(run.status, 0) << run.err;
  const JsonValue info = JsonValue::parse(run.out);
  EXPECT_EQ(info["capability"]["source"].string(), "fallback");
  EXPECT_EQ(info["capability"]["message"].string(), "Capability reporting is not supported on this device");
  EXPECT_TRUE(info["capability"]["report"].is_null());
  EXPECT_EQ(info["flash"]["user_space_address"].number(), 0x51000);
  EXPECT_EQ(info["flash"]["user_space_size"].number(), 4096);
  EXPECT_EQ(info["transports"]["flags"].number(), 5);
  const ToolRun text = run_tool({"info", "--index", "1"});
  EXPECT_NE(text.out.find("  source            fallback (Capability reporting is not supported on this device)\n"),
            std::string::npos)
      << text.out;
}

TEST_F(InfoCommand, AnErasedFlashIsProvenButHoldsNoJson) {
  rig_.set_flash(kLegacyCamera, 0x51000, std::vector<std::uint8_t>(4096, 0xFF));
  const ToolRun run = run_tool({"info", "--index", "1", "--json"});
  ASSERT_EQ(run.status, 0) << run.err;
  const JsonValue transports = JsonValue::parse(run.out)["transports"];
  EXPECT_EQ(transports["flags"].number(), 1);
  EXPECT_TRUE(transports["flash_failure"].is_null());
  EXPECT_EQ(transports["flash_json_failure"]["error"].string(), "BadMagic");
  EXPECT_EQ(transports["flash_json_failure"]["message"].string(), "flash magic mismatch");
  const ToolRun text = run_tool({"info", "--index", "1"});
  EXPECT_NE(text.out.find("  flash JSON        not proven: BadMagic: flash magic mismatch\n"), std::string::npos)
      << text.out;
}

TEST_F(InfoCommand, SelectsByPathOrSerialWhateverTheLetterCase) {
  const ToolRun by_serial = run_tool({"info", "--serial", "tvs1-01288", "--json"});
  ASSERT_EQ(by_serial.status, 0) << by_serial.err;
  EXPECT_EQ(JsonValue::parse(by_serial.out)["camera"]["index"].number(), 1);
  const ToolRun by_path =
      run_tool({"info", "--json", "--path",
                "\\\\?\\USB#VID_0C45&PID_6368&MI_00#7&1A2B3C4D&0&0000#{E5323777-F976-4F5B-9B55-B94699C46E44}\\GLOBAL"});
  ASSERT_EQ(by_path.status, 0) << by_path.err;
  EXPECT_EQ(JsonValue::parse(by_path.out)["camera"]["index"].number(), 0);
}

TEST_F(InfoCommand, WithTwoCamerasOneMustBeChosen) {
  const ToolRun run = run_tool({"info"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            "uvc-stereo: UsageError: 2 cameras found; choose one with --serial, --path or --index "
            "(see: uvc-stereo info --help)\n");
  EXPECT_EQ(run.out, "");
}

TEST_F(InfoCommand, WithOneCameraNoneNeedsChoosing) {
  const ToolRun run = run_tool({"info", "--pid", "6366", "--json"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(JsonValue::parse(run.out)["camera"]["serial_number"].string(), "TVS1-01288");
}

TEST_F(InfoCommand, ACameraThatIsNotThereIsDeviceUnavailable) {
  const ToolRun index = run_tool({"info", "--index", "7"});
  EXPECT_EQ(index.status, 13);
  EXPECT_EQ(index.err, "uvc-stereo: DeviceUnavailable: no camera at index 7 (the scan found 2)\n");
  const ToolRun serial = run_tool({"info", "--serial", "NOPE"});
  EXPECT_EQ(serial.status, 13);
  EXPECT_EQ(serial.err, "uvc-stereo: DeviceUnavailable: no camera with serial number 'NOPE' in the scan\n");
  const ToolRun none = run_tool({"info", "--pid", "636a"});
  EXPECT_EQ(none.status, 13);
  EXPECT_EQ(none.err, "uvc-stereo: DeviceUnavailable: no supported camera found\n");
}

TEST_F(InfoCommand, SelectorsThatContradictEachOtherAreUsageErrors) {
  EXPECT_EQ(run_tool({"info", "--index", "0", "--serial", "TVS2-00417"}).status, 2);
  EXPECT_EQ(run_tool({"info", "--index", "first"}).status, 2);
  EXPECT_EQ(run_tool({"info", "extra"}).status, 2);
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(InfoCommand, ACameraWhoseReadsFailFallsBackAndProvesNothing) {
  rig_.add_fault(sim::VendorFault{"SonixCam_XuRead", 1, 0, 7, false});
  rig_.add_fault(sim::VendorFault{"SonixCam_CstmReadFromSF", 1, 0, 7, false});
  const ToolRun run = run_tool({"info", "--index", "0", "--json"});
  // The capability probe failing is not an error: the camera falls back to the defaults,
  // and the flash that cannot be read is reported as not proven.
  ASSERT_EQ(run.status, 0) << run.err;
  const JsonValue info = JsonValue::parse(run.out);
  EXPECT_EQ(info["capability"]["source"].string(), "fallback");
  EXPECT_EQ(info["transports"]["flags"].number(), 0);
  EXPECT_EQ(info["transports"]["flash_failure"]["error"].string(), "ReadFailed");
}

TEST_F(InfoCommand, ShowsEachCamerasFirmwareVersion) {
  const ToolRun reporting = run_tool({"info", "--index", "0"});
  ASSERT_EQ(reporting.status, 0) << reporting.err;
  EXPECT_NE(reporting.out.find("  device path       "), std::string::npos) << reporting.out;
  EXPECT_NE(reporting.out.find("\n  firmware          V2.4.1-260311\n"), std::string::npos) << reporting.out;
  const ToolRun legacy = run_tool({"info", "--index", "1", "--json"});
  ASSERT_EQ(legacy.status, 0) << legacy.err;
  const JsonValue info = JsonValue::parse(legacy.out);
  EXPECT_EQ(info["camera"]["firmware_version"].string(), "V1.3.0-251120");
  EXPECT_TRUE(info["camera"]["firmware_failure"].is_null());
}

TEST_F(InfoCommand, AFirmwareVersionThatCannotBeReadIsSaidAndTheRestStillShown) {
  rig_.add_fault(sim::VendorFault{"SonixCam_GetVersion", 1, 0, 7, false});
  const ToolRun text = run_tool({"info", "--index", "0"});
  ASSERT_EQ(text.status, 0) << text.err;
  EXPECT_NE(text.out.find("\n  firmware          not read: ReadFailed: "), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("  flash JSON        proven\n"), std::string::npos) << text.out;
  const ToolRun json = run_tool({"info", "--index", "0", "--json"});
  ASSERT_EQ(json.status, 0) << json.err;
  const JsonValue info = JsonValue::parse(json.out);
  EXPECT_TRUE(info["camera"]["firmware_version"].is_null());
  EXPECT_EQ(info["camera"]["firmware_failure"]["error"].string(), "ReadFailed");
  EXPECT_NE(info["camera"]["firmware_failure"]["message"].string().find("SonixCam_GetVersion"), std::string::npos);
}

TEST_F(InfoCommand, TheTextAndTheJsonWriteVidPidAlike) {
  for (const char* index : {"0", "1"}) {
    const ToolRun text = run_tool({"info", "--index", index});
    const ToolRun json = run_tool({"info", "--index", index, "--json"});
    ASSERT_EQ(text.status, 0) << text.err;
    ASSERT_EQ(json.status, 0) << json.err;
    const std::string vidpid = JsonValue::parse(json.out)["camera"]["vidpid"].string();
    EXPECT_EQ(vidpid.size(), 8u) << vidpid;
    const std::string shown = vidpid.substr(0, 4) + ":" + vidpid.substr(4);
    EXPECT_NE(text.out.find("  vid:pid           " + shown + "\n"), std::string::npos) << vidpid << "\n" << text.out;
  }
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
