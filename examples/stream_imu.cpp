// Streams IMU samples from a camera and prints them in physical units: degrees Celsius,
// g and degrees per second.
//
//   stream_imu [--simulate] [--help]

#include <chrono>
#include <cstdio>
#include <iostream>
#include <optional>
#include <vector>

#include "command_line.h"
#include "first_camera.h"
#include "uvc_stereo/uvc_stereo.h"

namespace uvc = tovanel::uvc_stereo;

using examples::fail;

int main(int argc, char** argv) {
  const examples::CommandLine command_line = examples::read_command_line(
      argc, argv, "stream_imu",
      "Streams IMU samples from the first camera in degrees Celsius, g and degrees per second.");
  if (command_line.exit_status) {
    return *command_line.exit_status;
  }
  if (command_line.rig) {
    // An IMU that samples in time like a real one: 200 Hz, its oscillator a few millionths
    // fast, reads taking a fraction of a millisecond.
    uvc::sim::SimulatedImuTiming timing;
    timing.rate_hz = 200.0;
    timing.clock_error_ppm = 4.0;
    timing.latency_min_ns = 150000;
    timing.latency_max_ns = 600000;
    command_line.rig->set_imu_timing(0, timing);
  }

  std::optional<uvc::Device> camera = examples::open_first_camera();
  if (!camera) {
    return 1;
  }
  uvc::Device& device = *camera;

  // The stream opens the IMU and paces its own reads: a few per sample period, so that each
  // sample is seen once and its time on the host clock is pinned down. While the IMU is open
  // the flash configuration cannot be read or written.
  uvc::Result<uvc::ImuStream> opened = uvc::ImuStream::open(device);
  if (!opened.ok()) {
    return fail("open IMU stream", opened.status());
  }
  uvc::ImuStream& stream = opened.value();

  constexpr std::size_t kSamples = 20;
  std::vector<uvc::ImuStreamSample> samples(kSamples);
  std::size_t received = 0;
  while (received < kSamples) {
    // Waits at most a second for the rest; a pull that fails still hands over what it read.
    const uvc::ImuPull pull = stream.pull(samples.data() + received, kSamples - received, std::chrono::seconds(1));
    received += pull.count;
    if (!pull.status.ok()) {
      return fail("read IMU", pull.status);
    }
  }
  for (const uvc::ImuStreamSample& sample : samples) {
    // The samples are converted with the scales the camera declares in its capability report,
    // or the defaults for a camera without one, and stamped with when the camera took them.
    const uvc::ConvertedImuResult& s = sample.converted;
    std::printf(
        "sample %7llu  counter %7u  missed %llu  t %.6f s  %6.2f C  accel %+.3f %+.3f %+.3f g  gyro %+8.2f "
        "%+8.2f %+8.2f deg/s\n",
        static_cast<unsigned long long>(sample.sample_index), static_cast<unsigned>(sample.counter),
        static_cast<unsigned long long>(sample.missed_before),
        static_cast<double>(sample.host_time_ns - samples.front().host_time_ns) / 1e9, s.temperature_c, s.accel_g[0],
        s.accel_g[1], s.accel_g[2], s.gyro_dps[0], s.gyro_dps[1], s.gyro_dps[2]);
  }
  uvc::Result<uvc::ImuStreamStatistics> stats = stream.statistics();
  if (!stats.ok()) {
    return fail("IMU stream statistics", stats.status());
  }
  std::printf("%llu samples at %.1f Hz, clock error %+.1f ppm, %llu missed, %llu duplicate reads skipped\n",
              static_cast<unsigned long long>(stats.value().samples_delivered), stats.value().rate_hz,
              stats.value().clock_error_ppm, static_cast<unsigned long long>(stats.value().samples_missed),
              static_cast<unsigned long long>(stats.value().duplicate_reads));
  if (const uvc::Status closed = device.close_imu(); !closed.ok()) {
    return fail("close IMU", closed);
  }
  return 0;
}
