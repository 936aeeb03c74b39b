// What the camera interlock costs: one uncontended hold (taken once per flash operation and
// once per IMU opening), a whole write_json with its hold, and read_imu while the IMU holds
// the camera (the hold is taken at open_imu, so a read pays nothing for it and allocates
// nothing).
#include <benchmark/benchmark.h>

#include <chrono>
#include <string>

#include "bench_report.h"
#include "bench_rig_camera.h"
#include "bridge/os/camera_lock.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/simulated_rig.h"

namespace {

namespace sdk = tovanel::uvc_stereo;
namespace bridge = tovanel::uvc_stereo::detail::bridge;

// One camera of a rig in memory, opened, with the settling pauses skipped.
using OpenCamera = sdk::bench::RigCamera;

// One uncontended hold of a camera, taken and released: what each flash operation (Flash)
// and each IMU opening (Imu) pays for the interlock.
void CameraLockTakeAndRelease(benchmark::State& state) {
  const auto use = state.range(0) == 0 ? bridge::CameraUse::Flash : bridge::CameraUse::Imu;
  const bridge::CameraLockPlace place = bridge::make_private_camera_lock_place();
  const std::string key = bridge::camera_lock_key("\\\\?\\usb#vid_0c45&pid_6368#bench", 0, 0, "");
  for (auto _ : state) {
    sdk::Result<bridge::CameraLock> held = bridge::CameraLock::take(place, key, use, std::chrono::milliseconds(0));
    if (!held.ok()) {
      state.SkipWithError(held.status().message().c_str());
      break;
    }
    benchmark::DoNotOptimize(held);
  }
  bridge::remove_private_camera_lock_place(place);
}
BENCHMARK(CameraLockTakeAndRelease)->Arg(0)->Arg(1)->ArgName("imu");

// Device::write_json of a small record on the simulated camera, its hold included.
void DeviceWriteJson(benchmark::State& state) {
  OpenCamera open(OpenCamera::Imu::Closed);
  if (sdk::bench::skipped_for(state, open.failure())) {
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
  OpenCamera open(OpenCamera::Imu::Closed);
  if (sdk::bench::skipped_for(state, open.failure())) {
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
