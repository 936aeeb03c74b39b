// The rig camera record of the C interface: its defaults and its C++ counterpart.

#include "c_api/rig_camera.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>

#include "c_api/boundary.h"
#include "c_api/records.h"

namespace tovanel::uvc_stereo::c_api {
namespace {

std::optional<std::string> optional_text(const char* text) {
  return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}

const char* optional_pointer(const std::optional<std::string>& text) noexcept { return text ? text->c_str() : nullptr; }

// Whether the caller's camera reaches node_access (added after the first release).
bool has_node_access(const uvc_stereo_rig_camera_t& camera) noexcept {
  return covers(camera, offsetof(uvc_stereo_rig_camera_t, node_access) + sizeof(camera.node_access));
}

}  // namespace

sim::SimulatedCamera from_c(const uvc_stereo_rig_camera_t& camera) {
  sim::SimulatedCamera out;
  out.vendor_id = camera.vendor_id;
  out.product_id = camera.product_id;
  out.descriptor_order = static_cast<sim::DescriptorByteOrder>(camera.descriptor_order);
  out.device_path = or_empty(camera.device_path);
  out.device_name = or_empty(camera.device_name);
  out.product_string = optional_text(camera.product_string);
  out.descriptor_3 = optional_text(camera.descriptor_3);
  out.serial_number = optional_text(camera.serial_number);
  out.firmware_version = or_empty(camera.firmware_version);
  out.flash_type = camera.flash_type;
  out.flash_size = camera.flash_size;
  out.flash_sector_size = camera.flash_sector_size;
  out.user_space_address = camera.user_space_address;
  out.user_space_size = camera.user_space_size;
  if (camera.capability != nullptr) {
    out.capability = from_c(*camera.capability);
  }
  std::copy(std::begin(camera.capability_report), std::end(camera.capability_report), out.capability_report.begin());
  out.imu_unit = camera.imu_unit;
  out.imu_selector = camera.imu_selector;
  out.imu_length = camera.imu_length;
  out.imu.motion = static_cast<sim::ImuMotion>(camera.imu_motion);
  out.imu.first_counter = camera.imu_first_counter;
  out.imu.counter_step = camera.imu_counter_step;
  out.imu.temperature_c = camera.imu_temperature_c;
  out.imu.seed = camera.imu_seed;
  if (has_node_access(camera)) {
    out.node_access = static_cast<sim::SimulatedNodeAccess>(camera.node_access);
  }
  return out;
}

Status check_node_access(std::int32_t access, const char* function, const char* name) {
  if (access >= UVC_STEREO_NODE_ACCESS_ALLOWED && access <= UVC_STEREO_NODE_ACCESS_BUSY) {
    return Status();
  }
  return Status(ErrorCode::InvalidArgument,
                std::string(function) + ": " + name + " is not a UVC_STEREO_NODE_ACCESS_* value");
}

Status check_node_access(const uvc_stereo_rig_camera_t& camera, const char* function) {
  return has_node_access(camera) ? check_node_access(camera.node_access, function, "camera.node_access") : Status();
}

void write_defaults(uvc_stereo_rig_camera_t& camera) {
  static const sim::SimulatedCamera defaults;
  camera.vendor_id = defaults.vendor_id;
  camera.product_id = defaults.product_id;
  camera.descriptor_order = static_cast<std::int32_t>(defaults.descriptor_order);
  camera.device_path = defaults.device_path.c_str();
  camera.device_name = defaults.device_name.c_str();
  camera.product_string = optional_pointer(defaults.product_string);
  camera.descriptor_3 = optional_pointer(defaults.descriptor_3);
  camera.serial_number = optional_pointer(defaults.serial_number);
  camera.firmware_version = defaults.firmware_version.c_str();
  camera.flash_type = defaults.flash_type;
  camera.flash_size = defaults.flash_size;
  camera.flash_sector_size = defaults.flash_sector_size;
  camera.user_space_address = defaults.user_space_address;
  camera.user_space_size = defaults.user_space_size;
  static const std::optional<uvc_stereo_capability_report_t> default_report =
      [&]() -> std::optional<uvc_stereo_capability_report_t> {
    if (!defaults.capability) {
      return std::nullopt;
    }
    uvc_stereo_capability_report_t report{};
    report.struct_size = sizeof(report);
    to_c(*defaults.capability, report);
    return report;
  }();
  camera.capability = default_report ? &*default_report : nullptr;
  std::copy(defaults.capability_report.begin(), defaults.capability_report.end(), std::begin(camera.capability_report));
  camera.imu_unit = defaults.imu_unit;
  camera.imu_selector = defaults.imu_selector;
  camera.imu_length = defaults.imu_length;
  camera.imu_motion = static_cast<std::int32_t>(defaults.imu.motion);
  camera.imu_first_counter = defaults.imu.first_counter;
  camera.imu_counter_step = defaults.imu.counter_step;
  camera.imu_temperature_c = defaults.imu.temperature_c;
  camera.imu_seed = defaults.imu.seed;
  if (has_node_access(camera)) {
    camera.node_access = static_cast<std::int32_t>(defaults.node_access);
  }
}

}  // namespace tovanel::uvc_stereo::c_api
