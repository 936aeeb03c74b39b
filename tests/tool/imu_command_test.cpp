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
    "sample_index,counter,segment,restarted,missed_before,host_time_ns,host_time_uncertainty_ns,read_time_ns,time_s,"
    "temperature_c,accel_x_g,accel_y_g,accel_z_g,gyro_x_dps,gyro_y_dps,gyro_z_dps";
constexpr std::size_t kCsvFields = 16;
// Columns of a CSV row.
enum Column : std::size_t {
  kSampleIndex = 0,
  kCounter = 1,
  kSegment = 2,
  kRestarted = 3,
  kMissedBefore = 4,
  kHostTime = 5,
  kUncertainty = 6,
  kReadTime = 7,
  kTime = 8,
  kTemperature = 9,
  kAccelX = 10,
  kAccelZ = 12,
  kGyroY = 14,
};

std::vector<std::string> fields_of(const std::string& line) {
  std::vector<std::string> fields;
  std::istringstream stream(line);
  for (std::string field; std::getline(stream, field, ',');) {
    fields.push_back(field);
  }
  return fields;
}

class ImuCommand : public ScenarioTest {};

class ImuCommandInVirtualTime : public VirtualTimeScenarioTest {};

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

TEST_F(ImuCommandInVirtualTime, CsvHasAHeaderAndOneLinePerSample) {
  const ToolRun run = run_tool({"imu", "--index", "0", "--count", "5", "--csv"});
  ASSERT_EQ(run.status, 0) << run.err;
  const std::vector<std::string> lines = lines_of(run.out);
  ASSERT_EQ(lines.size(), 6u) << run.out;
  EXPECT_EQ(lines[0], kCsvHeader);
  const std::vector<sim::SimulatedImuSampleTruth> truth = rig_.take_imu_truth(kReportingCamera);
  ASSERT_EQ(truth.size(), 5u);
  // The scenario camera's counter started at 4096 when it was plugged in.
  const std::uint64_t first = std::stoull(fields_of(lines[1])[kSampleIndex]);
  EXPECT_GE(first, 4096u);
  for (std::size_t i = 1; i < lines.size(); ++i) {
    const std::vector<std::string> fields = fields_of(lines[i]);
    ASSERT_EQ(fields.size(), kCsvFields) << lines[i];
    EXPECT_EQ(fields[kSampleIndex], std::to_string(first + i - 1)) << lines[i];
    EXPECT_EQ(fields[kCounter], std::to_string(truth[i - 1].counter)) << lines[i];
    EXPECT_EQ(fields[kCounter], fields[kSampleIndex]) << "no wrap yet: " << lines[i];
    EXPECT_EQ(fields[kSegment], "0");
    EXPECT_EQ(fields[kRestarted], "0");
    EXPECT_EQ(fields[kMissedBefore], "0");
    const std::uint64_t host_time = std::stoull(fields[kHostTime]);
    const std::uint64_t read_time = std::stoull(fields[kReadTime]);
    if (i == 1) {
      EXPECT_EQ(fields[kUncertainty], "") << "nothing bounds the first sample's time";
    } else {
      // The stream's estimate lies within the bound it gives of when the camera took the sample.
      const std::uint64_t uncertainty = std::stoull(fields[kUncertainty]);
      const std::uint64_t taken = truth[i - 1].taken_ns;
      EXPECT_LE(host_time > taken ? host_time - taken : taken - host_time, uncertainty) << lines[i];
      EXPECT_LT(uncertainty, 5000000u) << lines[i];
      EXPECT_LT(host_time, read_time) << "a sample is taken before the read that delivers it: " << lines[i];
    }
    EXPECT_NEAR(std::stod(fields[kTemperature]), 34.25, 0.1);  // at rest at 34.25 degrees Celsius
    EXPECT_NEAR(std::stod(fields[kAccelZ]), 1.0, 0.01);        // gravity on z
    EXPECT_NEAR(std::stod(fields[kGyroY]), 0.0, 0.5);          // no rotation
  }
  EXPECT_EQ(fields_of(lines[1])[kTime], "0.000000");
  // Five samples of a 200 Hz camera: 20 ms from the first to the last by the host's clock.
  EXPECT_NEAR(std::stod(fields_of(lines[5])[kTime]), 0.020, 0.0005);
  EXPECT_NE(run.err.find("read 5 samples in 0.02 s ("), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("missed 0, duplicate reads skipped "), std::string::npos) << run.err;
}

