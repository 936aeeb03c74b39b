#include "support/rig_cameras.h"

#include <cstdio>

#include "imu/model_table.h"

namespace tovanel::uvc_stereo::test_support {

std::string usb_path(std::uint16_t vid, std::uint16_t pid, const std::string& instance) {
  char path[200];
  std::snprintf(path, sizeof(path),
                "\\\\?\\USB#VID_%04X&PID_%04X&MI_00#%s#{65E8773D-8F56-11D0-A3B9-00A0C9223196}\\GLOBAL",
                static_cast<unsigned>(vid), static_cast<unsigned>(pid), instance.c_str());
  return path;
}

sim::SimulatedCamera supported_camera(std::size_t model_index, const std::string& serial) {
  const detail::SupportedModel& model = detail::supported_models().at(model_index);
  sim::SimulatedCamera camera;
  camera.vendor_id = model.vendor_id;
  camera.product_id = model.product_id;
  camera.device_path = usb_path(camera.vendor_id, camera.product_id, "7&1c0ffee&0&" + serial);
  camera.device_name = "USB Video Device";
  camera.product_string = "Tovanel Stereo Camera";
  camera.descriptor_3 = "Tovanel";
  camera.serial_number = serial;
  return camera;
}

DeviceInfo info_of(const sim::SimulatedCamera& camera) {
  DeviceInfo info;
  info.vendor_id = camera.vendor_id;
  info.product_id = camera.product_id;
  info.serial_number = camera.serial_number.value_or("");
  info.friendly_name = camera.product_string.value_or("");
  info.device_path = camera.device_path;
  return info;
}

std::string lower(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') {
      c = static_cast<char>(c - 'A' + 'a');
    }
  }
  return text;
}

}  // namespace tovanel::uvc_stereo::test_support
