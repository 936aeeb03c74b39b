// One program of the multi-process interlock tests: it opens a simulated rig kept in a
// directory, finds the camera by serial number and plays one part (writer, reader, IMU
// streamer, a writer that stops mid-write to be killed, one read). It prints what it saw
// on its standard output and exits with 0 only when every answer was one the SDK
// documents and the rig saw no broken rule.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "interlock/interlock_records.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/simulated_rig.h"

namespace sdk = tovanel::uvc_stereo;

namespace {

bool is_busy(const sdk::Status& status) {
  return status.code() == sdk::ErrorCode::DeviceUnavailable && status.message().rfind("camera is busy: ", 0) == 0;
}

int fail(const std::string& what) {
  std::fprintf(stderr, "%s\n", what.c_str());
  return 1;
}

struct Camera {
  std::unique_ptr<sdk::sim::SimulatedRig> rig;
  std::unique_ptr<sdk::Device> device;
  std::string error;
};

Camera open_camera(const std::string& directory, const std::string& serial, std::uint32_t wait_ms) {
  Camera camera;
  sdk::Result<std::unique_ptr<sdk::sim::SimulatedRig>> rig = sdk::sim::SimulatedRig::keep_in_directory(directory);
  if (!rig.ok()) {
    camera.error = "rig: " + rig.status().message();
    return camera;
  }
  camera.rig = std::move(rig).value();
  sdk::Result<std::vector<sdk::DeviceInfo>> scanned = sdk::scan_devices();
  if (!scanned.ok()) {
    camera.error = "scan: " + scanned.status().message();
    return camera;
  }
  for (const sdk::DeviceInfo& info : scanned.value()) {
    if (info.serial_number == serial) {
      sdk::OpenDeviceOptions options;
      options.busy_wait_ms = wait_ms;
      sdk::Result<sdk::Device> opened = sdk::open_device(info, options);
      if (!opened.ok()) {
        camera.error = "open: " + opened.status().message();
        return camera;
      }
      camera.device = std::make_unique<sdk::Device>(std::move(opened).value());
      return camera;
    }
  }
  camera.error = "no camera " + serial;
  return camera;
}

// The rig's rules must have held in this program.
int finish(const Camera& camera, int code) {
  const std::vector<std::string> broken = camera.rig->violations();
  for (const std::string& rule : broken) {
    std::fprintf(stderr, "rig: %s\n", rule.c_str());
  }
  return broken.empty() ? code : 1;
}

int write_loop(Camera& camera, int writer, int count) {
  int written = 0;
  int busy = 0;
  for (int n = 1; n <= count; ++n) {
    const sdk::Status status = camera.device->write_json(sdk::interlock_testing::record_json(writer, n));
    if (status.ok()) {
      ++written;
    } else if (is_busy(status)) {
      if (busy++ == 0) {
        std::printf("refused=%s\n", status.message().c_str());
      }
    } else {
      return fail("write " + std::to_string(n) + ": " + status.message());
    }
  }
  std::printf("written=%d busy=%d\n", written, busy);
  return finish(camera, 0);
}

int read_loop(Camera& camera, int count) {
  int whole = 0;
  int busy = 0;
  for (int i = 0; i < count; ++i) {
    const sdk::Result<sdk::ReadJsonResult> read = camera.device->read_json();
    if (read.ok()) {
      if (!sdk::interlock_testing::is_written_record(read.value().json)) {
        return fail("read a record nobody wrote: " + read.value().json);
      }
      ++whole;
    } else if (is_busy(read.status())) {
      ++busy;
    } else {
      return fail("read: " + read.status().message());
    }
  }
  std::printf("whole=%d busy=%d\n", whole, busy);
  return finish(camera, 0);
}

int imu_loop(Camera& camera, int rounds) {
  int samples = 0;
  int busy = 0;
  for (int round = 0; round < rounds; ++round) {
    const sdk::Status opened = camera.device->open_imu();
    if (is_busy(opened)) {
      ++busy;
      continue;
    }
    if (!opened.ok()) {
      return fail("open_imu: " + opened.message());
    }
    for (int i = 0; i < 20; ++i) {
      const sdk::Result<sdk::ReadImuResult> sample = camera.device->read_imu();
      if (!sample.ok()) {
        return fail("read_imu: " + sample.status().message());
      }
      ++samples;
    }
    if (!camera.device->close_imu().ok()) {
      return fail("close_imu failed");
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  std::printf("samples=%d busy=%d\n", samples, busy);
  return finish(camera, 0);
}

// Keeps the IMU open for `hold_ms`, reading samples, after announcing through `marker` that it is open.
int imu_hold(Camera& camera, int hold_ms, const std::string& marker) {
  const sdk::Status opened = camera.device->open_imu();
  if (!opened.ok()) {
    return fail("open_imu: " + opened.message());
  }
  std::ofstream(marker) << "open\n";
  int samples = 0;
  const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(hold_ms);
  while (std::chrono::steady_clock::now() < until) {
    if (!camera.device->read_imu().ok()) {
      return fail("read_imu failed");
    }
    ++samples;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  std::printf("samples=%d\n", samples);
  return finish(camera, camera.device->close_imu().ok() ? 0 : 1);
}

// Writes the new record, and at vendor call number `stop_at` of the write (counting only
// calls named `call`, "*" for all) announces itself through `marker` and waits there to be
// killed.
int write_until_killed(Camera& camera, int stop_at, const std::string& marker, const std::string& call_name) {
  int seen = 0;
  camera.rig->on_call(call_name, [&seen, stop_at, marker](const sdk::sim::VendorCall& call) {
    if (++seen != stop_at) {
      return;
    }
    std::ofstream(marker) << call.name << '\n';
    std::this_thread::sleep_for(std::chrono::seconds(60));
  });
  const sdk::Status status = camera.device->write_json(sdk::interlock_testing::record_json(2, 1));
  std::printf("finished=%s\n", status.ok() ? "ok" : status.message().c_str());
  return 0;
}

int read_once(Camera& camera) {
  const sdk::Result<sdk::ReadJsonResult> read = camera.device->read_json();
  if (read.ok()) {
    std::printf("ok %s\n", read.value().json.c_str());
  } else {
    std::printf("fail %d %s\n", static_cast<int>(read.status().code()), read.status().message().c_str());
  }
  return finish(camera, 0);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 6) {
    return fail("usage: interlock_helper PART DIRECTORY SERIAL WAIT_MS COUNT [WRITER | MARKER]");
  }
  const std::string part = argv[1];
  const auto wait_ms = static_cast<std::uint32_t>(std::strtoul(argv[4], nullptr, 10));
  const int argument = std::atoi(argv[5]);
  Camera camera = open_camera(argv[2], argv[3], wait_ms);
  if (camera.device == nullptr) {
    return fail(camera.error);
  }
  if (part == "write" && argc >= 7) {
    return write_loop(camera, std::atoi(argv[6]), argument);
  }
  if (part == "read") {
    return read_loop(camera, argument);
  }
  if (part == "imu") {
    return imu_loop(camera, argument);
  }
  if (part == "imu-hold" && argc >= 7) {
    return imu_hold(camera, argument, argv[6]);
  }
  if (part == "write-until-killed" && argc >= 7) {
    return write_until_killed(camera, argument, argv[6], argc >= 8 ? argv[7] : "*");
  }
  if (part == "read-once") {
    return read_once(camera);
  }
  return fail("unknown part " + part);
}
