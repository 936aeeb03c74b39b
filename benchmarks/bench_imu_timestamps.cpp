// How well the IMU stream stamps samples with the time they were taken. Each trace streams one hour of a simulated
// IMU in virtual time (a restart half-way and a wrap of the 20-bit counter included) through the public ImuStream,
// and holds every delivered sample against the rig's truth. Beside the stream's host_time_ns it reports two
// estimators computed from the same reads: the read's midpoint (what read_imu stamps) and a least-squares line
// through the last 15 read midpoints against the sample index (how camera SDKs commonly map device time to host
// time). It also checks that the timestamps strictly increase and that missed samples, duplicate reads and restarts
// are counted exactly.
//
//   bench_imu_timestamps            one hour per trace
//   bench_imu_timestamps --quick    two minutes per trace
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <deque>
#include <string>
#include <vector>

#include "uvc_stereo/device.h"
#include "uvc_stereo/imu_stream.h"
#include "uvc_stereo/simulated_rig.h"

namespace {

namespace sdk = tovanel::uvc_stereo;

constexpr std::uint64_t kSecond = 1000000000;
constexpr std::size_t kLineReads = 15;

struct Trace {
  const char* name;
  double rate_hz;
  double ppm;
};

// Errors of one estimator in microseconds.
struct Errors {
  std::vector<double> values;
  void add(double estimate_ns, double truth_ns) { values.push_back(std::fabs(estimate_ns - truth_ns) / 1e3); }
  [[nodiscard]] double at(double share) {
    std::sort(values.begin(), values.end());
    return values.empty() ? 0.0 : values[static_cast<std::size_t>(share * static_cast<double>(values.size() - 1))];
  }
};

// The least-squares line through the last 15 (sample index, read midpoint) pairs, at the newest index.
class FifteenPointLine {
 public:
  double add(double index, double midpoint_ns) {
    points_.emplace_back(index, midpoint_ns);
    if (points_.size() > kLineReads) {
      points_.pop_front();
    }
    if (points_.size() < 2) {
      return midpoint_ns;
    }
    double mean_x = 0.0;
    double mean_y = 0.0;
    for (const auto& [x, y] : points_) {
      mean_x += x;
      mean_y += y - midpoint_ns;  // relative to the newest, for precision
    }
    mean_x /= static_cast<double>(points_.size());
    mean_y /= static_cast<double>(points_.size());
    double xx = 0.0;
    double xy = 0.0;
    for (const auto& [x, y] : points_) {
      xx += (x - mean_x) * (x - mean_x);
      xy += (x - mean_x) * (y - midpoint_ns - mean_y);
    }
    const double slope = xx > 0.0 ? xy / xx : 0.0;
    return midpoint_ns + mean_y + slope * (index - mean_x);
  }
  void clear() { points_.clear(); }

