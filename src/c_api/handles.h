#pragma once

// What the C interface's opaque handles hold. Strings and records handed out through a
// handle point into these members, so they stay valid until the handle is freed.

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "uvc_stereo/device.h"
#include "uvc_stereo/records.h"
#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/uvc_stereo_c.h"

struct uvc_stereo_device_list_t {
  std::vector<tovanel::uvc_stereo::DeviceInfo> devices;
};

struct uvc_stereo_device_t {
  explicit uvc_stereo_device_t(tovanel::uvc_stereo::Device&& opened);

  tovanel::uvc_stereo::Device device;
  // The capability report in C form, made once, for capability_info to point at.
  uvc_stereo_capability_report_t report{};
  bool has_report = false;
};

struct uvc_stereo_rig_t {
  uvc_stereo_rig_t() : owned(std::make_unique<tovanel::uvc_stereo::sim::SimulatedRig>()), rig(*owned) {}
  explicit uvc_stereo_rig_t(std::unique_ptr<tovanel::uvc_stereo::sim::SimulatedRig> kept)
      : owned(std::move(kept)), rig(*owned) {}

  std::unique_ptr<tovanel::uvc_stereo::sim::SimulatedRig> owned;
  tovanel::uvc_stereo::sim::SimulatedRig& rig;
};

struct uvc_stereo_rig_call_log_t {
  std::vector<tovanel::uvc_stereo::sim::VendorCall> calls;
};

struct uvc_stereo_string_list_t {
  std::vector<std::string> texts;
};
