#pragma once

#include <chrono>
#include <cstdio>
#include <optional>
#include <string>

#include "bench_open_imu.h"
#include "bridge/platform.h"
#include "imu/model_table.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/simulated_rig.h"

namespace tovanel::uvc_stereo::bench {

// One camera of the third supported model in a rig in memory, opened as an application opens it (with its IMU
// when asked), the settling pauses skipped so that a benchmark times only the operation it names.
class RigCamera {
 public:
  enum class Imu : bool { Closed, Open };

  explicit RigCamera(Imu imu) {
    const detail::SupportedModel& model = detail::supported_models().at(2);
    sim::SimulatedCamera camera;
    camera.vendor_id = model.vendor_id;
    camera.product_id = model.product_id;
    char path[192];
    std::snprintf(path, sizeof(path),
                  "\\\\?\\usb#vid_%04x&pid_%04x&mi_00#7&3a5c2e1f&0&0000#{65e8773d-8f56-11d0-a3b9-00a0c9223196}\\global",
                  static_cast<unsigned>(model.vendor_id), static_cast<unsigned>(model.product_id));
    camera.device_path = path;
    camera.device_name = "Tovanel Stereo Camera";
    camera.serial_number = "SN-BENCH";
    rig_.add_camera(camera);
    device_ = imu == Imu::Open ? open_only_camera_with_imu(failure_, info_) : open_only_camera(failure_, info_);
  }
  RigCamera(const RigCamera&) = delete;
  RigCamera& operator=(const RigCamera&) = delete;

  // Empty when the camera is open, else the step that failed and why.
  [[nodiscard]] const std::string& failure() const { return failure_; }
  [[nodiscard]] const DeviceInfo& info() const { return info_; }
  Device& device() { return *device_; }

 protected:
  // Closes the device before the rig goes.
  void close() { device_.reset(); }

 private:
  static void no_pause(std::chrono::milliseconds, void*) {}
  static constexpr detail::bridge::PauseHook kNoPause = {no_pause, nullptr};
  const detail::bridge::PlatformOverride no_pauses_{detail::bridge::replacing_pauses(kNoPause)};
  sim::SimulatedRig rig_;
  DeviceInfo info_;
  std::optional<Device> device_;
  std::string failure_;
};

}  // namespace tovanel::uvc_stereo::bench
