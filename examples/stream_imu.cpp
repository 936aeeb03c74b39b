// Streams IMU samples from a camera and prints them in physical units: degrees Celsius,
// g and degrees per second.
//
//   stream_imu [--simulate] [--help]

#include <cstdio>
#include <iostream>
#include <memory>
#include <optional>
#include <vector>

#include "command_line.h"
#include "first_camera.h"
#include "simulated_camera.h"
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
  std::unique_ptr<uvc::sim::SimulatedRig> rig;
  if (command_line.simulate) {
    rig = examples::simulated_camera_rig();
  }

  std::optional<uvc::Device> camera = examples::open_first_camera();
  if (!camera) {
    return 1;
  }
  uvc::Device& device = *camera;

  // While the IMU is open the flash configuration cannot be read or written.
  if (const uvc::Status status = device.open_imu(); !status.ok()) {
    return fail("open IMU", status);
  }
  for (int i = 0; i < 20; ++i) {
    uvc::Result<uvc::ReadImuResult> raw = device.read_imu();
    if (!raw.ok()) {
      return fail("read IMU", raw.status());
    }
    // The conversion uses the scales the camera declares in its capability report, or the
    // defaults for a camera without one.
    uvc::Result<uvc::ConvertedImuResult> sample = device.convert_imu(raw.value());
    if (!sample.ok()) {
      return fail("convert IMU", sample.status());
    }
    const uvc::ConvertedImuResult& s = sample.value();
    std::printf("counter %7u  %6.2f C  accel %+.3f %+.3f %+.3f g  gyro %+8.2f %+8.2f %+8.2f deg/s\n",
                static_cast<unsigned>(raw.value().sample_counter), s.temperature_c, s.accel_g[0], s.accel_g[1],
                s.accel_g[2], s.gyro_dps[0], s.gyro_dps[1], s.gyro_dps[2]);
  }
  if (const uvc::Status closed = device.close_imu(); !closed.ok()) {
    return fail("close IMU", closed);
  }
  return 0;
}
