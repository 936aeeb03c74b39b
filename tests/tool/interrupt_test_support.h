#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "tool/tool_test_support.h"
#include "uvc_stereo/device.h"

// What the interrupt tests share: the line a held interrupt prints at once, and the record
// the first camera holds, read back through the SDK rather than through the tool under test.
namespace tovanel::uvc_stereo::tool_testing {

inline const std::string kFinishingLine =
    "\nuvc-stereo: interrupted while the flash is being written; finishing the write and its verification first\n";

// The configuration record camera 0 holds now.
inline std::string stored_configuration() {
  Result<std::vector<DeviceInfo>> devices = scan_devices();
  EXPECT_TRUE(devices.ok() && !devices.value().empty());
  if (!devices.ok() || devices.value().empty()) {
    return {};
  }
  Result<Device> device = open_device(devices.value().front());
  EXPECT_TRUE(device.ok()) << device.status().message();
  if (!device.ok()) {
    return {};
  }
  Result<ReadJsonResult> read = device.value().read_json();
  EXPECT_TRUE(read.ok()) << read.status().message();
  return read.ok() ? read.value().json : std::string();
}

// An IMU stream in virtual time that an interrupt reaches in the middle of one of its reads.
class InterruptedImuTest : public VirtualTimeScenarioTest {
 protected:
  struct InterruptedStream {
    ToolRun run;
    int reads = 0;             ///< the reads of the IMU the tool made
    std::size_t answered = 0;  ///< the samples the camera answered
    std::string plot;          ///< where the tool was told to write its plot
  };

  // Streams the first camera's IMU as CSV with a plot into `scratch`, calling `interrupt` during
  // read number `at`; the samples answered are counted from the start of this run alone.
  InterruptedStream stream_interrupted_at_read(int at, const std::function<void()>& interrupt,
                                               const ScratchDirectory& scratch) {
    InterruptedStream stream;
    rig_.on_call("SonixCam_XuRead", [&](const sim::VendorCall& call) {
      // The IMU's own extension unit (unit 4, selector 10), not the capability report's.
      if (call.args.size() == 3 && call.args[1] == 10 && ++stream.reads == at) {
        interrupt();
      }
    });
    (void)rig_.take_imu_truth(kReportingCamera);
    stream.plot = scratch.file("imu.svg");
    stream.run = run_tool({"imu", "--index", "0", "--csv", "--plot", stream.plot});
    rig_.clear_call_hooks();
    stream.answered = rig_.take_imu_truth(kReportingCamera).size();
    return stream;
  }
};

}  // namespace tovanel::uvc_stereo::tool_testing
