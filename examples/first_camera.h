#pragma once

// Shared by the examples that work on one camera: scan, then open the first camera found.

#include <iostream>
#include <optional>
#include <utility>
#include <vector>

#include "uvc_stereo/uvc_stereo.h"

namespace examples {

// Prints a failed step as "<what>: <ErrorName>: <message>" and gives the exit status 1.
inline int fail(const char* what, const tovanel::uvc_stereo::Status& status) {
  std::cerr << what << ": " << tovanel::uvc_stereo::error_code_name(status.code()) << ": " << status.message() << "\n";
  return 1;
}

// The first camera the scan finds, opened; nothing (after saying why) when the scan fails,
// finds no camera or the camera cannot be opened.
inline std::optional<tovanel::uvc_stereo::Device> open_first_camera() {
  namespace uvc = tovanel::uvc_stereo;
  // Every SDK call returns a Status or a Result: check ok() before taking the value.
  uvc::Result<std::vector<uvc::DeviceInfo>> devices = uvc::scan_devices();
  if (!devices.ok()) {
    fail("scan", devices.status());
    return std::nullopt;
  }
  if (devices.value().empty()) {
    std::cerr << "no camera attached\n";
    return std::nullopt;
  }
  uvc::Result<uvc::Device> opened = uvc::open_device(devices.value().front());
  if (!opened.ok()) {
    fail("open", opened.status());
    return std::nullopt;
  }
  return std::move(opened).value();
}

}  // namespace examples
