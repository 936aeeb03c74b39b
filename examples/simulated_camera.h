#pragma once

// Shared by the examples: with --simulate they run against one simulated camera, so they
// work on a machine with no camera and no vendor library.

#include <cstdio>
#include <memory>
#include <vector>

#include "uvc_stereo/models.h"
#include "uvc_stereo/simulated_rig.h"

namespace examples {

// A simulated camera of `model` with serial number `serial`, named and found as Windows
// would show it.
inline tovanel::uvc_stereo::sim::SimulatedCamera simulated_camera(const tovanel::uvc_stereo::CameraModelId& model,
                                                                  const char* serial) {
  tovanel::uvc_stereo::sim::SimulatedCamera camera;
  camera.vendor_id = model.vendor_id;
  camera.product_id = model.product_id;
  char path[160];
  std::snprintf(path, sizeof(path),
                "\\\\?\\usb#vid_%04x&pid_%04x&mi_00#7&1a2b3c4d&0&0000#{e5323777-f976-4f5b-9b55-b94699c46e44}\\global",
                static_cast<unsigned>(model.vendor_id), static_cast<unsigned>(model.product_id));
  camera.device_path = path;
  camera.device_name = "Tovanel Stereo Camera";
  camera.product_string = "Tovanel Stereo Camera";
  camera.serial_number = serial;
  return camera;
}

// While the returned rig lives, every SDK call talks to its camera instead of real hardware.
inline std::unique_ptr<tovanel::uvc_stereo::sim::SimulatedRig> simulated_camera_rig() {
  namespace uvc = tovanel::uvc_stereo;
  auto rig = std::make_unique<uvc::sim::SimulatedRig>();
  uvc::sim::SimulatedCamera camera = simulated_camera(uvc::supported_camera_models().front(), "EXAMPLE-0001");
  camera.imu.motion = uvc::sim::ImuMotion::Moving;
  rig->add_camera(camera);
  // Media Foundation lists the camera first: it is capture index 0 there.
  rig->set_capture_devices(uvc::OpenCvBackend::Msmf, {{"Tovanel Stereo Camera", camera.device_path}});
  return rig;
}

}  // namespace examples
