#include "sim/extension_unit.h"

#include <algorithm>
#include <cstring>

#include "capability/capability_report_encoder.h"

namespace tovanel::uvc_stereo::sim {

CameraState plugged_camera_state(const SimulatedCamera& camera) {
  SimulatedCamera plugged = camera;
  if (plugged.capability) {
    plugged.capability_report = detail::encode_xu_capability_report(*plugged.capability);
  }
  return CameraState(plugged);
}

bool read_extension_unit(CameraState& camera, std::uint8_t selector, std::uint8_t unit_id, std::uint8_t* buffer,
                         std::size_t length) {
  const SimulatedCamera& config = camera.config;
  if (selector == kCapabilitySelector && unit_id == kCapabilityUnit && length == kCapabilityLength) {
    std::memcpy(buffer, config.capability_report.data(), kCapabilityLength);
    return true;
  }
  if (selector == config.imu_selector && unit_id == config.imu_unit && length >= config.imu_length) {
    std::memset(buffer, 0, length);
    if (!camera.imu_status.empty()) {
      // A status reply carries only its status byte; the IMU took no sample.
      buffer[0] = camera.imu_status.front();
      camera.imu_status.pop_front();
    } else {
      const ImuPayload sample = camera.imu.next_sample();
      std::memcpy(buffer, sample.data(), std::min<std::size_t>(sample.size(), length));
    }
    return true;
  }
  return false;
}

}  // namespace tovanel::uvc_stereo::sim
