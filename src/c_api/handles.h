#pragma once

// What the C interface's opaque handles hold. Strings and records handed out through a
// handle point into these members, so they stay valid until the handle is freed.

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "c_api/handle_use.h"
#include "uvc_stereo/camera_access.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/imu_stream.h"
#include "uvc_stereo/records.h"
#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/uvc_stereo_c.h"

struct uvc_stereo_camera_access_list_t {
  explicit uvc_stereo_camera_access_list_t(std::vector<tovanel::uvc_stereo::CameraAccessProblem>&& found)
      : problems(std::move(found)) {}
  std::vector<tovanel::uvc_stereo::CameraAccessProblem> problems;
};

struct uvc_stereo_device_list_t {
  explicit uvc_stereo_device_list_t(std::vector<tovanel::uvc_stereo::DeviceInfo>&& scanned)
      : devices(std::move(scanned)) {}
  std::vector<tovanel::uvc_stereo::DeviceInfo> devices;
};

struct uvc_stereo_device_t {
  explicit uvc_stereo_device_t(tovanel::uvc_stereo::Device&& opened);

  tovanel::uvc_stereo::Device device;
  // The calls inside the handle, so that racing threads are refused and closing waits.
  mutable tovanel::uvc_stereo::c_api::HandleUse use;
  // The capability report in C form, made once, for capability_info to point at.
  uvc_stereo_capability_report_t report{};
  bool has_report = false;
};

struct uvc_stereo_imu_stream_t {
  explicit uvc_stereo_imu_stream_t(tovanel::uvc_stereo::ImuStream&& opened) : stream(std::move(opened)) {}

  tovanel::uvc_stereo::ImuStream stream;
  // The samples of one read before they are turned into the caller's structs; grows to the largest count asked
  // for once, then reads allocate nothing.
  std::vector<tovanel::uvc_stereo::ImuStreamSample> batch;
};

struct uvc_stereo_rig_t {
  uvc_stereo_rig_t() : owned(std::make_unique<tovanel::uvc_stereo::sim::SimulatedRig>()), rig(*owned) {}
  explicit uvc_stereo_rig_t(std::unique_ptr<tovanel::uvc_stereo::sim::SimulatedRig> kept)
      : owned(std::move(kept)), rig(*owned) {}

  std::unique_ptr<tovanel::uvc_stereo::sim::SimulatedRig> owned;
  tovanel::uvc_stereo::sim::SimulatedRig& rig;
  // The IMU truth taken from the rig and not yet handed to the caller, by camera.
  std::map<std::int32_t, std::deque<tovanel::uvc_stereo::sim::SimulatedImuSampleTruth>> imu_truth;
};

struct uvc_stereo_rig_call_log_t {
  std::vector<tovanel::uvc_stereo::sim::VendorCall> calls;
};

struct uvc_stereo_string_list_t {
  std::vector<std::string> texts;
};
