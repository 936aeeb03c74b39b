// The SDK's own cost of one IMU read, and of one sample delivered by the IMU stream. The camera is opened through the
// simulated rig as an application would open it; the reads then go to the bridge's instant extension unit, which copies
// a fixed 17-byte sample and returns at once, so what is measured is the SDK around the library call: the vendor lock,
// the host clock, the buffer, the decoding and the result. Allocations made by the read are counted too.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bench_report.h"
#include "bench_rig_camera.h"
#include "bridge/imu_reader.h"
#include "bridge/os/host_clock.h"
#include "bridge/os/pause.h"
#include "bridge/platform.h"
#include "imu/imu_payload.h"
#include "imu/model_table.h"
#include "support/allocation_counter.h"
#include "support/stand_in_library.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/imu_stream.h"
#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/vendor_lock.h"

namespace {

namespace sdk = tovanel::uvc_stereo;
namespace bridge = tovanel::uvc_stereo::detail::bridge;

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
class OpenImu : public sdk::bench::RigCamera {
 public:
  OpenImu() : RigCamera(Imu::Open) {
    if (failure().empty()) {
      use_instant();
    }
  }

  ~OpenImu() {
    use_rig();
    close();
  }

  OpenImu(const OpenImu&) = delete;
  OpenImu& operator=(const OpenImu&) = delete;

  void use_rig() { instant_in_force_.reset(); }
  // The instant extension unit answers the fixed sample, its counter advancing after each read when `counting`.
  void use_instant(bool counting = false) {
    instant_in_force_.reset();
    instant_in_force_.emplace(std::vector<std::uint8_t>(kSample.begin(), kSample.end()), counting);
  }

 private:
  std::optional<bridge::InstantExtensionUnit> instant_in_force_;
};

// Device::read_imu, the public operation.
void DeviceReadImu(benchmark::State& state) {
  OpenImu open;
  if (sdk::bench::skipped_for(state, open.failure())) {
    return;
  }
  if (!open.device().read_imu().ok()) {
    state.SkipWithError("read_imu failed");
    return;
  }
  sdk::test_support::AllocationCount allocations;
  for (auto _ : state) {
    sdk::Result<sdk::ReadImuResult> sample = open.device().read_imu();
    benchmark::DoNotOptimize(sample);
  }
  sdk::bench::report_per_iteration(state, "allocs_per_read", allocations.stop());
}
BENCHMARK(DeviceReadImu);

// A host clock that moves only 1 us per reading and jumps to the end of every wait, so that the stream's pacing
// costs no real time and what is measured is the stream's own work.
struct WaitlessClock {
  std::uint64_t now_ns = 1000000000;
};

std::uint64_t waitless_now(void* context) { return static_cast<WaitlessClock*>(context)->now_ns += 1000; }

void waitless_sleep_until(std::uint64_t deadline_ns, void* context) {
  auto* clock = static_cast<WaitlessClock*>(context);
  clock->now_ns = std::max(clock->now_ns, deadline_ns);
}

// ImuStream::pull of one sample, on a camera whose every read answers a new sample: the SDK's cost per delivered
// sample (the read as above, the timeline and the clock fit, the conversion), beside DeviceReadImu's per read.
void ImuStreamPerSample(benchmark::State& state) {
  OpenImu open;
  if (sdk::bench::skipped_for(state, open.failure())) {
    return;
  }
  open.use_instant(true);
  WaitlessClock clock;
  const bridge::HostClock host_clock{waitless_now, waitless_sleep_until, &clock};
  bridge::PlatformTable entries;
  entries.host_clock = &host_clock;
  const bridge::PlatformOverride waitless(entries);
  sdk::Result<sdk::ImuStream> stream = sdk::ImuStream::open(open.device());
  if (!stream.ok()) {
    state.SkipWithError(stream.status().message().c_str());
    return;
  }
  sdk::ImuStreamSample sample;
  for (int i = 0; i < 1000; ++i) {
    if (stream.value().pull(&sample, 1, std::chrono::seconds(1)).count != 1) {
      state.SkipWithError("the stream delivered no sample");
      return;
    }
  }
  std::size_t delivered = 0;
  sdk::test_support::AllocationCount allocations;
  for (auto _ : state) {
    const sdk::ImuPull pulled = stream.value().pull(&sample, 1, std::chrono::seconds(1));
    delivered += pulled.count;
    benchmark::DoNotOptimize(sample);
  }
  sdk::bench::report_per_iteration(state, "allocs_per_sample", allocations.stop());
  if (delivered != static_cast<std::size_t>(state.iterations())) {
    state.SkipWithError("a pull delivered no sample");
  }
}
BENCHMARK(ImuStreamPerSample);

// The same read one layer down, on a reader of its own (sessions nest, so the device's open IMU does not mind).
void ImuReaderRead(benchmark::State& state) {
  OpenImu open;
  if (sdk::bench::skipped_for(state, open.failure())) {
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
  sdk::test_support::AllocationCount allocations;
  for (auto _ : state) {
    sdk::Result<sdk::ReadImuResult> sample = reader.value().read();
    benchmark::DoNotOptimize(sample);
  }
  sdk::bench::report_per_iteration(state, "allocs_per_read", allocations.stop());
  open.use_rig();
}
BENCHMARK(ImuReaderRead);

// The floor: the stand-in's read alone, through the SDK's dispatch to the active vendor backend.
void VendorXuReadAlone(benchmark::State& state) {
  OpenImu open;
  if (sdk::bench::skipped_for(state, open.failure())) {
    return;
  }
  std::array<std::uint8_t, 17> buffer{};
  const sdk::win_detail::SonixGlobalLock lock;
  for (auto _ : state) {
    benchmark::DoNotOptimize(bridge::InstantExtensionUnit::read_through_dispatch(buffer.data(), 17, 10, 4));
    benchmark::ClobberMemory();
  }
}
BENCHMARK(VendorXuReadAlone);

// The pieces of a read, each alone.
void HostClock(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(bridge::now_ns());
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
