// Uses the installed SDK end to end against a simulated camera: scan, open, write and read
// the JSON configuration, read the IMU. Prints "consumer: ok" and exits 0 when all worked.

#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "uvc_stereo/models.h"
#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/uvc_stereo.h"

namespace uvc = tovanel::uvc_stereo;

namespace {

int fail(const char* step, const uvc::Status& status) {
  std::cerr << "consumer: " << step << " failed: " << uvc::error_code_name(status.code()) << ": " << status.message()
            << "\n";
  return 1;
}

}  // namespace

int main() {
  uvc::sim::SimulatedRig rig;
  uvc::sim::SimulatedCamera camera;
  camera.vendor_id = uvc::supported_camera_models().front().vendor_id;
  camera.product_id = uvc::supported_camera_models().front().product_id;
  char path[128];
  std::snprintf(path, sizeof(path),
                "\\\\?\\usb#vid_%04x&pid_%04x&mi_00#7&1&0&0000#{e5323777-f976-4f5b-9b55-b94699c46e44}\\global",
                static_cast<unsigned>(camera.vendor_id), static_cast<unsigned>(camera.product_id));
  camera.device_path = path;
  camera.serial_number = "CONSUMER-1";
  rig.add_camera(camera);

  uvc::Result<std::vector<uvc::DeviceInfo>> devices = uvc::scan_devices();
  if (!devices.ok()) {
    return fail("scan", devices.status());
  }
  if (devices.value().size() != 1 || devices.value().front().serial_number != "CONSUMER-1") {
    std::cerr << "consumer: the scan did not find the simulated camera\n";
    return 1;
  }
  uvc::Result<uvc::Device> opened = uvc::open_device(devices.value().front());
  if (!opened.ok()) {
    return fail("open", opened.status());
  }
  uvc::Device device = std::move(opened).value();
  if (const uvc::Status written = device.write_json("{ \"consumer\" : true }"); !written.ok()) {
    return fail("write", written);
  }
  uvc::Result<uvc::ReadJsonResult> read = device.read_json();
  if (!read.ok()) {
    return fail("read", read.status());
  }
  if (read.value().json != "{\"consumer\":true}") {
    std::cerr << "consumer: read back " << read.value().json << "\n";
    return 1;
  }
  if (const uvc::Status imu = device.open_imu(); !imu.ok()) {
    return fail("open IMU", imu);
  }
  uvc::Result<uvc::ReadImuResult> raw = device.read_imu();
  if (!raw.ok()) {
    return fail("read IMU", raw.status());
  }
  uvc::Result<uvc::ConvertedImuResult> sample = device.convert_imu(raw.value());
  if (!sample.ok()) {
    return fail("convert IMU", sample.status());
  }
  if (sample.value().accel_g[2] < 0.9 || sample.value().accel_g[2] > 1.1) {
    std::cerr << "consumer: the camera at rest reads " << sample.value().accel_g[2] << " g on z\n";
    return 1;
  }
  std::cout << "consumer: ok\n";
  return 0;
}
