#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "tool/json_value.h"
#include "tool/svg_check.h"
#include "tool/tool_test_support.h"
#include "uvc_stereo/models.h"

namespace tovanel::uvc_stereo::tool_testing {
namespace {

const std::string kCsvHeader =
    "sample,counter,raw_counter,missed,time_s,latency_ms,temperature_c,accel_x_g,accel_y_g,accel_z_g,gyro_x_dps,"
    "gyro_y_dps,gyro_z_dps";

std::vector<std::string> fields_of(const std::string& line) {
  std::vector<std::string> fields;
  std::istringstream stream(line);
  for (std::string field; std::getline(stream, field, ',');) {
    fields.push_back(field);
  }
  return fields;
}

class ImuCommand : public ScenarioTest {};

// Runs the tool with standard output and standard error as terminals or not, and the given width.
ToolRun run_on_screen(const std::vector<std::string>& args, bool out_is_terminal, bool err_is_terminal,
                      std::size_t err_columns = 0) {
  std::istringstream in;
  std::ostringstream out;
  std::ostringstream err;
  cli::Console console{in, out, err, err_is_terminal};
  console.out_is_terminal = out_is_terminal;
  console.err_columns = err_columns;
  ToolRun run;
  run.status = cli::run_cli(args, console);
  run.out = out.str();
  run.err = err.str();
  return run;
}

// The text drawn last on each line of a terminal, as a person sees it after every carriage return.
std::vector<std::string> screen_lines(const std::string& text) {
  std::vector<std::string> lines;
  for (const std::string& line : lines_of(text)) {
    lines.push_back(line.substr(line.rfind('\r') == std::string::npos ? 0 : line.rfind('\r') + 1));
  }
  return lines;
}

TEST_F(ImuCommand, CsvHasAHeaderAndOneLinePerSample) {
  const ToolRun run = run_tool({"imu", "--index", "0", "--count", "5", "--csv", "--rate", "0"});
  ASSERT_EQ(run.status, 0) << run.err;
  const std::vector<std::string> lines = lines_of(run.out);
  ASSERT_EQ(lines.size(), 6u) << run.out;
  EXPECT_EQ(lines[0], kCsvHeader);
  for (std::size_t i = 1; i < lines.size(); ++i) {
    const std::vector<std::string> fields = fields_of(lines[i]);
    ASSERT_EQ(fields.size(), 13u) << lines[i];
    EXPECT_EQ(fields[0], std::to_string(i - 1));
    EXPECT_EQ(fields[1], std::to_string(4096 + i - 1));  // the scenario camera's counter starts at 4096
    EXPECT_EQ(fields[3], "0");
    EXPECT_NEAR(std::stod(fields[6]), 34.25, 0.1);  // at rest at 34.25 degrees Celsius
    EXPECT_NEAR(std::stod(fields[9]), 1.0, 0.01);   // gravity on z
    EXPECT_NEAR(std::stod(fields[11]), 0.0, 0.5);   // no rotation
  }
  EXPECT_NE(run.err.find("read 5 samples in "), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("missed 0, repeated 0"), std::string::npos) << run.err;
}

TEST_F(ImuCommand, JsonLinesAreOneObjectPerSample) {
  const ToolRun run = run_tool({"imu", "--index", "0", "--count", "4", "--json", "--rate", "0"});
  ASSERT_EQ(run.status, 0) << run.err;
  const std::vector<std::string> lines = lines_of(run.out);
  ASSERT_EQ(lines.size(), 4u) << run.out;
  double previous_time = -1.0;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const JsonValue sample = JsonValue::parse(lines[i]);
    EXPECT_EQ(sample["sample"].number(), static_cast<double>(i));
    EXPECT_EQ(sample["counter"].number(), 4096.0 + static_cast<double>(i));
    EXPECT_EQ(sample["raw_counter"].number(), 4096.0 + static_cast<double>(i));
    EXPECT_EQ(sample["missed"].number(), 0);
    EXPECT_FALSE(sample["repeated"].boolean());
    EXPECT_GT(sample["time_s"].number(), previous_time);
    previous_time = sample["time_s"].number();
    EXPECT_GE(sample["latency_ms"].number(), 0.0);
    EXPECT_NEAR(sample["temperature_c"].number(), 34.25, 0.1);
    ASSERT_EQ(sample["accel_g"].array().size(), 3u);
    ASSERT_EQ(sample["gyro_dps"].array().size(), 3u);
    EXPECT_NEAR(sample["accel_g"][2].number(), 1.0, 0.01);
  }
  EXPECT_EQ(JsonValue::parse(lines[0])["time_s"].number(), 0.0);
}

TEST_F(ImuCommand, TheCounterIsUnwrappedPastItsTwentyBitWrap) {
  const ToolRun run = run_tool({"imu", "--index", "1", "--count", "150", "--csv", "--rate", "0"});
  ASSERT_EQ(run.status, 0) << run.err;
  const std::vector<std::string> lines = lines_of(run.out);
  ASSERT_EQ(lines.size(), 151u);
  // The scenario's swaying camera starts 100 samples before the wrap.
  EXPECT_EQ(fields_of(lines[100])[2], "1048575");
  EXPECT_EQ(fields_of(lines[100])[1], "1048575");
  EXPECT_EQ(fields_of(lines[101])[2], "0");
  EXPECT_EQ(fields_of(lines[101])[1], "1048576");
  EXPECT_EQ(fields_of(lines[150])[1], std::to_string(1048576 + 49));
  EXPECT_NE(run.err.find("missed 0"), std::string::npos) << run.err;
}

TEST_F(ImuCommand, TheSwayingCameraShowsItsMotion) {
  const ToolRun run = run_tool({"imu", "--index", "1", "--count", "60", "--csv", "--rate", "0"});
  ASSERT_EQ(run.status, 0) << run.err;
  const std::vector<std::string> lines = lines_of(run.out);
  ASSERT_EQ(lines.size(), 61u);
  // Swinging about y: a large y rate at first, and x acceleration building up as it tilts.
  EXPECT_GT(std::stod(fields_of(lines[1])[11]), 50.0);
  EXPECT_GT(std::stod(fields_of(lines[60])[7]), 0.1);
}

TEST_F(ImuCommand, ALiveLineIsDrawnOnATerminalOnly) {
  const ToolRun terminal = run_tool({"imu", "--index", "0", "--count", "3", "--rate", "0"}, "", true);
  ASSERT_EQ(terminal.status, 0) << terminal.err;
  EXPECT_NE(terminal.err.find("\r3 samples  "), std::string::npos) << terminal.err;
  EXPECT_NE(terminal.err.find(" Hz  missed 0  latency "), std::string::npos) << terminal.err;
  const ToolRun piped = run_tool({"imu", "--index", "0", "--count", "3", "--rate", "0"});
  ASSERT_EQ(piped.status, 0) << piped.err;
  EXPECT_EQ(piped.err.find('\r'), std::string::npos) << piped.err;
  EXPECT_EQ(lines_of(piped.err).size(), 1u) << piped.err;
  EXPECT_EQ(piped.out, "");
}

TEST_F(ImuCommand, WritesAWellFormedSvgPlot) {
  const ScratchDirectory scratch;
  const std::string plot = scratch.file("imu.svg");
  const ToolRun run = run_tool({"imu", "--index", "1", "--count", "40", "--rate", "0", "--plot", plot});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.err.find("plot written to " + plot + "\n"), std::string::npos) << run.err;
  const std::string svg = scratch.read(plot);
  EXPECT_EQ(svg_problem(svg), "");
  EXPECT_EQ(count_of(svg, "<polyline"), 6u);
  EXPECT_NE(svg.find("IMU of camera 1 (0c45:6366, serial TVS1-01288): 40 samples"), std::string::npos);
}

