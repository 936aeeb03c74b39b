#include "linux/fake_cameras.h"

#include <cerrno>

#include "support/reported_imu.h"

namespace tovanel::uvc_stereo::linux_testing {

FakeUvcCamera supported_camera(const std::string& serial, const std::string& bus_name, int capture_node) {
  FakeUvcCamera camera;
  camera.model.vendor_id = 0x0C45;
  camera.model.product_id = 0x6366;
  camera.model.product_string = "Tovanel Stereo " + serial;
  camera.model.descriptor_3 = "Tovanel";
  camera.model.serial_number = serial;
  camera.bus_name = bus_name;
  camera.capture_node = capture_node;
  camera.metadata_node = capture_node + 1;
  CapabilityReport report = test_support::flash_and_imu_report(0x51000, 0x10000);
  report.imu = test_support::reported_imu("BMI088", 4, 10, 17, 1, 25.0, 128.0, 2048.0, 16.4);
  camera.model.capability = report;
  return camera;
}

FakeUvcCamera forbidden_camera(const std::string& bus_name, int capture_node) {
  FakeUvcCamera camera = supported_camera("SN0001", bus_name, capture_node);
  camera.open_error = EACCES;
  return camera;
}

FakeUvcCamera other_makers_webcam(const std::string& bus_name, int capture_node) {
  FakeUvcCamera camera = supported_camera("WEB01", bus_name, capture_node);
  camera.model.vendor_id = 0x046d;
  camera.model.product_id = 0x0825;
  return camera;
}

}  // namespace tovanel::uvc_stereo::linux_testing
