// What the camera interlock costs: one uncontended hold (taken once per flash operation and
// once per IMU opening), a whole write_json with its hold, and read_imu while the IMU holds
// the camera (the hold is taken at open_imu, so a read pays nothing for it and allocates
// nothing).
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "bridge/os/camera_lock.h"
#include "bridge/platform.h"
#include "imu/model_table.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/simulated_rig.h"

namespace {

namespace sdk = tovanel::uvc_stereo;
namespace vendor = tovanel::uvc_stereo::vendor;

void no_pause(std::chrono::milliseconds, void*) {}

// One camera of a rig in memory, opened, with the settling pauses skipped.
class OpenCamera {
 public:
  OpenCamera() {
    const sdk::detail::SupportedModel& model = sdk::detail::supported_models().at(2);
    sdk::sim::SimulatedCamera camera;
    camera.vendor_id = model.vendor_id;
    camera.product_id = model.product_id;
    camera.device_path = "\\\\?\\usb#vid_0c45&pid_6368&mi_00#7&3a5c2e1f&0&0000#{65e8773d}\\global";
    camera.serial_number = "SN-BENCH";
    rig_.add_camera(camera);
    sdk::Result<std::vector<sdk::DeviceInfo>> devices = sdk::scan_devices();
    if (!devices.ok() || devices.value().size() != 1) {
      failure_ = "scan did not find the camera";
      return;
    }
    info_ = devices.value().front();
    sdk::Result<sdk::Device> opened = sdk::open_device(info_);
    if (!opened.ok()) {
      failure_ = opened.status().message();
      return;
    }
    device_.emplace(std::move(opened).value());
  }

  [[nodiscard]] const std::string& failure() const { return failure_; }
  [[nodiscard]] const sdk::DeviceInfo& info() const { return info_; }
  sdk::Device& device() { return *device_; }

 private:
  static constexpr sdk::detail::PauseHook kNoPause = {no_pause, nullptr};
  const vendor::PlatformOverride no_pauses_{vendor::replacing_pauses(kNoPause)};
  sdk::sim::SimulatedRig rig_;
  sdk::DeviceInfo info_;
  std::optional<sdk::Device> device_;
  std::string failure_;
};

// One uncontended hold of a camera, taken and released: what each flash operation (Flash)
// and each IMU opening (Imu) pays for the interlock.
void CameraLockTakeAndRelease(benchmark::State& state) {
  const auto use = state.range(0) == 0 ? vendor::CameraUse::Flash : vendor::CameraUse::Imu;
  const vendor::CameraLockPlace place = vendor::make_private_camera_lock_place();
  const std::string key = vendor::camera_lock_key("\\\\?\\usb#vid_0c45&pid_6368#bench", 0, 0, "");
  for (auto _ : state) {
    sdk::Result<vendor::CameraLock> held = vendor::CameraLock::take(place, key, use, std::chrono::milliseconds(0));
    if (!held.ok()) {
      state.SkipWithError(held.status().message().c_str());
      break;
    }
    benchmark::DoNotOptimize(held);
  }
  vendor::remove_private_camera_lock_place(place);
}
BENCHMARK(CameraLockTakeAndRelease)->Arg(0)->Arg(1)->ArgName("imu");

// Device::write_json of a small record on the simulated camera, its hold included.
void DeviceWriteJson(benchmark::State& state) {
  OpenCamera open;
  if (!open.failure().empty()) {
    state.SkipWithError(open.failure().c_str());
    return;
  }
  for (auto _ : state) {
    const sdk::Status written = open.device().write_json("{\"baseline_mm\":50.5,\"rate_hz\":200}");
    if (!written.ok()) {
      state.SkipWithError(written.message().c_str());
      break;
    }
  }
}
BENCHMARK(DeviceWriteJson);

// Device::read_imu while another Device of the process also has the camera's IMU open, so
// the camera is held shared by two readers.
void DeviceReadImuBesideAnotherReader(benchmark::State& state) {
  OpenCamera open;
  if (!open.failure().empty()) {
    state.SkipWithError(open.failure().c_str());
    return;
  }
  sdk::Result<sdk::Device> other = sdk::open_device(open.info());
  if (!other.ok() || !other.value().open_imu().ok() || !open.device().open_imu().ok()) {
    state.SkipWithError("open_imu failed");
    return;
  }
  for (auto _ : state) {
    sdk::Result<sdk::ReadImuResult> sample = open.device().read_imu();
    benchmark::DoNotOptimize(sample);
  }
}
BENCHMARK(DeviceReadImuBesideAnotherReader);

}  // namespace
