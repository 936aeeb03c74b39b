// One IMU read through the Linux backend beside the bare control query it makes, on the same fake capture node of
// the fake kernel the Linux tests use. The fake answers the query in this process, as the UVC driver would answer
// the ioctl, so the difference between the two is what the SDK and the backend add around the query: the vendor
// lock, finding the camera's open node, the host clock, the decoding and the result. Allocations and control
// queries per read are counted too.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <linux/usb/video.h>
#include <linux/uvcvideo.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bench_open_imu.h"
#include "bench_report.h"
#include "bridge/platform.h"
#include "linux/fake_cameras.h"
#include "linux/fake_kernel.h"
#include "linux/fake_kernel_platform.h"
#include "support/allocation_counter.h"
#include "uvc_stereo/device.h"

namespace {

namespace sdk = tovanel::uvc_stereo;
namespace bridge = tovanel::uvc_stereo::detail::bridge;
namespace fake = tovanel::uvc_stereo::linux_testing;

constexpr std::uint8_t kImuUnit = 4;
constexpr std::uint8_t kImuSelector = 10;
constexpr std::uint16_t kImuLength = 17;

// One camera on the fake kernel, opened through the Linux backend with its IMU open.
class LinuxCamera {
 public:
  LinuxCamera() {
    kernel_.add_camera(fake::supported_camera("SN-BENCH", "1-2", 0));
    platform_.emplace(fake::fake_kernel_platform(kernel_.table()));
    sdk::DeviceInfo info;
    device_ = sdk::bench::open_only_camera_with_imu(failure_, info);
    // The fake's own log of accesses would grow with every read; the counters remain.
    kernel_.log_accesses(false);
  }
  ~LinuxCamera() {
    if (device_.has_value()) {
      (void)device_->close_imu();
    }
    device_.reset();
    platform_.reset();
  }
  LinuxCamera(const LinuxCamera&) = delete;
  LinuxCamera& operator=(const LinuxCamera&) = delete;

  [[nodiscard]] const std::string& failure() const { return failure_; }
  sdk::Device& device() { return *device_; }
  fake::FakeKernel& kernel() { return kernel_; }

 private:
  fake::FakeKernel kernel_;
  std::optional<bridge::PlatformOverride> platform_;
  std::optional<sdk::Device> device_;
  std::string failure_;
};

void report_per_read(benchmark::State& state, long allocations, long queries) {
  sdk::bench::report_per_iteration(state, "allocs_per_read", allocations);
  sdk::bench::report_per_iteration(state, "queries_per_read", queries);
}

// Device::read_imu through the Linux backend.
void BM_LinuxImuRead(benchmark::State& state) {
  LinuxCamera camera;
  if (sdk::bench::skipped_for(state, camera.failure())) {
    return;
  }
  const long queries_before = camera.kernel().control_queries();
  sdk::test_support::AllocationCount allocations;
  for (auto _ : state) {
    sdk::Result<sdk::ReadImuResult> sample = camera.device().read_imu();
    if (!sample.ok()) {
      state.SkipWithError(sample.status().message().c_str());
      break;
    }
    benchmark::DoNotOptimize(sample);
  }
  const long allocated = allocations.stop();
  report_per_read(state, allocated, camera.kernel().control_queries() - queries_before);
}
BENCHMARK(BM_LinuxImuRead);

// The bare UVCIOC_CTRL_QUERY of one sample on the same node, opened once: the floor under a read.
void BM_BareControlQuery(benchmark::State& state) {
  LinuxCamera camera;
  if (sdk::bench::skipped_for(state, camera.failure())) {
    return;
  }
  const bridge::LinuxKernel& kernel = camera.kernel().table();
  const int fd = kernel.open_node(camera.kernel().dev_node(0).c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) {
    state.SkipWithError("cannot open the fake capture node");
    return;
  }
  std::array<std::uint8_t, kImuLength> buffer{};
  const long queries_before = camera.kernel().control_queries();
  sdk::test_support::AllocationCount allocations;
  for (auto _ : state) {
    uvc_xu_control_query query{};
    query.unit = kImuUnit;
    query.selector = kImuSelector;
    query.query = UVC_GET_CUR;
    query.size = kImuLength;
    query.data = buffer.data();
    if (kernel.ioctl_node(fd, UVCIOC_CTRL_QUERY, &query) != 0) {
      state.SkipWithError("the fake node refused the query");
      break;
    }
    benchmark::DoNotOptimize(buffer);
  }
  const long allocated = allocations.stop();
  report_per_read(state, allocated, camera.kernel().control_queries() - queries_before);
  kernel.close_node(fd);
}
BENCHMARK(BM_BareControlQuery);

}  // namespace
