#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "uvc_stereo/device.h"

namespace tovanel::uvc_stereo::bench {

// Scans for the one camera there is and opens it, as an application would. Returns the device; on failure nothing,
// with the step that failed and why in `failure`. `info` receives the scanned description.
inline std::optional<Device> open_only_camera(std::string& failure, DeviceInfo& info) {
  Result<std::vector<DeviceInfo>> devices = scan_devices();
  if (!devices.ok() || devices.value().size() != 1) {
    failure = "scan did not find the camera";
    return std::nullopt;
  }
  info = devices.value().front();
  Result<Device> opened = open_device(info);
  if (!opened.ok()) {
    failure = "open_device: " + opened.status().message();
    return std::nullopt;
  }
  return std::optional<Device>(std::move(opened).value());
}

// As open_only_camera, then starts its IMU.
inline std::optional<Device> open_only_camera_with_imu(std::string& failure, DeviceInfo& info) {
  std::optional<Device> device = open_only_camera(failure, info);
  if (!device.has_value()) {
    return std::nullopt;
  }
  const Status imu = device->open_imu();
  if (!imu.ok()) {
    failure = "open_imu: " + imu.message();
    return std::nullopt;
  }
  return device;
}

}  // namespace tovanel::uvc_stereo::bench
