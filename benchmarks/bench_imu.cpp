// The SDK's own cost of one IMU read. The camera is opened through the simulated rig as an application would open
// it; the reads then go to the bridge's instant extension unit, which copies a fixed 17-byte sample and returns at
// once, so what is measured is the SDK around the library call: the vendor lock, the host clock, the
// buffer, the decoding and the result. Allocations made by the read are counted too.
#include <benchmark/benchmark.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bridge/imu_reader.h"
#include "bridge/os/host_clock.h"
#include "bridge/os/pause.h"
#include "bridge/platform.h"
#include "imu/imu_payload.h"
#include "imu/model_table.h"
#include "support/stand_in_library.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/vendor_lock.h"

namespace {

std::atomic<bool> g_counting{false};
std::atomic<long> g_allocations{0};

void* counted(std::size_t size) {
  if (g_counting.load(std::memory_order_relaxed)) {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
  }
  if (void* memory = std::malloc(size == 0 ? 1 : size)) {
    return memory;
  }
  throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) { return counted(size); }
void* operator new[](std::size_t size) { return counted(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

namespace {

namespace sdk = tovanel::uvc_stereo;
namespace vendor = tovanel::uvc_stereo::vendor;

void no_pause(std::chrono::milliseconds, void*) {}

std::array<std::uint8_t, sdk::detail::kImuPayloadSize> fixed_sample() {
  sdk::ReadImuResult sample;
  sample.temperature_raw = 832;
  sample.accel_raw = {12, -7, 2048};
  sample.gyro_raw = {3, -2, 1};
  sample.sample_counter = 0x12345;
  std::array<std::uint8_t, sdk::detail::kImuPayloadSize> bytes{};
  sdk::detail::encode_imu_payload(sample, bytes);
  return bytes;
}

const std::array<std::uint8_t, sdk::detail::kImuPayloadSize> kSample = fixed_sample();

// A camera opened with its IMU open, and the instant extension unit in front of the rig while it lives; the rig
// comes back for closing.
class OpenImu {
 public:
  OpenImu() {
    const sdk::detail::SupportedModel& model = sdk::detail::supported_models().at(2);
    sdk::sim::SimulatedCamera camera;
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
    sdk::Result<std::vector<sdk::DeviceInfo>> devices = sdk::scan_devices();
    if (!devices.ok() || devices.value().size() != 1) {
      failure_ = "scan did not find the camera";
      return;
    }
    info_ = devices.value().front();
    sdk::Result<sdk::Device> opened = sdk::open_device(info_);
    if (!opened.ok()) {
      failure_ = "open_device: " + opened.status().message();
      return;
    }
    device_.emplace(std::move(opened).value());
    const sdk::Status imu = device_->open_imu();
    if (!imu.ok()) {
      failure_ = "open_imu: " + imu.message();
      return;
    }
    use_instant();
  }

  ~OpenImu() {
    use_rig();
    device_.reset();
  }

  OpenImu(const OpenImu&) = delete;
  OpenImu& operator=(const OpenImu&) = delete;

  [[nodiscard]] const std::string& failure() const { return failure_; }
  void use_rig() { instant_in_force_.reset(); }
  void use_instant() { instant_in_force_.emplace(std::vector<std::uint8_t>(kSample.begin(), kSample.end())); }
  sdk::Device& device() { return *device_; }
  [[nodiscard]] const sdk::DeviceInfo& info() const { return info_; }

 private:
  static constexpr sdk::detail::PauseHook kNoPause = {no_pause, nullptr};
  const vendor::PlatformOverride no_pauses_{vendor::replacing_pauses(kNoPause)};
  sdk::sim::SimulatedRig rig_;
  sdk::DeviceInfo info_;
  std::optional<sdk::Device> device_;
  std::optional<vendor::InstantExtensionUnit> instant_in_force_;
  std::string failure_;
};

void report_allocations(benchmark::State& state, long allocations) {
  state.counters["allocs_per_read"] =
      benchmark::Counter(static_cast<double>(allocations) / static_cast<double>(state.iterations()));
}

// Device::read_imu, the public operation.
void DeviceReadImu(benchmark::State& state) {
  OpenImu open;
  if (!open.failure().empty()) {
    state.SkipWithError(open.failure().c_str());
    return;
  }
  if (!open.device().read_imu().ok()) {
    state.SkipWithError("read_imu failed");
    return;
  }
  g_allocations = 0;
  g_counting = true;
  for (auto _ : state) {
    sdk::Result<sdk::ReadImuResult> sample = open.device().read_imu();
    benchmark::DoNotOptimize(sample);
  }
  g_counting = false;
  report_allocations(state, g_allocations.load());
}
BENCHMARK(DeviceReadImu);

// The same read one layer down, on a reader of its own (sessions nest, so the device's open IMU does not mind).
void ImuReaderRead(benchmark::State& state) {
  OpenImu open;
  if (!open.failure().empty()) {
    state.SkipWithError(open.failure().c_str());
    return;
  }
  sdk::detail::ImuTransportConfig transport;
  transport.xu_unit = 4;
  transport.xu_selector = 10;
  transport.xu_length = 17;
  open.use_rig();
  sdk::Result<sdk::detail::ImuReader> reader = sdk::detail::open_imu_platform(open.info(), transport);
  open.use_instant();
  if (!reader.ok()) {
    state.SkipWithError(reader.status().message().c_str());
    return;
  }
  g_allocations = 0;
  g_counting = true;
  for (auto _ : state) {
    sdk::Result<sdk::ReadImuResult> sample = reader.value().read();
    benchmark::DoNotOptimize(sample);
  }
  g_counting = false;
  report_allocations(state, g_allocations.load());
  open.use_rig();
}
BENCHMARK(ImuReaderRead);

// The floor: the stand-in's read alone, through the SDK's dispatch to the active vendor backend.
void VendorXuReadAlone(benchmark::State& state) {
  OpenImu open;
  if (!open.failure().empty()) {
    state.SkipWithError(open.failure().c_str());
    return;
  }
  std::array<std::uint8_t, 17> buffer{};
  const sdk::win_detail::SonixGlobalLock lock;
  for (auto _ : state) {
    benchmark::DoNotOptimize(vendor::InstantExtensionUnit::read_through_dispatch(buffer.data(), 17, 10, 4));
    benchmark::ClobberMemory();
  }
}
BENCHMARK(VendorXuReadAlone);

// The pieces of a read, each alone.
void HostClock(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(sdk::detail::now_ns());
  }
}
BENCHMARK(HostClock);

void VendorLockHold(benchmark::State& state) {
  for (auto _ : state) {
    sdk::win_detail::SonixGlobalLock lock;
    benchmark::DoNotOptimize(lock.owns_lock());
  }
}
BENCHMARK(VendorLockHold);

void DecodeImuPayload(benchmark::State& state) {
  for (auto _ : state) {
    sdk::Result<sdk::ReadImuResult> sample = sdk::detail::decode_imu_payload(kSample.data(), kSample.size());
    benchmark::DoNotOptimize(sample);
  }
}
BENCHMARK(DecodeImuPayload);

}  // namespace
