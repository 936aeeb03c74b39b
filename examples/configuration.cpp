// Reads a camera's JSON configuration from its flash, changes it, and writes it back.
// The SDK validates and minifies the JSON before writing and reads the record back to
// verify it.
//
//   configuration [--simulate]

#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "simulated_camera.h"
#include "uvc_stereo/uvc_stereo.h"

namespace uvc = tovanel::uvc_stereo;

int fail(const char* what, const uvc::Status& status) {
  std::cerr << what << ": " << uvc::error_code_name(status.code()) << ": " << status.message() << "\n";
  return 1;
}

int main(int argc, char** argv) {
  std::unique_ptr<uvc::sim::SimulatedRig> rig;
  if (examples::wants_simulation(argc, argv)) {
    rig = examples::simulated_camera_rig();
  }

  uvc::Result<std::vector<uvc::DeviceInfo>> devices = uvc::scan_devices();
  if (!devices.ok()) {
    return fail("scan", devices.status());
  }
  if (devices.value().empty()) {
    std::cerr << "no camera attached\n";
    return 1;
  }
  uvc::Result<uvc::Device> opened = uvc::open_device(devices.value().front());
  if (!opened.ok()) {
    return fail("open", opened.status());
  }
  uvc::Device device = std::move(opened).value();

  // A camera fresh from the factory holds no record yet: its flash reads as BadMagic.
  uvc::Result<uvc::ReadJsonResult> before = device.read_json();
  if (before.ok()) {
    std::cout << "stored: " << before.value().json << "\n";
  } else if (before.status().code() == uvc::ErrorCode::BadMagic) {
    std::cout << "no configuration stored yet\n";
  } else {
    return fail("read", before.status());
  }

  // Whitespace is removed before writing; invalid JSON is refused with its offset and the
  // flash is not touched.
  const std::string json = R"({ "baseline_mm": 60.0, "rectify": true, "exposure": { "mode": "auto" } })";
  if (const uvc::Status written = device.write_json(json); !written.ok()) {
    return fail("write", written);
  }
  uvc::Result<uvc::ReadJsonResult> after = device.read_json();
  if (!after.ok()) {
    return fail("read back", after.status());
  }
  std::cout << "written: " << after.value().json << " (format version " << after.value().format_version << ")\n";
  return 0;
}
