#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

#include "bridge/os/pause.h"
#include "bridge/platform.h"
#include "bridge/process_lock.h"
#include "imu/model_table.h"
#include "support/call_views.h"
#include "support/flash_records.h"
#include "support/pause_recorder.h"
#include "support/rig_cameras.h"
#include "support/rig_checks.h"
#include "support/scanned_device.h"
#include "uvc_stereo/checksum.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/simulated_rig.h"

// Shared pieces of the device tests: a recorder that observes the settling pauses without spending them, cameras of
// the supported models, hand-made flash records and views of the vendor calls the rig saw.
namespace tovanel::uvc_stereo::device_testing {

using test_support::bytes_of;
using test_support::calls_named;
using test_support::count_calls;
using test_support::PauseRecorder;
using test_support::RecordedPause;
using test_support::supported_camera;
using test_support::text_record;

inline std::vector<std::chrono::milliseconds> ms(std::initializer_list<int> values) {
  std::vector<std::chrono::milliseconds> result;
  for (int value : values) {
    result.emplace_back(value);
  }
  return result;
}

inline OpenDeviceOptions requiring(std::uint32_t required_capabilities) {
  OpenDeviceOptions options;
  options.required_capabilities = required_capabilities;
  return options;
}

// A rig whose rules must hold at the end of every test, with its pauses recorded instead of spent.
class DeviceRigTest : public test_support::RigTest {
 protected:
  // Plugs in a camera and returns the record a scan gives for it, found by its serial number.
  DeviceInfo plug_and_scan(const sim::SimulatedCamera& camera) {
    rig_.add_camera(camera);
    EXPECT_TRUE(camera.serial_number.has_value()) << "the camera is found by its serial number";
    return test_support::scanned_device(camera.serial_number.value_or(""));
  }

  PauseRecorder pauses_{&rig_};
};

}  // namespace tovanel::uvc_stereo::device_testing

// Opens `info` with `required` capabilities into the Device `var`, and stops the test when that fails.
#define DEVICE_TESTING_OPEN(var, info, required)                                                              \
  ::tovanel::uvc_stereo::Result<::tovanel::uvc_stereo::Device> var##_opened =                                 \
      ::tovanel::uvc_stereo::open_device((info), ::tovanel::uvc_stereo::device_testing::requiring(required)); \
  ASSERT_TRUE(var##_opened.ok()) << var##_opened.status().message();                                          \
  ::tovanel::uvc_stereo::Device var = std::move(var##_opened).value()