TEST_F(ImuCommandInVirtualTime, JsonLinesAreOneObjectPerSample) {
  const ToolRun run = run_tool({"imu", "--index", "0", "--count", "4", "--json"});
  ASSERT_EQ(run.status, 0) << run.err;
  const std::vector<std::string> lines = lines_of(run.out);
  ASSERT_EQ(lines.size(), 4u) << run.out;
  double previous_time = -1.0;
  const double first = JsonValue::parse(lines[0])["sample_index"].number();
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const JsonValue sample = JsonValue::parse(lines[i]);
    EXPECT_EQ(sample["sample_index"].number(), first + static_cast<double>(i));
    EXPECT_EQ(sample["counter"].number(), first + static_cast<double>(i));
    EXPECT_EQ(sample["segment"].number(), 0);
    EXPECT_FALSE(sample["restarted"].boolean());
    EXPECT_EQ(sample["missed_before"].number(), 0);
    if (i == 0) {
      EXPECT_TRUE(sample["host_time_uncertainty_ns"].is_null()) << lines[i];
    } else {
      EXPECT_GE(sample["host_time_uncertainty_ns"].number(), 0.0) << lines[i];
      EXPECT_LT(sample["host_time_ns"].number(), sample["read_time_ns"].number());
    }
    EXPECT_GT(sample["time_s"].number(), previous_time);
    previous_time = sample["time_s"].number();
    EXPECT_NEAR(sample["temperature_c"].number(), 34.25, 0.1);
    ASSERT_EQ(sample["accel_g"].array().size(), 3u);
    ASSERT_EQ(sample["gyro_dps"].array().size(), 3u);
    EXPECT_NEAR(sample["accel_g"][2].number(), 1.0, 0.01);
  }
  EXPECT_EQ(JsonValue::parse(lines[0])["time_s"].number(), 0.0);
}

TEST_F(ImuCommandInVirtualTime, TheSampleIndexRunsOnPastTheCountersTwentyBitWrap) {
  const ToolRun run = run_tool({"imu", "--index", "1", "--count", "150", "--csv"});
  ASSERT_EQ(run.status, 0) << run.err;
  const std::vector<std::string> lines = lines_of(run.out);
  ASSERT_EQ(lines.size(), 151u);
  // The scenario's swaying camera starts 100 samples before the wrap.
  std::size_t wrapped = 0;
  for (std::size_t i = 1; i < lines.size(); ++i) {
    const std::vector<std::string> fields = fields_of(lines[i]);
    EXPECT_EQ(fields[kMissedBefore], "0") << lines[i];
    EXPECT_EQ(std::stoull(fields[kCounter]), std::stoull(fields[kSampleIndex]) % (1u << 20)) << lines[i];
    if (i > 1) {
      EXPECT_EQ(std::stoull(fields[kSampleIndex]), std::stoull(fields_of(lines[i - 1])[kSampleIndex]) + 1);
    }
    if (fields[kCounter] == "0") {
      wrapped = i;
    }
  }
  ASSERT_GT(wrapped, 1u) << "the counter wraps within the stream";
  EXPECT_EQ(fields_of(lines[wrapped - 1])[kCounter], "1048575");
  EXPECT_EQ(fields_of(lines[wrapped])[kSampleIndex], "1048576");
  EXPECT_EQ(fields_of(lines[wrapped])[kSegment], "0") << "a wrap is no restart";
  EXPECT_NE(run.err.find("missed 0, duplicate reads skipped "), std::string::npos) << run.err;
  EXPECT_NE(run.err.find(", restarts 0; "), std::string::npos) << run.err;
}

TEST_F(ImuCommandInVirtualTime, TheSwayingCameraShowsItsMotion) {
  const ToolRun run = run_tool({"imu", "--index", "1", "--count", "60", "--csv", "--rate", "0"});
  ASSERT_EQ(run.status, 0) << run.err;
  const std::vector<std::string> lines = lines_of(run.out);
  ASSERT_EQ(lines.size(), 61u);
  // Swinging about y: a large y rate at first, and x acceleration building up as it tilts.
  EXPECT_GT(std::stod(fields_of(lines[1])[kGyroY]), 50.0);
  EXPECT_GT(std::stod(fields_of(lines[60])[kAccelX]), 0.1);
}

