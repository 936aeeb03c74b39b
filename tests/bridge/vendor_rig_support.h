#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "imu/model_table.h"
#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/vendor_lock.h"
#include "bridge/process_lock.h"
#include "bridge/sonix_camera.h"

// Shared pieces of the enumeration and resolution tests: cameras of the supported models,
// an open library session as every caller holds one, and views of the calls the rig saw.
namespace tovanel::uvc_stereo::enumeration_testing {

inline const detail::SupportedModel& model(std::size_t index) { return detail::supported_models().at(index); }

// The path a camera of `vid`/`pid` reports, in the library's own spelling.
inline std::string usb_path(std::uint16_t vid, std::uint16_t pid, const std::string& instance) {
  char path[200];
  std::snprintf(path, sizeof(path),
                "\\\\?\\USB#VID_%04X&PID_%04X&MI_00#%s#{65E8773D-8F56-11D0-A3B9-00A0C9223196}\\GLOBAL",
                static_cast<unsigned>(vid), static_cast<unsigned>(pid), instance.c_str());
  return path;
}

// A camera of one supported model (its row in the model table) with every string descriptor.
inline sim::SimulatedCamera camera_of_model(std::size_t model_index, const std::string& serial) {
  sim::SimulatedCamera camera;
  camera.vendor_id = model(model_index).vendor_id;
  camera.product_id = model(model_index).product_id;
  camera.device_path = usb_path(camera.vendor_id, camera.product_id, "7&1c0ffee&0&" + serial);
  camera.device_name = "USB Video Device";
  camera.product_string = "Tovanel Stereo Camera";
  camera.descriptor_3 = "Tovanel";
  camera.serial_number = serial;
  return camera;
}

inline std::vector<std::string> names_of(const std::vector<sim::VendorCall>& calls) {
  std::vector<std::string> names;
  for (const sim::VendorCall& call : calls) {
    names.push_back(call.name);
  }
  return names;
}

inline std::vector<sim::VendorCall> calls_named(const std::vector<sim::VendorCall>& calls, const std::string& name) {
  std::vector<sim::VendorCall> found;
  for (const sim::VendorCall& call : calls) {
    if (call.name == name) {
      found.push_back(call);
    }
  }
  return found;
}

// An open library session under the vendor lock, as scans and device operations hold one.
class OpenSession {
 public:
  OpenSession() : opened_(SonixCam_Init()) {}
  ~OpenSession() {
    if (opened_) {
      SonixCam_UnInit();
    }
  }
  OpenSession(const OpenSession&) = delete;
  OpenSession& operator=(const OpenSession&) = delete;

  [[nodiscard]] bool opened() const noexcept { return opened_; }

 private:
  win_detail::SonixGlobalLock lock_;
  bool opened_;
};

// A rig whose rules must hold after every test: nothing broken, no session left open, the lock free.
class VendorRigTest : public ::testing::Test {
 protected:
  void TearDown() override {
    EXPECT_TRUE(rig_.violations().empty()) << ::testing::PrintToString(rig_.violations());
    EXPECT_EQ(rig_.open_sessions(), 0);
    EXPECT_FALSE(vendor::process_lock_held_by_this_thread());
  }

  sim::SimulatedRig rig_;
};

}  // namespace tovanel::uvc_stereo::enumeration_testing