 private:
  std::deque<std::pair<double, double>> points_;
};

struct Outcome {
  bool ok = true;
  std::string failure;
};

Outcome run(const Trace& trace, std::uint64_t duration_ns) {
  Outcome outcome;
  sdk::sim::SimulatedRig rig;
  rig.use_virtual_time();
  sdk::sim::SimulatedCamera camera;
  camera.vendor_id = 0x0C45;
  camera.product_id = 0x6366;
  camera.device_path =
      "\\\\?\\usb#vid_0c45&pid_6366&mi_00#7&3a5c2e1f&0&0000#{65e8773d-8f56-11d0-a3b9-00a0c9223196}\\global";
  camera.device_name = "Tovanel Stereo Camera";
  camera.serial_number = "SN-TRACE";
  sdk::sim::SimulatedImuTiming timing;
  timing.rate_hz = trace.rate_hz;
  timing.clock_error_ppm = trace.ppm;
  timing.latency_min_ns = 200000;
  timing.latency_max_ns = 2000000;
  timing.stall_probability = 0.01;
  timing.stall_min_ns = 5000000;
  timing.stall_max_ns = 20000000;
  timing.restart_after_s = {static_cast<double>(duration_ns) / 2e9};
  timing.seed = static_cast<std::uint32_t>(trace.rate_hz) + static_cast<std::uint32_t>(trace.ppm + 1000.0);
  camera.imu.timing = timing;
  // The counter wraps a fifth of the way into the trace.
  const auto before_wrap = static_cast<std::uint32_t>(trace.rate_hz * static_cast<double>(duration_ns) / 5e9);
  camera.imu.first_counter = ((1u << 20) - before_wrap % (1u << 20)) & ((1u << 20) - 1);
  rig.add_camera(camera);

  sdk::Result<std::vector<sdk::DeviceInfo>> devices = sdk::scan_devices();
  if (!devices.ok() || devices.value().size() != 1) {
    return Outcome{false, "the scan did not find the camera"};
  }
  sdk::Result<sdk::Device> device = sdk::open_device(devices.value().front());
  if (!device.ok()) {
    return Outcome{false, "open_device: " + device.status().message()};
  }
  sdk::Result<sdk::ImuStream> stream = sdk::ImuStream::open(device.value());
  if (!stream.ok()) {
    return Outcome{false, "ImuStream::open: " + stream.status().message()};
  }
  static_cast<void>(rig.take_imu_truth(0));
  rig.clear_calls();

  Errors stream_errors;
  Errors midpoint_errors;
  Errors line_errors;
  FifteenPointLine line;
  std::vector<sdk::ImuStreamSample> batch(512);
  std::uint64_t rig_reads = 0;
  std::uint64_t delivered = 0;
  std::uint64_t truth_missed = 0;
  std::uint64_t truth_restarts = 0;
  std::uint64_t missed = 0;
  bool increasing = true;
  bool in_order = true;
  std::uint64_t last_time = 0;
  bool have_previous_truth = false;
  sdk::sim::SimulatedImuSampleTruth previous_truth;
  const std::uint64_t end = rig.now_ns() + duration_ns;
  while (rig.now_ns() < end) {
    const sdk::ImuPull pulled = stream.value().pull(batch.data(), batch.size(), std::chrono::seconds(1));
    if (!pulled.status.ok()) {
      return Outcome{false, "pull: " + pulled.status.message()};
    }
    const std::vector<sdk::sim::SimulatedImuSampleTruth> truth = rig.take_imu_truth(0);
    for (const std::string& name : rig.call_names()) {
      rig_reads += name == "SonixCam_XuRead" ? 1 : 0;
    }
    rig.clear_calls();
    if (truth.size() != pulled.count) {
      in_order = false;
    }
    for (std::size_t i = 0; i < pulled.count && i < truth.size(); ++i) {
      const sdk::ImuStreamSample& sample = batch[i];
      const sdk::sim::SimulatedImuSampleTruth& real = truth[i];
      in_order = in_order && sample.counter == real.counter && sample.segment == real.segment;
      if (have_previous_truth) {
        if (real.segment != previous_truth.segment) {
          ++truth_restarts;
          truth_missed += real.sample_number;
          line.clear();  // the line knows nothing of restarts; give it a fair start
        } else {
          truth_missed += real.sample_number - previous_truth.sample_number - 1;
        }
      }
      previous_truth = real;
      have_previous_truth = true;
      missed += sample.missed_before;
      increasing = increasing && (delivered == 0 || sample.host_time_ns > last_time);
      last_time = sample.host_time_ns;
      ++delivered;
      const auto taken = static_cast<double>(real.taken_ns);
      stream_errors.add(static_cast<double>(sample.host_time_ns), taken);
      midpoint_errors.add(static_cast<double>(sample.read_time_ns), taken);
      line_errors.add(line.add(static_cast<double>(sample.sample_index), static_cast<double>(sample.read_time_ns)),
                      taken);
    }
  }
  const sdk::ImuStreamStatistics stats = stream.value().statistics().value();
  const std::uint64_t truth_duplicates = rig_reads - delivered;

  const double stream_p99 = stream_errors.at(0.99);
  const double midpoint_p99 = midpoint_errors.at(0.99);
  const double line_p99 = line_errors.at(0.99);
  std::printf("imu timestamps %s: p50 %.1f us, p99 %.1f us, max %.1f us (stream)\n", trace.name, stream_errors.at(0.5),
              stream_p99, stream_errors.at(1.0));
  std::printf("imu timestamps %s: p50 %.1f us, p99 %.1f us, max %.1f us (read midpoint)\n", trace.name,
              midpoint_errors.at(0.5), midpoint_p99, midpoint_errors.at(1.0));
  std::printf("imu timestamps %s: p50 %.1f us, p99 %.1f us, max %.1f us (15-point line)\n", trace.name,
              line_errors.at(0.5), line_p99, line_errors.at(1.0));
  std::printf(
      "imu counts %s: %llu delivered, %llu missed (truth %llu), %llu duplicate reads (truth %llu), %llu restarts "
      "(truth %llu), rate %.3f Hz, clock error %.1f ppm, read latency min %.0f / median %.0f / p99 %.0f / max %.0f "
      "us\n",
      trace.name, static_cast<unsigned long long>(delivered), static_cast<unsigned long long>(stats.samples_missed),
      static_cast<unsigned long long>(truth_missed), static_cast<unsigned long long>(stats.duplicate_reads),
      static_cast<unsigned long long>(truth_duplicates), static_cast<unsigned long long>(stats.restarts),
      static_cast<unsigned long long>(truth_restarts), stats.rate_hz, stats.clock_error_ppm,
      static_cast<double>(stats.read_latency_min_ns) / 1e3, static_cast<double>(stats.read_latency_median_ns) / 1e3,
      static_cast<double>(stats.read_latency_p99_ns) / 1e3, static_cast<double>(stats.read_latency_max_ns) / 1e3);

  const auto fail = [&outcome](const std::string& why) {
    outcome.ok = false;
    outcome.failure += (outcome.failure.empty() ? "" : "; ") + why;
  };
  if (!in_order) {
    fail("delivered samples differ from the samples the camera answered");
  }
  if (!increasing) {
    fail("timestamps do not strictly increase");
  }
  if (stats.samples_missed != truth_missed || missed != truth_missed) {
    fail("missed samples miscounted");
  }
  if (stats.duplicate_reads != truth_duplicates) {
    fail("duplicate reads miscounted");
  }
  if (stats.restarts != truth_restarts || truth_restarts != 1) {
    fail("restarts miscounted");
  }
  if (stats.samples_delivered != delivered) {
    fail("delivered samples miscounted");
  }
  const bool goal = stream_p99 <= 100.0 && stream_p99 <= midpoint_p99 / 10.0 && stream_p99 <= line_p99 / 3.0;
  std::printf(
      "imu goal %s: p99 %.1f us <= 100 us, <= %.1f us (a tenth of the midpoint's), <= %.1f us (a third of "
      "the line's): %s\n",
      trace.name, stream_p99, midpoint_p99 / 10.0, line_p99 / 3.0, goal ? "met" : "not met");
  return outcome;
}

}  // namespace

int main(int argc, char** argv) {
  const bool quick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
  const std::uint64_t duration = quick ? 120 * kSecond : 3600 * kSecond;
  const Trace traces[] = {{"200hz+100ppm", 200.0, 100.0},
                          {"200hz-100ppm", 200.0, -100.0},
                          {"1000hz+100ppm", 1000.0, 100.0},
                          {"1000hz-100ppm", 1000.0, -100.0}};
  int failures = 0;
  for (const Trace& trace : traces) {
    const Outcome outcome = run(trace, duration);
    if (!outcome.ok) {
      std::fprintf(stderr, "imu trace %s: %s\n", trace.name, outcome.failure.c_str());
      ++failures;
    }
  }
  return failures == 0 ? 0 : 1;
}