TEST_F(ImuCommandInVirtualTime, ALiveLineIsDrawnOnATerminalOnly) {
  const ToolRun terminal = run_tool({"imu", "--index", "0", "--count", "3", "--rate", "0"}, "", true);
  ASSERT_EQ(terminal.status, 0) << terminal.err;
  EXPECT_NE(terminal.err.find("\r3 samples "), std::string::npos) << terminal.err;
  EXPECT_NE(terminal.err.find(" Hz "), std::string::npos) << terminal.err;
  EXPECT_NE(terminal.err.find(" ppm missed 0 dup "), std::string::npos) << terminal.err;
  EXPECT_NE(terminal.err.find(" restarts 0 read "), std::string::npos) << terminal.err;
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

TEST_F(ImuCommandInVirtualTime, AFailingReadIsReportedAfterTheSamplesBeforeIt) {
  // The capability probe is the first XU read; the stream reads a few times per sample.
  rig_.add_fault(sim::VendorFault{"SonixCam_XuRead", 12, 1, 0, false});
  const ToolRun run = run_tool({"imu", "--index", "0", "--count", "10", "--csv"});
  EXPECT_EQ(run.status, 12);
  const std::size_t rows = lines_of(run.out).size() - 1;
  EXPECT_GE(rows, 2u) << run.out;
  EXPECT_LT(rows, 10u) << run.out;
  const std::vector<std::string> err = lines_of(run.err);
  ASSERT_EQ(err.size(), 2u) << run.err;
  EXPECT_EQ(err[0].rfind("read " + std::to_string(rows) + " samples in ", 0), 0u) << run.err;
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

TEST_F(ImuCommandInVirtualTime, ATerminalShowsReadableValuesWithoutALiveLineOverThem) {
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
    EXPECT_EQ(fields_of(lines[i]).size(), kCsvFields) << lines[i];
  }
  EXPECT_EQ(run.err.find('\r'), std::string::npos) << run.err;
}

TEST_F(ImuCommand, NoReadableValuesGoIntoAFileOrAPipe) {
  const ToolRun run = run_on_screen({"imu", "--index", "0", "--count", "5", "--rate", "0"}, false, true);
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, "");
  EXPECT_NE(run.err.find("\r5 samples "), std::string::npos) << run.err;
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
    const std::string full = std::to_string(lines_of(run.out).size() - 1) + " samples ";
    EXPECT_EQ(screen[0].rfind(full.substr(0, width - 1), 0), 0u) << screen[0];
    EXPECT_EQ(screen[1].rfind("read ", 0), 0u) << screen[1];
  }
}

TEST_F(ImuCommandInVirtualTime, ByDefaultReadsFasterThanTheImuAndSkipsTheDuplicates) {
  const std::uint64_t start_ns = rig_.now_ns();
  const ToolRun run = run_tool({"imu", "--index", "0", "--count", "40", "--csv"});
  ASSERT_EQ(run.status, 0) << run.err;
  ASSERT_EQ(lines_of(run.out).size(), 41u);
  // Several reads per 5 ms sample period, every sample delivered once.
  EXPECT_GE(calls_named("SonixCam_XuRead"), 2u * 40u) << run.err;
  EXPECT_NE(run.err.find("missed 0, duplicate reads skipped "), std::string::npos) << run.err;
  EXPECT_EQ(run.err.find("duplicate reads skipped 0,"), std::string::npos) << run.err;
  EXPECT_LT(rig_.now_ns() - start_ns, 400000000u) << "40 samples at 200 Hz take about 0.2 s";
}

