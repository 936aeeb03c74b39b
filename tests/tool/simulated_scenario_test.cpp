#include "uvc-stereo/simulated_scenario.h"

#include <gtest/gtest.h>

#include <string>

#include "tool/json_value.h"
#include "tool/tool_test_support.h"
#include "uvc_stereo/capability.h"
#include "uvc_stereo/json.h"
#include "uvc_stereo/models.h"

namespace tovanel::uvc_stereo::cli {
namespace {

using tool_testing::JsonValue;
using tool_testing::run_tool;
using tool_testing::ToolRun;

TEST(SimulatedScenario, TheReportingCameraAnswersItsReportRecordAsTheSdkReadsIt) {
  const CapabilityReport expected = scenario_capability_report();
  const ToolRun run = run_tool({"--simulate", "info", "--index", "0", "--json"});
  ASSERT_EQ(run.status, 0) << run.err;
  const JsonValue report = JsonValue::parse(run.out)["capability"]["report"];
  EXPECT_EQ(report["major_version"].number(), expected.major_version);
  EXPECT_EQ(report["minor_version"].number(), expected.minor_version);
  EXPECT_EQ(report["capability_bits"].number(), static_cast<double>(expected.capability_bits));
  ASSERT_TRUE(expected.flash_user_space.has_value());
  EXPECT_EQ(report["flash_user_space"]["start"].number(), expected.flash_user_space->start);
  EXPECT_EQ(report["flash_user_space"]["size"].number(), expected.flash_user_space->size);
  ASSERT_TRUE(expected.imu.has_value());
  const JsonValue imu = report["imu"];
  EXPECT_EQ(imu["model"].string(), expected.imu->model);
  EXPECT_EQ(imu["xu_unit"].number(), expected.imu->xu_unit);
  EXPECT_EQ(imu["xu_selector"].number(), expected.imu->xu_selector);
  EXPECT_EQ(imu["xu_length"].number(), expected.imu->xu_length);
  EXPECT_EQ(imu["decimal_exponent"].number(), expected.imu->decimal_exponent);
  EXPECT_DOUBLE_EQ(imu["temperature_offset_c"].number(), expected.imu->temperature_offset_c);
  EXPECT_DOUBLE_EQ(imu["temperature_lsb_per_c"].number(), expected.imu->temperature_lsb_per_c);
  EXPECT_DOUBLE_EQ(imu["accel_lsb_per_g"].number(), expected.imu->accel_lsb_per_g);
  EXPECT_DOUBLE_EQ(imu["gyro_lsb_per_dps"].number(), expected.imu->gyro_lsb_per_dps);
}

TEST(SimulatedScenario, StoredConfigurationsAreMinifiedJson) {
  for (const ScenarioCamera& camera : scenario_cameras()) {
    const Result<std::string> minified = minify_and_validate_json(camera.stored_json);
    ASSERT_TRUE(minified.ok()) << minified.status().message();
    EXPECT_EQ(minified.value(), camera.stored_json);
  }
}

TEST(SimulatedScenario, UsesTwoSupportedModels) {
  const ToolRun run = run_tool({"--simulate", "scan", "--json"});
  ASSERT_EQ(run.status, 0) << run.err;
  const JsonValue cameras = JsonValue::parse(run.out)["cameras"];
  ASSERT_EQ(cameras.array().size(), 2u);
  for (const JsonValue& camera : cameras.array()) {
    bool supported = false;
    for (const CameraModelId& model : supported_camera_models()) {
      supported = supported || (camera["vendor_id"].number() == model.vendor_id &&
                                camera["product_id"].number() == model.product_id);
    }
    EXPECT_TRUE(supported) << camera["vidpid"].string();
  }
}

TEST(SimulatedScenario, OneCameraReportsItsCapabilitiesAndTheOtherFallsBack) {
  const ToolRun reporting = run_tool({"--simulate", "info", "--index", "0", "--json"});
  const ToolRun legacy = run_tool({"--simulate", "info", "--index", "1", "--json"});
  ASSERT_EQ(reporting.status, 0) << reporting.err;
  ASSERT_EQ(legacy.status, 0) << legacy.err;
  EXPECT_EQ(JsonValue::parse(reporting.out)["capability"]["source"].string(), "reported");
  EXPECT_EQ(JsonValue::parse(legacy.out)["capability"]["source"].string(), "fallback");
}

}  // namespace
}  // namespace tovanel::uvc_stereo::cli
