#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tool/json_value.h"
#include "tool/tool_test_support.h"
#include "uvc_stereo/models.h"

namespace tovanel::uvc_stereo::tool_testing {
namespace {

class ScanCommand : public ScenarioTest {};

TEST_F(ScanCommand, ListsBothCamerasAsATable) {
  const ToolRun run = run_tool({"scan"});
  ASSERT_EQ(run.status, 0) << run.err;
  const std::vector<std::string> lines = lines_of(run.out);
  ASSERT_EQ(lines.size(), 3u) << run.out;
  EXPECT_EQ(lines[0].rfind("INDEX  VID:PID    SERIAL      NAME", 0), 0u) << lines[0];
  EXPECT_NE(lines[0].find("CAPTURE"), std::string::npos);
  EXPECT_EQ(lines[1].rfind("0      0c45:6368  TVS2-00417  Tovanel Stereo Camera S2  Tovanel Imaging", 0), 0u)
      << lines[1];
  EXPECT_NE(lines[1].find("CAP_DSHOW=2 CAP_MSMF=1"), std::string::npos) << lines[1];
  EXPECT_NE(lines[1].find("\\\\?\\usb#vid_0c45&pid_6368&mi_00#"), std::string::npos) << lines[1];
  EXPECT_EQ(lines[2].rfind("1      0c45:6366  TVS1-01288", 0), 0u) << lines[2];
  EXPECT_NE(lines[2].find("CAP_DSHOW=0 CAP_MSMF=2"), std::string::npos) << lines[2];
  EXPECT_EQ(run.err, "");
}

TEST_F(ScanCommand, JsonCarriesEveryFieldOfEveryCamera) {
  const ToolRun run = run_tool({"scan", "--json"});
  ASSERT_EQ(run.status, 0) << run.err;
  const JsonValue document = JsonValue::parse(run.out);
  const std::vector<JsonValue>& cameras = document["cameras"].array();
  ASSERT_EQ(cameras.size(), 2u);
  const JsonValue& first = cameras[0];
  EXPECT_EQ(first["index"].number(), 0);
  EXPECT_EQ(first["vendor_id"].number(), 0x0C45);
  EXPECT_EQ(first["product_id"].number(), 0x6368);
  EXPECT_EQ(first["vidpid"].string(), "0c456368");
  EXPECT_EQ(first["serial_number"].string(), "TVS2-00417");
  EXPECT_EQ(first["friendly_name"].string(), "Tovanel Stereo Camera S2");
  EXPECT_EQ(first["descriptor_text"].string(), "Tovanel Imaging");
  EXPECT_EQ(first["extra_text"].string(), "");
  EXPECT_EQ(first["device_path"].string(),
            "\\\\?\\usb#vid_0c45&pid_6368&mi_00#7&1a2b3c4d&0&0000#{e5323777-f976-4f5b-9b55-b94699c46e44}\\global");
  const std::vector<JsonValue>& backends = first["capture_backends"].array();
  ASSERT_EQ(backends.size(), 2u);
  EXPECT_EQ(backends[0]["name"].string(), "CAP_DSHOW");
  EXPECT_EQ(backends[0]["api"].number(), 700);
  EXPECT_EQ(backends[0]["index"].number(), 2);
  EXPECT_EQ(backends[1]["name"].string(), "CAP_MSMF");
  EXPECT_EQ(backends[1]["api"].number(), 1400);
  EXPECT_EQ(backends[1]["index"].number(), 1);
  EXPECT_EQ(cameras[1]["serial_number"].string(), "TVS1-01288");
  EXPECT_EQ(cameras[1]["capture_backends"][0]["index"].number(), 0);
}

TEST_F(ScanCommand, FiltersByVendorAndProductId) {
  const ToolRun run = run_tool({"scan", "--vid", "0x0C45", "--pid", "6366", "--json"});
  ASSERT_EQ(run.status, 0) << run.err;
  const JsonValue document = JsonValue::parse(run.out);
  ASSERT_EQ(document["cameras"].array().size(), 1u);
  EXPECT_EQ(document["cameras"][0]["serial_number"].string(), "TVS1-01288");
  EXPECT_EQ(document["cameras"][0]["index"].number(), 0);
}

TEST_F(ScanCommand, RequireSerialLeavesOutCamerasWithoutOne) {
  sim::SimulatedCamera anonymous;
  anonymous.vendor_id = supported_camera_models().at(3).vendor_id;
  anonymous.product_id = supported_camera_models().at(3).product_id;
  anonymous.device_path =
      "\\\\?\\usb#vid_0c45&pid_6369&mi_00#8&aa&0&0000#{e5323777-f976-4f5b-9b55-b94699c46e44}\\global";
  anonymous.device_name = "Tovanel Stereo Camera";
  anonymous.product_string = "Tovanel Stereo Camera";
  rig_.add_camera(anonymous);
  const ToolRun all = run_tool({"scan", "--json"});
  ASSERT_EQ(all.status, 0) << all.err;
  EXPECT_EQ(JsonValue::parse(all.out)["cameras"].array().size(), 3u) << all.out;
  const ToolRun run = run_tool({"scan", "--require-serial", "--json"});
  ASSERT_EQ(run.status, 0) << run.err;
  const JsonValue document = JsonValue::parse(run.out);
  const std::vector<JsonValue>& cameras = document["cameras"].array();
  ASSERT_EQ(cameras.size(), 2u);
  EXPECT_EQ(cameras[0]["serial_number"].string(), "TVS2-00417");
  EXPECT_EQ(cameras[1]["serial_number"].string(), "TVS1-01288");
}

TEST_F(ScanCommand, NoMatchingCameraIsAnEmptyListNotAnError) {
  const ToolRun table = run_tool({"scan", "--pid", "1234"});
  EXPECT_EQ(table.status, 0);
  EXPECT_EQ(table.out, "");
  EXPECT_EQ(table.err, "no supported camera found\n");
  const ToolRun json = run_tool({"scan", "--pid", "1234", "--json"});
  EXPECT_EQ(json.status, 0);
  EXPECT_TRUE(JsonValue::parse(json.out)["cameras"].array().empty());
}

TEST_F(ScanCommand, AMalformedIdIsAUsageError) {
  const ToolRun run = run_tool({"scan", "--vid", "xyz"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            "uvc-stereo: UsageError: --vid takes a hexadecimal USB vendor id such as 0c45, not 'xyz' "
            "(see: uvc-stereo scan --help)\n");
  EXPECT_TRUE(rig_.calls().empty());
}

TEST(ScanCommandSimulated, RunsWithoutAnyCameraOrRigOfItsOwn) {
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"--simulate", "scan"}, std::vector<std::string>{"scan", "--simulate"}}) {
    const ToolRun run = run_tool(args);
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(lines_of(run.out).size(), 3u) << run.out;
    EXPECT_NE(run.out.find("TVS2-00417"), std::string::npos);
    EXPECT_NE(run.out.find("TVS1-01288"), std::string::npos);
  }
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
