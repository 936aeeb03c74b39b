#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "core/utf.h"
#include "imu/model_table.h"
#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/vendor_lock.h"
#include "bridge/process_lock.h"
#include "bridge/sonix_camera.h"

// Helpers for driving the simulated rig through the vendor functions the way the SDK
// does: under the vendor lock, inside a library session.
namespace tovanel::uvc_stereo::sim::rig_testing {

// A camera of the first supported model, told apart by its serial number.
inline SimulatedCamera supported_camera(const std::string& serial) {
  const detail::SupportedModel& model = detail::supported_models().front();
  SimulatedCamera camera;
  camera.vendor_id = model.vendor_id;
  camera.product_id = model.product_id;
  char path[160];
  std::snprintf(path, sizeof(path),
                "\\\\?\\usb#vid_%04x&pid_%04x&mi_00#7&2a1b&0&%s#{e5323777-f976-4f5b-9b55-b94699c46e44}",
                static_cast<unsigned>(model.vendor_id), static_cast<unsigned>(model.product_id), serial.c_str());
  camera.device_path = path;
  camera.device_name = "Stereo Camera " + serial;
  camera.serial_number = serial;
  return camera;
}

// The vendor lock and one library session, closed again at scope end.
class LockedSession {
 public:
  LockedSession() : opened_(SonixCam_Init()) {}
  ~LockedSession() {
    if (opened_) {
      static_cast<void>(SonixCam_UnInit());
    }
  }
  LockedSession(const LockedSession&) = delete;
  LockedSession& operator=(const LockedSession&) = delete;

  [[nodiscard]] bool opened() const noexcept { return opened_; }

 private:
  win_detail::SonixGlobalLock lock_;
  bool opened_;
};

// The records of the plugged cameras as the library lists them; empty when it lists none.
inline std::vector<SonixLib::scDevice_t> enumerate_records() {
  std::vector<SonixLib::scDevice_t> records(64);
  std::int32_t count = 0;
  if (!SonixCam_EnumCameras(&count, records.data(), 64)) {
    return {};
  }
  records.resize(static_cast<std::size_t>(std::min<std::int32_t>(count, 64)));
  return records;
}

inline std::string wide_field_text(const SonixLib::scWideChar* field, std::size_t capacity) {
  std::u16string units;
  for (std::size_t i = 0; i < capacity && field[i] != 0; ++i) {
    units.push_back(static_cast<char16_t>(field[i]));
  }
  return detail::utf16_to_utf8(units);
}

inline std::string path_of(const SonixLib::scDevice_t& record) {
  return wide_field_text(record.devicePath, SonixLib::kDevicePathChars);
}

inline std::string name_of(const SonixLib::scDevice_t& record) {
  return wide_field_text(record.deviceName, SonixLib::kDeviceNameChars);
}

// What SonixCam_GetErrorCode reports now; the test fails when the query itself fails.
inline std::int32_t reported_vendor_code(SonixLib::scDevice_t* device = nullptr) {
  SonixLib::scErrorCode_t code = SonixLib::ecUnknow;
  EXPECT_TRUE(SonixCam_GetErrorCode(device, &code));
  return code;
}

inline std::vector<VendorCall> calls_named(const SimulatedRig& rig, const std::string& name) {
  std::vector<VendorCall> found;
  for (const VendorCall& call : rig.calls()) {
    if (call.name == name) {
      found.push_back(call);
    }
  }
  return found;
}

}  // namespace tovanel::uvc_stereo::sim::rig_testing
