// Reads a camera's JSON configuration from its flash, changes it, and writes it back.
// The SDK validates and minifies the JSON before writing and reads the record back to
// verify it.
//
//   configuration [--simulate] [--help]

#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "command_line.h"
#include "first_camera.h"
#include "uvc_stereo/uvc_stereo.h"

namespace uvc = tovanel::uvc_stereo;

using examples::fail;

int main(int argc, char** argv) {
  const examples::CommandLine command_line = examples::read_command_line(
      argc, argv, "configuration",
      "Reads the first camera's JSON configuration, changes it and writes it back, verified.");
  if (command_line.exit_status) {
    return *command_line.exit_status;
  }

  std::optional<uvc::Device> camera = examples::open_first_camera();
  if (!camera) {
    return 1;
  }
  uvc::Device& device = *camera;

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
