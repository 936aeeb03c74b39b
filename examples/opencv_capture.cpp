// Opens a camera's video with OpenCV. The SDK does not capture video itself: scan_devices
// tells, for each camera, which index each capture backend gives it, and that index with
// its backend is what cv::VideoCapture needs to open this very camera (and not another
// one that happens to come first).
//
//   opencv_capture [--simulate] [--help]
//
// With --simulate the scan finds a simulated camera, which has no video: the capture then
// fails to open, as it would for a camera that another program is using.

#include <iostream>
#include <opencv2/videoio.hpp>
#include <vector>

#include "command_line.h"
#include "uvc_stereo/uvc_stereo.h"

namespace uvc = tovanel::uvc_stereo;

int main(int argc, char** argv) {
  const examples::CommandLine command_line =
      examples::read_command_line(argc, argv, "opencv_capture",
                                  "Opens each camera's video with OpenCV at the capture index the SDK reports for it.");
  if (command_line.exit_status) {
    return *command_line.exit_status;
  }

  uvc::Result<std::vector<uvc::DeviceInfo>> devices = uvc::scan_devices();
  if (!devices.ok()) {
    std::cerr << "scan failed: " << devices.status().message() << "\n";
    return 1;
  }
  for (const uvc::DeviceInfo& device : devices.value()) {
    // Media Foundation first, DirectShow otherwise: whichever backend lists the camera.
    for (uvc::OpenCvBackend backend : {uvc::OpenCvBackend::Msmf, uvc::OpenCvBackend::Dshow}) {
      const auto found = device.backend_indices.find(backend);
      if (found == device.backend_indices.end()) {
        continue;
      }
      // OpenCvBackend's values are OpenCV's cv::CAP_* constants, so they pass straight through.
      cv::VideoCapture capture(found->second, static_cast<int>(backend));
      std::cout << device.serial_number << ": " << uvc::opencv_backend_name(backend) << " index " << found->second;
      cv::Mat frame;
      if (capture.isOpened() && capture.read(frame)) {
        std::cout << ": frame " << frame.cols << "x" << frame.rows << "\n";
      } else {
        std::cout << ": the capture did not open\n";
      }
      break;
    }
  }
  return 0;
}