TEST_F(ImuCommand, AnUnwritablePlotIsAFileErrorBeforeTheStream) {
  const ScratchDirectory scratch;
  for (const std::string& plot : {scratch.file("no/dir/p.svg"), scratch.path().string()}) {
    const ToolRun run = run_tool({"imu", "--index", "0", "--count", "2", "--rate", "0", "--csv", "--plot", plot});
    EXPECT_EQ(run.status, 3);
    EXPECT_EQ(run.out, "") << "no sample may be streamed when the plot cannot be written";
    EXPECT_EQ(run.err.rfind("uvc-stereo: FileError: cannot write the plot '" + plot + "': ", 0), 0u) << run.err;
    EXPECT_EQ(lines_of(run.err).size(), 1u) << run.err;
  }
  EXPECT_TRUE(rig_.calls().empty()) << "the camera is not touched";
  EXPECT_EQ(scratch.names(), std::vector<std::string>{});
}

TEST_F(ImuCommand, CheckingThePlotPathLeavesNoFileBehindWhenTheStreamFails) {
  const ScratchDirectory scratch;
  const std::string plot = scratch.file("imu.svg");
  rig_.queue_imu_status(kReportingCamera, 0xF2);
  const ToolRun run = run_tool({"imu", "--index", "0", "--count", "3", "--rate", "0", "--plot", plot});
  EXPECT_EQ(run.status, 14) << run.err;
  EXPECT_EQ(scratch.names(), std::vector<std::string>{});
}

