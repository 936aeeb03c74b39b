// The C++ side of the Python IMU benchmark: what one sample costs through the SDK's C++
// interface against the same simulated rig, read and converted (Device::read_imu, then
// Device::convert_imu), and streamed (ImuStream::pull of 1000 samples, the IMU sampling at
// 200 Hz in the rig's virtual time), so the Python figures have their floors beside them.
//
//   cpp_read_imu [--quick]     prints "cpp_read_imu_ns_per_sample <ns>" and
//                              "cpp_imu_stream_ns_per_sample <ns>" lines (the best of several rounds)

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/uvc_stereo.h"

namespace uvc = tovanel::uvc_stereo;

int main(int argc, char** argv) {
  const bool quick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
  const int rounds = quick ? 2 : 60;
  const int samples_per_round = 1000;

  uvc::sim::SimulatedRig rig;
  uvc::sim::SimulatedCamera camera;
  const uvc::CameraModelId model = uvc::supported_camera_models().front();
  camera.vendor_id = model.vendor_id;
  camera.product_id = model.product_id;
  camera.device_path =
      "\\\\?\\usb#vid_0c45&pid_6366&mi_00#7&1a2b3c4d&0&0000#{e5323777-f976-4f5b-9b55-b94699c46e44}\\global";
  camera.device_name = "Tovanel Stereo Camera";
  camera.serial_number = "BENCH-0001";
  camera.imu.motion = uvc::sim::ImuMotion::Moving;
  rig.add_camera(camera);

  uvc::Result<std::vector<uvc::DeviceInfo>> devices = uvc::scan_devices();
  if (!devices.ok() || devices.value().empty()) {
    std::fprintf(stderr, "cpp_read_imu: scan found no camera: %s\n", devices.status().message().c_str());
    return 1;
  }
  uvc::Result<uvc::Device> opened = uvc::open_device(devices.value().front());
  if (!opened.ok()) {
    std::fprintf(stderr, "cpp_read_imu: %s\n", opened.status().message().c_str());
    return 1;
  }
  uvc::Device device = std::move(opened).value();
  if (const uvc::Status status = device.open_imu(); !status.ok()) {
    std::fprintf(stderr, "cpp_read_imu: %s\n", status.message().c_str());
    return 1;
  }

  double best = std::numeric_limits<double>::max();
  double checksum = 0.0;
  for (int round = 0; round < rounds; ++round) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < samples_per_round; ++i) {
      uvc::Result<uvc::ReadImuResult> raw = device.read_imu();
      if (!raw.ok()) {
        std::fprintf(stderr, "cpp_read_imu: %s\n", raw.status().message().c_str());
        return 1;
      }
      uvc::Result<uvc::ConvertedImuResult> converted = device.convert_imu(raw.value());
      if (!converted.ok()) {
        std::fprintf(stderr, "cpp_read_imu: %s\n", converted.status().message().c_str());
        return 1;
      }
      checksum += converted.value().accel_g[2];
    }
    const std::chrono::duration<double, std::nano> elapsed = std::chrono::steady_clock::now() - start;
    best = std::min(best, elapsed.count() / samples_per_round);
  }
  if (const uvc::Status status = device.close_imu(); !status.ok()) {
    std::fprintf(stderr, "cpp_read_imu: %s\n", status.message().c_str());
    return 1;
  }
  // The stream, on an IMU that lives in virtual time: the waits between paced reads cost nothing,
  // so the figure is the SDK's and the rig's work per delivered sample.
  rig.set_imu_timing(0, uvc::sim::SimulatedImuTiming{});
  rig.use_virtual_time();
  uvc::Result<uvc::ImuStream> opened_stream = uvc::ImuStream::open(device);
  if (!opened_stream.ok()) {
    std::fprintf(stderr, "cpp_read_imu: %s\n", opened_stream.status().message().c_str());
    return 1;
  }
  uvc::ImuStream stream = std::move(opened_stream).value();
  std::vector<uvc::ImuStreamSample> streamed(samples_per_round);
  double best_stream = std::numeric_limits<double>::max();
  for (int round = 0; round < rounds + 1; ++round) {
    const auto start = std::chrono::steady_clock::now();
    const uvc::ImuPull pull = stream.pull(streamed.data(), streamed.size(), std::chrono::seconds(60));
    const std::chrono::duration<double, std::nano> elapsed = std::chrono::steady_clock::now() - start;
    if (!pull.status.ok() || pull.count != streamed.size()) {
      std::fprintf(stderr, "cpp_read_imu: stream pulled %zu: %s\n", pull.count, pull.status.message().c_str());
      return 1;
    }
    checksum += streamed.back().converted.accel_g[2];
    if (round > 0) {  // the first round warms the stream's timeline up
      best_stream = std::min(best_stream, elapsed.count() / samples_per_round);
    }
  }
  // The sum of the vertical accelerations (about one g per sample) keeps the conversions from being optimised away.
  std::printf("cpp_read_imu_ns_per_sample %.1f (%d samples, %.0f g in all)\n", best, rounds * samples_per_round,
              checksum);
  std::printf("cpp_imu_stream_ns_per_sample %.1f\n", best_stream);
  return 0;
}
