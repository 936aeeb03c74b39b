#include "uvc-stereo/simulated_scenario.h"

#include <gtest/gtest.h>

#include <string>

#include "tool/json_value.h"
#include "tool/tool_test_support.h"
#include "uvc_stereo/checksum.h"
#include "uvc_stereo/json.h"
#include "uvc_stereo/models.h"

namespace tovanel::uvc_stereo::cli {
namespace {

using tool_testing::JsonValue;
using tool_testing::run_tool;
using tool_testing::ToolRun;

TEST(SimulatedScenario, TheCapabilityReportCarriesItsMagicVersionAndChecksum) {
  const std::array<std::uint8_t, 64> report = scenario_capability_report();
  EXPECT_EQ(std::string(report.begin(), report.begin() + 4), "TOVA");
  EXPECT_EQ(report[4], 1);
  EXPECT_EQ(report[6], 64);
  const std::uint32_t stored = static_cast<std::uint32_t>(report[60]) | (static_cast<std::uint32_t>(report[61]) << 8) |
                               (static_cast<std::uint32_t>(report[62]) << 16) |
                               (static_cast<std::uint32_t>(report[63]) << 24);
  EXPECT_EQ(stored, detail::crc32c(report.data(), 60));
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