TEST_F(ImuCommandInVirtualTime, DurationIsMeasuredOnTheClockTheSamplesAreStampedWith) {
  const std::uint64_t start_ns = rig_.now_ns();
  const ToolRun run = run_tool({"imu", "--index", "0", "--duration", "1", "--csv"});
  ASSERT_EQ(run.status, 0) << run.err;
  const std::vector<std::string> lines = lines_of(run.out);
  ASSERT_GE(lines.size(), 2u) << run.err;
  // A second of a 200 Hz camera holds 200 samples, give or take the sample at either end and one that a read
  // landing late may see only past the end.
  const std::size_t samples = lines.size() - 1;
  EXPECT_GE(samples, 198u) << run.err;
  EXPECT_LE(samples, 202u) << run.err;
  const std::vector<std::string> first = fields_of(lines[1]);
  const std::vector<std::string> last = fields_of(lines.back());
  const double read_span_s = static_cast<double>(std::stoull(last[kReadTime]) - std::stoull(first[kReadTime])) / 1e9;
  EXPECT_GE(read_span_s, 0.98) << lines.back();
  EXPECT_LE(read_span_s, 1.01) << lines.back();
  EXPECT_LT(rig_.now_ns() - start_ns, 1100000000u) << "the stream stops where its second ends";
}

TEST_F(ImuCommandInVirtualTime, ShortDurationsHoldTheSamplesOfTheirLength) {
  struct Window {
    const char* seconds;
    std::size_t fewest;
    std::size_t most;
  };
  // The shortest still holds a sample: a stream always has one, however short its duration.
  for (const Window& window : {Window{"0.05", 9, 12}, Window{"0.000001", 1, 2}}) {
    const ToolRun run = run_tool({"imu", "--index", "0", "--duration", window.seconds, "--csv"});
    ASSERT_EQ(run.status, 0) << run.err;
    const std::size_t samples = lines_of(run.out).size() - 1;
    EXPECT_GE(samples, window.fewest) << window.seconds << " s:\n" << run.out;
    EXPECT_LE(samples, window.most) << window.seconds << " s:\n" << run.out;
  }
}

TEST_F(ImuCommandInVirtualTime, RateIsAnUpperLimitOnReadsPerSecond) {
  const std::uint64_t start_ns = rig_.now_ns();
  const ToolRun run = run_tool({"imu", "--index", "0", "--count", "10", "--csv", "--rate", "50"});
  ASSERT_EQ(run.status, 0) << run.err;
  const std::vector<std::string> lines = lines_of(run.out);
  ASSERT_EQ(lines.size(), 11u);
  const double elapsed_s = static_cast<double>(rig_.now_ns() - start_ns) / 1e9;
  // The capability probe plus at most 50 reads a second of the stream.
  EXPECT_LE(static_cast<double>(calls_named("SonixCam_XuRead")), 1.0 + 50.0 * elapsed_s + 1.0) << elapsed_s;
  // Reads 20 ms apart see every fourth sample of a 200 Hz camera: the ones between are missed.
  std::uint64_t missed = 0;
  for (std::size_t i = 2; i < lines.size(); ++i) {
    const std::uint64_t before = std::stoull(fields_of(lines[i])[kMissedBefore]);
    EXPECT_GE(before, 2u) << lines[i];
    missed += before;
  }
  EXPECT_NE(run.err.find("missed " + std::to_string(missed) + ", "), std::string::npos) << run.err;
}

TEST_F(ImuCommandInVirtualTime, ARestartOfTheCameraShowsInTheRowsAndTheSummary) {
  sim::SimulatedImuTiming timing;
  timing.restart_after_s = {0.1};
  rig_.set_imu_timing(kReportingCamera, timing);
  const ToolRun run = run_tool({"imu", "--index", "0", "--count", "60", "--csv"});
  ASSERT_EQ(run.status, 0) << run.err;
  const std::vector<std::string> lines = lines_of(run.out);
  ASSERT_EQ(lines.size(), 61u);
  std::size_t restarted = 0;
  for (std::size_t i = 1; i < lines.size(); ++i) {
    if (fields_of(lines[i])[kRestarted] == "1") {
      EXPECT_EQ(restarted, 0u) << "one restart only";
      restarted = i;
    }
  }
  ASSERT_GT(restarted, 1u) << run.out;
  EXPECT_EQ(fields_of(lines[restarted - 1])[kSegment], "0");
  EXPECT_EQ(fields_of(lines[restarted])[kSegment], "1");
  EXPECT_EQ(fields_of(lines[60])[kSegment], "1");
  // The index runs on across the restart; the counter starts again from 0.
  EXPECT_LT(std::stoull(fields_of(lines[restarted])[kCounter]), 5u) << lines[restarted];
  EXPECT_GT(std::stoull(fields_of(lines[restarted])[kSampleIndex]),
            std::stoull(fields_of(lines[restarted - 1])[kSampleIndex]));
  EXPECT_NE(run.err.find(", restarts 1; "), std::string::npos) << run.err;
}

