#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "tool/json_value.h"
#include "tool/tool_test_support.h"
#include "uvc_stereo/platform_info.h"

namespace tovanel::uvc_stereo::tool_testing {
namespace {

using DoctorCommand = ScenarioTest;

// The checksum the scenario camera's record header holds, read from the flash itself.
std::string stored_crc(const sim::SimulatedRig& rig, int camera) {
  const cli::ScenarioCamera scenario = cli::scenario_cameras().at(static_cast<std::size_t>(camera));
  const std::vector<std::uint8_t> header = rig.flash(camera, scenario.user_space_address, 16);
  const std::uint32_t crc = static_cast<std::uint32_t>(header[12]) | static_cast<std::uint32_t>(header[13]) << 8 |
                            static_cast<std::uint32_t>(header[14]) << 16 | static_cast<std::uint32_t>(header[15]) << 24;
  char text[16];
  std::snprintf(text, sizeof(text), "0x%08x", static_cast<unsigned>(crc));
  return text;
}

class DoctorCommandInVirtualTime : public VirtualTimeScenarioTest {
 protected:
  // The IMU health `doctor --imu-seconds seconds` reports for each scenario camera.
  static std::vector<JsonValue> imu_reports(const std::string& seconds) {
    const ToolRun run = run_tool({"doctor", "--json", "--imu-seconds", seconds});
    EXPECT_EQ(run.status, 0) << run.err;
    std::vector<JsonValue> reports;
    const JsonValue report = JsonValue::parse(run.out);
    for (const JsonValue& camera : report["cameras"].array()) {
      EXPECT_TRUE(camera["imu"]["failure"].is_null()) << run.out;
      reports.push_back(camera["imu"]);
    }
    EXPECT_EQ(reports.size(), 2u) << run.out;
    return reports;
  }
};

TEST_F(DoctorCommandInVirtualTime, ImuSecondsAreMeasuredOnTheClockTheSamplesAreStampedWith) {
  const std::uint64_t start_ns = rig_.now_ns();
  for (const JsonValue& imu : imu_reports("1")) {
    // Both scenario cameras sample at 200 Hz: a second holds 200 samples, give or take one at either end.
    EXPECT_GE(imu["samples"].number(), 198.0);
    EXPECT_LE(imu["samples"].number(), 202.0);
    EXPECT_GE(imu["seconds"].number(), 0.98);
    EXPECT_LE(imu["seconds"].number(), 1.01);
  }
  EXPECT_LT(rig_.now_ns() - start_ns, 2500000000u) << "each camera streams for its second and no longer";
}

TEST_F(DoctorCommandInVirtualTime, ShortImuWindowHoldsTheSamplesOfItsLength) {
  for (const JsonValue& imu : imu_reports("0.1")) {
    EXPECT_GE(imu["samples"].number(), 19.0);
    EXPECT_LE(imu["samples"].number(), 22.0);
  }
}

TEST_F(DoctorCommand, JsonNamesVersionsPlatformAndEachCamerasHealth) {
  const ToolRun run = run_tool({"doctor", "--json", "--imu-seconds", "0.2"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err, "");
  const JsonValue report = JsonValue::parse(run.out);
  EXPECT_EQ(report["versions"]["library"].string(), library_version());
  EXPECT_EQ(report["versions"]["vendor_library"].string(), "none (the simulated backend)");
  EXPECT_FALSE(report["platform"]["os"].string().empty());
  EXPECT_TRUE(report["scan_failure"].is_null());
  const std::vector<JsonValue>& cameras = report["cameras"].array();
  ASSERT_EQ(cameras.size(), 2u);
  EXPECT_EQ(cameras[kReportingCamera]["capability_source"].string(), "report");
  EXPECT_EQ(cameras[kLegacyCamera]["capability_source"].string(), "fallback");
  for (int camera : {kReportingCamera, kLegacyCamera}) {
    const JsonValue& entry = cameras[static_cast<std::size_t>(camera)];
    EXPECT_EQ(entry["serial_number"].string(), cli::scenario_cameras()[static_cast<std::size_t>(camera)].serial_number);
    EXPECT_TRUE(entry["open_failure"].is_null());
    EXPECT_EQ(entry["record"]["crc32"].string(), stored_crc(rig_, camera));
    EXPECT_EQ(entry["record"]["payload_length"].number(),
              static_cast<double>(cli::scenario_cameras()[static_cast<std::size_t>(camera)].stored_json.size()));
    const JsonValue& imu = entry["imu"];
    EXPECT_TRUE(imu["failure"].is_null());
    // A fifth of a second read every 5 ms: tens of samples, whatever the machine's load.
    EXPECT_GE(imu["samples"].number(), 2.0);
    EXPECT_GT(imu["rate_hz"].number(), 0.0);
    // The simulated IMUs sample in real time: a busy machine may make a read late enough to miss one.
    EXPECT_LT(imu["missed"].number(), imu["samples"].number());
    EXPECT_GE(imu["max_latency_ms"].number(), imu["median_latency_ms"].number());
    EXPECT_GE(imu["median_latency_ms"].number(), imu["min_latency_ms"].number());
  }
}

TEST_F(DoctorCommand, TextReportsTheSameFacts) {
  const ToolRun run = run_tool({"doctor", "--imu-seconds", "0.1"});
  ASSERT_EQ(run.status, 0) << run.err;
  for (const std::string& expected :
       {std::string("uvc-stereo field report\n"), std::string("  SDK library      ") + library_version() + "\n",
        std::string("  vendor library   none (the simulated backend)\n"), std::string("cameras: 2 found\n"),
        std::string("  capabilities     from the camera's capability report 1.2\n"),
        std::string("  capabilities     from the fallback defaults ("),
        "  record           crc32 " + stored_crc(rig_, kReportingCamera) + ", ",
        "  record           crc32 " + stored_crc(rig_, kLegacyCamera) + ", ",
        std::string("  serial           ") + cli::scenario_cameras()[0].serial_number + "\n"}) {
    EXPECT_NE(run.out.find(expected), std::string::npos) << "missing: " << expected << "\nin:\n" << run.out;
  }
  EXPECT_EQ(count_of(run.out, "  imu              "), 2u) << run.out;
  EXPECT_EQ(count_of(run.out, " Hz "), 2u) << run.out;
  EXPECT_EQ(count_of(run.out, " missed "), 2u) << run.out;
}

TEST_F(DoctorCommand, AFlashThatCannotBeReadIsReportedAndTheReportStillWritten) {
  // Every flash read of the run fails: the record is reported with why, the rest is unharmed.
  rig_.add_fault(sim::VendorFault{"SonixCam_CstmReadFromSF", 1, 0, 0, false});
  const ToolRun run = run_tool({"doctor", "--json", "--imu-seconds", "0"});
  ASSERT_EQ(run.status, 0) << run.err;
  const JsonValue report = JsonValue::parse(run.out);
  for (const JsonValue& camera : report["cameras"].array()) {
    EXPECT_TRUE(camera["open_failure"].is_null());
    EXPECT_EQ(camera["record"]["failure"]["code"].string(), "ReadFailed") << run.out;
    EXPECT_TRUE(camera["imu"].is_null());
  }
}

TEST_F(DoctorCommand, AnIdlessRigReportsNoCamerasAndSucceeds) {
  rig_.unplug(kReportingCamera);
  rig_.unplug(kLegacyCamera);
  const ToolRun run = run_tool({"doctor", "--imu-seconds", "0"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("cameras: 0 found\n"), std::string::npos) << run.out;
}

TEST_F(DoctorCommand, AFailedScanIsReportedWithTheReasonAndTheReportStillWritten) {
  rig_.set_library_present(false);
  const ToolRun text = run_tool({"doctor", "--imu-seconds", "0"});
  EXPECT_EQ(text.status, 0) << text.err;
  EXPECT_NE(text.out.find("  SDK library      "), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("cameras: the scan failed: "), std::string::npos) << text.out;
  const ToolRun json = run_tool({"doctor", "--json", "--imu-seconds", "0"});
  EXPECT_EQ(json.status, 0) << json.err;
  const JsonValue report = JsonValue::parse(json.out);
  EXPECT_FALSE(report["scan_failure"]["code"].string().empty());
  EXPECT_TRUE(report["cameras"].array().empty());
}

TEST(DoctorCommandLine, RefusesAnImuDurationOutOfRange) {
  for (const char* seconds : {"-1", "3601", "x"}) {
    const ToolRun run = run_tool({"--simulate", "doctor", "--imu-seconds", seconds});
    EXPECT_EQ(run.status, 2) << seconds;
    EXPECT_EQ(run.out, "");
    EXPECT_NE(run.err.find("--imu-seconds takes seconds from 0 to 3600, not '"), std::string::npos) << run.err;
  }
}

TEST(DoctorCommandLine, WorksWithTheBuiltInSimulation) {
  const ToolRun run = run_tool({"--simulate", "doctor", "--imu-seconds", "0.05"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("cameras: 2 found\n"), std::string::npos) << run.out;
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