TEST_F(ImuCommand, AnExistingPlotIsReplacedOnlyWhenTheStreamHasSamples) {
  const ScratchDirectory scratch;
  const std::string plot = scratch.write("imu.svg", "an earlier plot");
  rig_.queue_imu_status(kReportingCamera, 0xF2);
  EXPECT_EQ(run_tool({"imu", "--index", "0", "--count", "3", "--rate", "0", "--plot", plot, "--force"}).status, 14);
  EXPECT_EQ(scratch.read(plot), "an earlier plot");
  const ToolRun run = run_tool({"imu", "--index", "0", "--count", "3", "--rate", "0", "--plot", plot, "--force"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(svg_problem(scratch.read(plot)), "");
}

TEST_F(ImuCommand, DurationEndsAPacedStream) {
  const ToolRun run = run_tool({"imu", "--index", "0", "--duration", "0.05", "--rate", "200", "--csv"});
  ASSERT_EQ(run.status, 0) << run.err;
  const std::size_t samples = lines_of(run.out).size() - 1;
  // Reads are 5 ms apart, so 50 ms hold at most 11 of them; at least one is always read.
  EXPECT_GE(samples, 1u);
  EXPECT_LE(samples, 11u);
}

TEST_F(ImuCommand, AFailingReadIsReportedAfterTheSamplesBeforeIt) {
  rig_.add_fault(sim::VendorFault{"SonixCam_XuRead", 4, 1, 0, false});  // the capability probe is the first XU read
  const ToolRun run = run_tool({"imu", "--index", "0", "--count", "10", "--csv", "--rate", "0"});
  EXPECT_EQ(run.status, 12);
  EXPECT_EQ(lines_of(run.out).size(), 3u) << run.out;
  const std::vector<std::string> err = lines_of(run.err);
  ASSERT_EQ(err.size(), 2u) << run.err;
  EXPECT_EQ(err[0].rfind("read 2 samples in ", 0), 0u) << run.err;
  EXPECT_EQ(err[1].rfind("uvc-stereo: PlatformError: SonixCam_XuRead failed: ", 0), 0u) << run.err;
}

TEST_F(ImuCommand, TheCamerasOwnReadFailureIsReadFailed) {
  rig_.queue_imu_status(kReportingCamera, 0xF2);
  const ToolRun run = run_tool({"imu", "--index", "0", "--count", "3", "--rate", "0"});
  EXPECT_EQ(run.status, 14);
  EXPECT_NE(run.err.find("uvc-stereo: ReadFailed: IMU device reported read failure (reading the IMU of camera 0"),
            std::string::npos)
      << run.err;
}

TEST_F(ImuCommand, FirmwareThatDisablesTheImuIsNotSupported) {
  rig_.set_firmware_version(kLegacyCamera, "V1.3.0-260416");
  const ToolRun run = run_tool({"imu", "--index", "1", "--count", "3"});
  EXPECT_EQ(run.status, 24);
  EXPECT_EQ(run.err,
            "uvc-stereo: NotSupported: IMU is not supported on this device (opening the IMU of camera 1 (0c45:6366, "
            "serial TVS1-01288))\n");
  EXPECT_EQ(calls_named("SonixCam_XuRead"), 1u) << "only the capability probe may read the extension unit";
}

TEST_F(ImuCommand, MalformedOptionsAreUsageErrors) {
  for (const std::vector<std::string>& args : {std::vector<std::string>{"imu", "--index", "0", "--count", "0"},
                                               std::vector<std::string>{"imu", "--index", "0", "--count", "many"},
                                               std::vector<std::string>{"imu", "--index", "0", "--csv", "--json"},
                                               std::vector<std::string>{"imu", "--index", "0", "--rate", "-1"},
                                               std::vector<std::string>{"imu", "--index", "0", "--rate", "200000"},
                                               std::vector<std::string>{"imu", "--index", "0", "--duration", "0"}}) {
    EXPECT_EQ(run_tool(args).status, 2) << ::testing::PrintToString(args);
  }
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(ImuCommand, ATerminalShowsReadableValuesWithoutALiveLineOverThem) {
  const ToolRun run = run_on_screen({"imu", "--index", "0", "--count", "30", "--rate", "0"}, true, true);
  ASSERT_EQ(run.status, 0) << run.err;
  const std::vector<std::string> rows = lines_of(run.out);
  // The header, the first sample at once and the last one at the end, and one every 250 ms between.
  ASSERT_GE(rows.size(), 3u) << run.out;
  EXPECT_EQ(
      rows[0],
      "    time s   temp C   accel x g  accel y g  accel z g  gyro x dps  gyro y dps  gyro z dps   rate Hz  missed");
  for (std::size_t i = 1; i < rows.size(); ++i) {
    std::istringstream row(rows[i]);
    double time_s = 0;
    double temperature = 0;
    double accel[3] = {};
    double gyro[3] = {};
    double rate = 0;
    unsigned missed = 9;
    row >> time_s >> temperature >> accel[0] >> accel[1] >> accel[2] >> gyro[0] >> gyro[1] >> gyro[2] >> rate >> missed;
    ASSERT_FALSE(row.fail()) << rows[i];
    EXPECT_NEAR(temperature, 34.25, 0.1) << rows[i];
    EXPECT_NEAR(accel[2], 1.0, 0.01) << rows[i];
    EXPECT_NEAR(gyro[1], 0.0, 0.5) << rows[i];
    EXPECT_EQ(missed, 0u) << rows[i];
  }
  EXPECT_EQ(run.out.find('\r'), std::string::npos);
  // Standard error on the same screen gets the closing summary alone, never a line drawn over the rows.
  EXPECT_EQ(run.err.find('\r'), std::string::npos) << run.err;
  ASSERT_EQ(lines_of(run.err).size(), 1u) << run.err;
  EXPECT_EQ(run.err.rfind("read 30 samples in ", 0), 0u) << run.err;
}

TEST_F(ImuCommand, CsvRowsOnATerminalAreNeverBrokenByTheLiveLine) {
  const ToolRun run = run_on_screen({"imu", "--index", "0", "--count", "5", "--rate", "0", "--csv"}, true, true);
  ASSERT_EQ(run.status, 0) << run.err;
  const std::vector<std::string> lines = lines_of(run.out);
  ASSERT_EQ(lines.size(), 6u) << run.out;
  for (std::size_t i = 1; i < lines.size(); ++i) {
    EXPECT_EQ(fields_of(lines[i]).size(), 13u) << lines[i];
  }
  EXPECT_EQ(run.err.find('\r'), std::string::npos) << run.err;
}

TEST_F(ImuCommand, NoReadableValuesGoIntoAFileOrAPipe) {
  const ToolRun run = run_on_screen({"imu", "--index", "0", "--count", "5", "--rate", "0"}, false, true);
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, "");
  EXPECT_NE(run.err.find("\r5 samples  "), std::string::npos) << run.err;
}

TEST_F(ImuCommand, TheLiveLineNeverWrapsOnANarrowTerminal) {
  for (const std::size_t columns : {std::size_t{24}, std::size_t{40}, std::size_t{0}}) {
    const ToolRun run =
        run_on_screen({"imu", "--index", "1", "--duration", "0.6", "--rate", "400", "--csv"}, false, true, columns);
    ASSERT_EQ(run.status, 0) << run.err;
    const std::size_t width = columns == 0 ? 80 : columns;
    // Every drawing of the live line, and what it leaves on screen, fits in one row of the terminal.
    std::istringstream drawings(run.err);
    for (std::string drawing; std::getline(drawings, drawing, '\r');) {
      const std::string shown = drawing.substr(0, drawing.find('\n'));
      EXPECT_LT(shown.size(), width) << "'" << shown << "' on " << columns << " columns";
    }
    // What stays on screen: the last live line, cut to fit, then the summary on a line of its own.
    const std::vector<std::string> screen = screen_lines(run.err);
    ASSERT_EQ(screen.size(), 2u) << run.err;
    const std::string full = std::to_string(lines_of(run.out).size() - 1) + " samples  ";
    EXPECT_EQ(screen[0].rfind(full.substr(0, width - 1), 0), 0u) << screen[0];
    EXPECT_EQ(screen[1].rfind("read ", 0), 0u) << screen[1];
  }
}

// A camera whose counter advances by three per read: two samples missed before each one.
TEST(ImuCommandMissedSamples, GapsInTheCounterAreCountedAsMissed) {
  sim::SimulatedRig rig;
  sim::SimulatedCamera camera;
  camera.vendor_id = supported_camera_models().at(2).vendor_id;
  camera.product_id = supported_camera_models().at(2).product_id;
  camera.device_path = "\\\\?\\usb#vid_0c45&pid_6368&mi_00#7&9&0&0000#{e5323777-f976-4f5b-9b55-b94699c46e44}\\global";
  camera.serial_number = "GAPPY";
  camera.imu.first_counter = (1u << 20) - 4;
  camera.imu.counter_step = 3;
  rig.add_camera(camera);
  const ToolRun run = run_tool({"imu", "--count", "5", "--csv", "--rate", "0"});
  ASSERT_EQ(run.status, 0) << run.err;
  const std::vector<std::string> lines = lines_of(run.out);
  ASSERT_EQ(lines.size(), 6u);
  EXPECT_EQ(fields_of(lines[1])[3], "0");
  for (std::size_t i = 2; i < lines.size(); ++i) {
    EXPECT_EQ(fields_of(lines[i])[3], "2") << lines[i];
    EXPECT_EQ(fields_of(lines[i])[1], std::to_string((1u << 20) - 4 + 3 * (i - 1))) << lines[i];
  }
  EXPECT_NE(run.err.find("missed 8, repeated 0"), std::string::npos) << run.err;
  EXPECT_EQ(rig.open_sessions(), 0);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