TEST_F(ImuCommandInVirtualTime, ThePlotOfAStreamWithoutGapsHasNoMissedMarks) {
  const ScratchDirectory scratch;
  const std::string plot = scratch.file("imu.svg");
  const ToolRun run = run_tool({"imu", "--index", "1", "--count", "40", "--plot", plot});
  ASSERT_EQ(run.status, 0) << run.err;
  const std::string svg = scratch.read(plot);
  EXPECT_EQ(svg_problem(svg), "");
  EXPECT_EQ(count_of(svg, "class=\"missed\""), 0u);
  EXPECT_NE(svg.find(": 40 samples</text>"), std::string::npos);
}

TEST_F(ImuCommandInVirtualTime, ThePlotMarksWhereSamplesWereMissed) {
  const ScratchDirectory scratch;
  const std::string plot = scratch.file("imu.svg");
  // 40 reads a second of a 200 Hz camera: four samples missed before each one after the first.
  const ToolRun run = run_tool({"imu", "--index", "1", "--count", "6", "--rate", "40", "--plot", plot});
  ASSERT_EQ(run.status, 0) << run.err;
  const std::string svg = scratch.read(plot);
  EXPECT_EQ(svg_problem(svg), "");
  // Five gaps marked in each of the two panels, plus a legend entry in each.
  EXPECT_EQ(count_of(svg, "class=\"missed\""), 2u * 5u + 2u) << svg;
  EXPECT_EQ(count_of(svg, ">missed</text>"), 2u);
  EXPECT_NE(svg.find(": 6 samples, "), std::string::npos);
  EXPECT_NE(svg.find(" missed</text>"), std::string::npos);
}

// A camera near its counter's wrap read 50 times a second: samples missed between reads, across the wrap.
TEST(ImuCommandMissedSamples, GapsInTheCounterAreCountedAsMissedAcrossTheWrap) {
  sim::SimulatedRig rig;
  rig.use_virtual_time();
  sim::SimulatedCamera camera;
  camera.vendor_id = supported_camera_models().at(2).vendor_id;
  camera.product_id = supported_camera_models().at(2).product_id;
  camera.device_path = "\\\\?\\usb#vid_0c45&pid_6368&mi_00#7&9&0&0000#{e5323777-f976-4f5b-9b55-b94699c46e44}\\global";
  camera.serial_number = "GAPPY";
  camera.imu.first_counter = (1u << 20) - 20;
  camera.imu.timing = sim::SimulatedImuTiming{};
  rig.add_camera(camera);
  const ToolRun run = run_tool({"imu", "--count", "8", "--csv", "--rate", "50"});
  ASSERT_EQ(run.status, 0) << run.err;
  const std::vector<std::string> lines = lines_of(run.out);
  ASSERT_EQ(lines.size(), 9u);
  std::uint64_t missed = 0;
  for (std::size_t i = 2; i < lines.size(); ++i) {
    const std::vector<std::string> row = fields_of(lines[i]);
    const std::uint64_t before = std::stoull(row[kMissedBefore]);
    EXPECT_GE(before, 2u) << lines[i];
    EXPECT_EQ(std::stoull(row[kSampleIndex]), std::stoull(fields_of(lines[i - 1])[kSampleIndex]) + 1 + before);
    EXPECT_EQ(std::stoull(row[kCounter]), std::stoull(row[kSampleIndex]) % (1u << 20)) << lines[i];
    EXPECT_EQ(row[kSegment], "0") << "a wrap is no restart: " << lines[i];
    missed += before;
  }
  EXPECT_GT(std::stoull(fields_of(lines[8])[kSampleIndex]), 1u << 20) << "the stream ran past the wrap";
  EXPECT_NE(run.err.find("missed " + std::to_string(missed) + ", duplicate reads skipped "), std::string::npos)
      << run.err;
  EXPECT_EQ(rig.open_sessions(), 0);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
