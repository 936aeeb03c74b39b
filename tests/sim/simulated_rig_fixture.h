#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "bridge/sonix_camera.h"
#include "core/utf.h"
#include "support/call_views.h"
#include "support/locked_session.h"
#include "support/rig_cameras.h"
#include "uvc_stereo/simulated_rig.h"

// Helpers for driving the simulated rig through the vendor functions the way the SDK
// does: under the vendor lock, inside a library session.
namespace tovanel::uvc_stereo::sim::rig_testing {

using test_support::calls_named;
using test_support::LockedSession;

// A camera of the first supported model that the library names after its serial number and that has no product
// string or manufacturer text.
inline SimulatedCamera supported_camera(const std::string& serial) {
  SimulatedCamera camera = test_support::supported_camera(0, serial);
  camera.device_name = "Stereo Camera " + serial;
  camera.product_string.reset();
  camera.descriptor_3.reset();
  return camera;
}

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

// A rig with one camera and a library session open on it, as every call the SDK makes on a
// camera has; `record_` is the camera as the library lists it. Tests close the session in
// their TearDown, where they also check what the rig saw.
class OneCameraSessionTest : public ::testing::Test {
 protected:
  // Plugs `camera` in, opens the session and lists the camera; a failure stops the test.
  void open_session_on(const SimulatedCamera& camera) {
    camera_ = rig_.add_camera(camera);
    session_ = std::make_unique<LockedSession>();
    ASSERT_TRUE(session_->opened());
    const std::vector<SonixLib::scDevice_t> records = enumerate_records();
    ASSERT_EQ(records.size(), 1u);
    record_ = records[0];
  }

  // Lifts the flash's write protection with the calls the SDK makes before it writes.
  void unlock_flash() {
    ASSERT_TRUE(SonixCam_SetStatusRegBitWP(&record_, 2, 5, 1, 6, 2, 3));
    ASSERT_TRUE(SonixCam_SetWriteProtectedSF(&record_, 1, 1));
    ASSERT_FALSE(rig_.write_protected(camera_));
  }

  SimulatedRig rig_;
  int camera_ = -1;
  std::unique_ptr<LockedSession> session_;
  SonixLib::scDevice_t record_{};
};

}  // namespace tovanel::uvc_stereo::sim::rig_testing
