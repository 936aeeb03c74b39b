#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "bench_open_imu.h"
#include "bridge/platform.h"
#include "simulated_camera.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/models.h"
#include "uvc_stereo/simulated_rig.h"

namespace tovanel::uvc_stereo::bench {

// One camera of the third supported model in a rig in memory, opened as an application opens it (with its IMU
// when asked), the settling pauses skipped so that a benchmark times only the operation it names. The camera is
// the one the examples simulate (examples/simulated_camera.h), with its IMU at rest.
class RigCamera {
 public:
  enum class Imu : bool { Closed, Open };

  explicit RigCamera(Imu imu) {
    rig_.add_camera(examples::simulated_camera(supported_camera_models().at(2), "SN-BENCH"));
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
