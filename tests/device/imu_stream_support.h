#pragma once

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "device/device_rig_support.h"
#include "uvc_stereo/imu_stream.h"
#include "uvc_stereo/simulated_rig.h"

// Streams of a timed simulated IMU, in virtual time, held against the rig's truth.
namespace tovanel::uvc_stereo::device_testing {

inline constexpr std::uint64_t kMillisecond = 1000000;
inline constexpr std::uint64_t kSecond = 1000 * kMillisecond;

// A camera whose IMU samples at `rate_hz` with clock error `ppm`, reads of 0.2 to 2 ms and 1% stalls of 5 to 20 ms.
inline sim::SimulatedCamera timed_camera(const std::string& serial, double rate_hz, double ppm) {
  sim::SimulatedCamera camera = supported_camera(2, serial);
  sim::SimulatedImuTiming timing;
  timing.rate_hz = rate_hz;
  timing.clock_error_ppm = ppm;
  timing.stall_probability = 0.01;
  camera.imu.timing = timing;
  return camera;
}

// Everything a stream delivered, with the truth the rig kept meanwhile.
struct StreamedTrace {
  std::vector<ImuStreamSample> samples;
  std::vector<sim::SimulatedImuSampleTruth> truth;
  Status last_status;
};

// Pulls from `stream` in batches until `duration_ns` of host time have passed or a pull fails.
inline StreamedTrace stream_for(sim::SimulatedRig& rig, ImuStream& stream, std::uint64_t duration_ns) {
  StreamedTrace trace;
  std::vector<ImuStreamSample> batch(256);
  const std::uint64_t end = rig.now_ns() + duration_ns;
  while (rig.now_ns() < end) {
    const ImuPull pulled = stream.pull(batch.data(), batch.size(), std::chrono::milliseconds(200));
    trace.samples.insert(trace.samples.end(), batch.begin(), batch.begin() + static_cast<std::ptrdiff_t>(pulled.count));
    trace.last_status = pulled.status;
    if (!pulled.status.ok()) {
      break;
    }
  }
  trace.truth = rig.take_imu_truth(0);
  return trace;
}

// The error of each delivered sample's host_time_ns against the truth, in microseconds, sorted.
inline std::vector<double> sorted_errors_us(const StreamedTrace& trace) {
  std::vector<double> errors;
  for (std::size_t i = 0; i < trace.samples.size() && i < trace.truth.size(); ++i) {
    errors.push_back(
        std::fabs(static_cast<double>(trace.samples[i].host_time_ns) - static_cast<double>(trace.truth[i].taken_ns)) /
        1e3);
  }
  std::sort(errors.begin(), errors.end());
  return errors;
}

inline double percentile(const std::vector<double>& sorted, double share) {
  return sorted.empty() ? 0.0 : sorted[static_cast<std::size_t>(share * static_cast<double>(sorted.size() - 1))];
}

}  // namespace tovanel::uvc_stereo::device_testing

// Plugs `camera` in and opens it into the Device `device`, then its IMU stream with `options` into the ImuStream
// `stream`; stops the test when a step fails.
#define IMU_STREAM_TESTING_OPEN(device, stream, camera, options)                    \
  DEVICE_TESTING_OPEN(device, plug_and_scan(camera), 0);                            \
  ::tovanel::uvc_stereo::Result<::tovanel::uvc_stereo::ImuStream> stream##_opened = \
      ::tovanel::uvc_stereo::ImuStream::open(device, (options));                    \
  ASSERT_TRUE(stream##_opened.ok()) << stream##_opened.status().message();          \
  ::tovanel::uvc_stereo::ImuStream stream = std::move(stream##_opened).value()
