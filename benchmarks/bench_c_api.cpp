// What the C interface adds to an IMU read: one sample through Device::read_imu, one through
// uvc_stereo_device_read_imu, and a batch of 1000 through uvc_stereo_device_read_imu_samples (the call a Python
// read_imu_samples(1000) makes), all against the simulated rig, so each includes the rig's own cost per read and the
// differences are the interface's.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <vector>

#include "c_api/handles.h"
#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/uvc_stereo_c.h"

namespace {

constexpr std::size_t kBatch = 1000;

// A rig with one supported camera, opened through the C interface with its IMU reader open.
class OpenImu {
 public:
  OpenImu() {
    tovanel::uvc_stereo::sim::SimulatedCamera camera;
    camera.product_id = 0x6368;
    camera.serial_number = "SN-BENCH-C";
    rig_.add_camera(camera);
    uvc_stereo_device_list_t* list = nullptr;
    ok_ = uvc_stereo_scan_devices(nullptr, &list) == UVC_STEREO_OK &&
          uvc_stereo_open_device(list, 0, nullptr, &device_) == UVC_STEREO_OK &&
          uvc_stereo_device_open_imu(device_) == UVC_STEREO_OK;
    uvc_stereo_device_list_free(list);
  }
  ~OpenImu() {
    if (device_ != nullptr) {
      (void)uvc_stereo_device_close_imu(device_);
      uvc_stereo_device_close(device_);
    }
  }
  OpenImu(const OpenImu&) = delete;
  OpenImu& operator=(const OpenImu&) = delete;

  // The rig logs every call; emptying the log now and then keeps its growth out of the measurement.
  void forget_calls() { rig_.clear_calls(); }

  bool ok_ = false;
  tovanel::uvc_stereo::sim::SimulatedRig rig_;
  uvc_stereo_device_t* device_ = nullptr;
};

void BM_CppReadImu(benchmark::State& state) {
  OpenImu open;
  if (!open.ok_) {
    state.SkipWithError(uvc_stereo_last_error_message());
    return;
  }
  std::size_t reads = 0;
  for (auto _ : state) {
    auto sample = open.device_->device.read_imu();
    benchmark::DoNotOptimize(sample);
    if (++reads % kBatch == 0) {
      open.forget_calls();
    }
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}
BENCHMARK(BM_CppReadImu);

void BM_CReadImu(benchmark::State& state) {
  OpenImu open;
  if (!open.ok_) {
    state.SkipWithError(uvc_stereo_last_error_message());
    return;
  }
  uvc_stereo_imu_sample_t sample{};
  sample.struct_size = sizeof(sample);
  std::size_t reads = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(uvc_stereo_device_read_imu(open.device_, &sample));
    if (++reads % kBatch == 0) {
      open.forget_calls();
    }
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}
BENCHMARK(BM_CReadImu);

void BM_CReadImuSamples1000(benchmark::State& state) {
  OpenImu open;
  if (!open.ok_) {
    state.SkipWithError(uvc_stereo_last_error_message());
    return;
  }
  std::vector<uvc_stereo_imu_sample_t> samples(kBatch);
  for (uvc_stereo_imu_sample_t& sample : samples) {
    sample.struct_size = sizeof(sample);
  }
  for (auto _ : state) {
    std::size_t read = 0;
    benchmark::DoNotOptimize(uvc_stereo_device_read_imu_samples(open.device_, samples.data(), kBatch, &read));
    open.forget_calls();
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kBatch));
}
BENCHMARK(BM_CReadImuSamples1000);

}  // namespace
