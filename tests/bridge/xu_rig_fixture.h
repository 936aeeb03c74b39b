#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "imu/model_table.h"
#include "uvc_stereo/records.h"
#include "uvc_stereo/simulated_rig.h"
#include "bridge/process_lock.h"

// What the capability-probe and IMU-reader tests share: cameras of the supported models, the record a scan would
// give for one, views of the calls the rig saw, and a fixture that checks the session rules after every test.
namespace tovanel::uvc_stereo::xu_testing {

// A camera of row `model_index` of the model table, told apart by its serial number.
inline sim::SimulatedCamera camera_of_model(std::size_t model_index, const std::string& serial) {
  const detail::SupportedModel& model = detail::supported_models().at(model_index);
  sim::SimulatedCamera camera;
  camera.vendor_id = model.vendor_id;
  camera.product_id = model.product_id;
  char path[200];
  std::snprintf(path, sizeof(path),
                "\\\\?\\USB#VID_%04X&PID_%04X&MI_00#7&2f1e&0&%s#{65E8773D-8F56-11D0-A3B9-00A0C9223196}\\GLOBAL",
                static_cast<unsigned>(model.vendor_id), static_cast<unsigned>(model.product_id), serial.c_str());
  camera.device_path = path;
  camera.device_name = "USB Video Device";
  camera.product_string = "Stereo Camera";
  camera.serial_number = serial;
  return camera;
}

// The record a scan gives for `camera`.
inline DeviceInfo info_of(const sim::SimulatedCamera& camera) {
  DeviceInfo info;
  info.vendor_id = camera.vendor_id;
  info.product_id = camera.product_id;
  info.serial_number = camera.serial_number.value_or("");
  info.friendly_name = camera.product_string.value_or("");
  info.device_path = camera.device_path;
  return info;
}

inline std::vector<std::string> names_of(const std::vector<sim::VendorCall>& calls) {
  std::vector<std::string> names;
  for (const sim::VendorCall& call : calls) {
    names.push_back(call.name);
  }
  return names;
}

inline std::vector<sim::VendorCall> calls_named(const std::vector<sim::VendorCall>& calls, const std::string& name) {
  std::vector<sim::VendorCall> found;
  for (const sim::VendorCall& call : calls) {
    if (call.name == name) {
      found.push_back(call);
    }
  }
  return found;
}

// A rig whose rules must hold after every test: nothing broken, no session left open, the lock free.
class XuRigTest : public ::testing::Test {
 protected:
  void TearDown() override {
    EXPECT_TRUE(rig_.violations().empty()) << ::testing::PrintToString(rig_.violations());
    EXPECT_EQ(rig_.open_sessions(), 0);
    EXPECT_FALSE(vendor::process_lock_held_by_this_thread());
  }

  sim::SimulatedRig rig_;
};

}  // namespace tovanel::uvc_stereo::xu_testing
