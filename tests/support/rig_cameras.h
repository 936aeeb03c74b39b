#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "imu/model_table.h"
#include "uvc_stereo/simulated_rig.h"

// Cameras and call views shared by the suites that drive the simulated rig.
namespace tovanel::uvc_stereo::rig_cameras {

// A camera of one supported model (its row in the model table), named by a Windows-style device path that
// carries its ids and the serial as the instance.
inline sim::SimulatedCamera supported_camera(std::size_t model_index, const std::string& serial) {
  const detail::SupportedModel& model = detail::supported_models().at(model_index);
  sim::SimulatedCamera camera;
  camera.vendor_id = model.vendor_id;
  camera.product_id = model.product_id;
  char path[192];
  std::snprintf(path, sizeof(path),
                "\\\\?\\usb#vid_%04x&pid_%04x&mi_00#7&3a5c2e1f&0&%s#{65e8773d-8f56-11d0-a3b9-00a0c9223196}\\global",
                static_cast<unsigned>(model.vendor_id), static_cast<unsigned>(model.product_id), serial.c_str());
  camera.device_path = path;
  camera.device_name = "Tovanel Stereo Camera";
  camera.product_string = "Tovanel Stereo Camera";
  camera.serial_number = serial;
  return camera;
}

inline std::vector<std::uint8_t> bytes_of(const std::string& text) {
  return std::vector<std::uint8_t>(text.begin(), text.end());
}

// The calls of one name, in the order the rig saw them.
inline std::vector<sim::VendorCall> calls_named(const std::vector<sim::VendorCall>& calls, const std::string& name) {
  std::vector<sim::VendorCall> found;
  for (const sim::VendorCall& call : calls) {
    if (call.name == name) {
      found.push_back(call);
    }
  }
  return found;
}

}  // namespace tovanel::uvc_stereo::rig_cameras
