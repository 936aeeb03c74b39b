// Lists the attached cameras and, for each, the capture index that each video backend gives
// it: pass that index and backend to your capture code (for example cv::VideoCapture) to
// open the camera's video.
//
//   scan_and_print [--simulate] [--help]

#include <iomanip>
#include <iostream>
#include <vector>

#include "command_line.h"
#include "uvc_stereo/uvc_stereo.h"

namespace uvc = tovanel::uvc_stereo;

int main(int argc, char** argv) {
  const examples::CommandLine command_line = examples::read_command_line(
      argc, argv, "scan_and_print",
      "Lists the attached cameras and the capture index that each video backend gives each of them.");
  if (command_line.exit_status) {
    return *command_line.exit_status;
  }

  // Every SDK call returns a Status or a Result: check ok() before taking the value.
  uvc::Result<std::vector<uvc::DeviceInfo>> devices = uvc::scan_devices();
  if (!devices.ok()) {
    std::cerr << "scan failed: " << uvc::error_code_name(devices.status().code()) << ": " << devices.status().message()
              << "\n";
    return 1;
  }

  std::cout << devices.value().size() << " camera(s)\n";
  for (const uvc::DeviceInfo& device : devices.value()) {
    std::cout << std::hex << std::setfill('0') << std::setw(4) << device.vendor_id << ":" << std::setw(4)
              << device.product_id << std::dec << std::setfill(' ') << "  serial " << device.serial_number << "  "
              << device.friendly_name << "\n";
    std::cout << "  path " << device.device_path << "\n";
    for (const auto& [backend, index] : device.backend_indices) {
      std::cout << "  " << uvc::opencv_backend_name(backend) << " index " << index << "\n";
    }
  }
  return 0;
}
