#include "sim/extension_unit.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "capability/capability_report_encoder.h"

namespace tovanel::uvc_stereo::sim {

CameraState plugged_camera_state(const SimulatedCamera& camera, std::uint64_t now_ns) {
  SimulatedCamera plugged = camera;
  if (plugged.capability) {
    plugged.capability_report = detail::encode_xu_capability_report(*plugged.capability);
  }
  CameraState state(plugged);
  if (state.timed_imu) {
    state.timed_imu->power_up(now_ns);
  }
  return state;
}

bool read_extension_unit(CameraState& camera, std::uint8_t selector, std::uint8_t unit_id, std::uint8_t* buffer,
                         std::size_t length, std::uint64_t now_ns, std::uint64_t& transfer_ns) {
  transfer_ns = 0;
  const SimulatedCamera& config = camera.config;
  if (selector == kCapabilitySelector && unit_id == kCapabilityUnit && length == kCapabilityLength) {
    std::memcpy(buffer, config.capability_report.data(), kCapabilityLength);
    return true;
  }
  if (selector == config.imu_selector && unit_id == config.imu_unit && length >= config.imu_length) {
    std::memset(buffer, 0, length);
    std::optional<TimedImuAnswer> timed;
    if (camera.timed_imu) {
      // Every read takes its transfer time, whatever it answers.
      timed = camera.timed_imu->read(now_ns);
      transfer_ns = timed->transfer_ns;
    }
    if (!camera.imu_status.empty()) {
      // A status reply carries only its status byte; the IMU took no sample.
      buffer[0] = camera.imu_status.front();
      camera.imu_status.pop_front();
      return true;
    }
    if (timed) {
      camera.timed_imu->delivered(*timed);
    }
    const ImuPayload sample =
        timed ? camera.imu.sample_at(timed->counter, timed->sample_number) : camera.imu.next_sample();
    std::memcpy(buffer, sample.data(), std::min<std::size_t>(sample.size(), length));
    return true;
  }
  return false;
}

}  // namespace tovanel::uvc_stereo::sim
