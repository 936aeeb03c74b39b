#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "capability/capability_report_encoder.h"
#include "support/reported_imu.h"
#include "support/rig_cameras.h"
#include "support/scanned_device.h"
#include "sweeps/fault_sweep.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/flash_config.h"
#include "uvc_stereo/simulated_rig.h"

// The rig every sweep runs on: the camera under test at rig index 0 and a camera of another model beside it, so
// that every enumeration has a camera to pass over. Also the rule for failures in opening and closing a session,
// which every operation shares.
namespace tovanel::uvc_stereo::sweeps {

inline constexpr int kTarget = 0;
inline constexpr int kOther = 1;
inline constexpr char kTargetSerial[] = "SN-SWEEP-TARGET";
inline constexpr char kOtherSerial[] = "SN-SWEEP-OTHER";
inline constexpr std::uint32_t kUserSpace = 0x51000;
inline constexpr std::uint32_t kSector = 4096;
// Row of the model table with a disabling firmware build (the IMU open reads the version first) and one without.
inline constexpr std::size_t kGatedModelRow = 0;
inline constexpr std::size_t kFreeModelRow = 2;
inline constexpr std::size_t kOtherModelRow = 3;

// Every text of the target differs from its fallback, so that a descriptor that cannot be read shows in a scan.
inline sim::SimulatedCamera target_camera(std::size_t model_row) {
  return test_support::supported_camera(model_row, kTargetSerial);
}

// The other camera answers its vid/pid descriptor in the other byte order, and the library names it as its
// product string does.
inline sim::SimulatedCamera other_camera() {
  sim::SimulatedCamera camera = test_support::supported_camera(kOtherModelRow, kOtherSerial);
  camera.device_name = "Tovanel Stereo Camera";
  camera.descriptor_order = sim::DescriptorByteOrder::LittleEndian;
  return camera;
}

// A valid report declaring the flash user space at the usual address (64 KiB) and the IMU at its usual unit.
inline std::array<std::uint8_t, 64> flash_and_imu_report() {
  return detail::encode_xu_capability_report(test_support::flash_and_imu_report(kUserSpace, 0x10000));
}

// Plugs the target (index 0) and the other camera (index 1).
inline void plug_pair(sim::SimulatedRig& rig, const sim::SimulatedCamera& target) {
  EXPECT_EQ(rig.add_camera(target), kTarget);
  EXPECT_EQ(rig.add_camera(other_camera()), kOther);
}

// The scan's record of the target camera.
inline DeviceInfo scan_target() { return test_support::scanned_device(kTargetSerial); }

// JSON text of about `length` bytes (once minified), different for each `seed`.
inline std::string json_of_length(std::size_t length, unsigned seed) {
  std::string json = "{\"seed\":" + std::to_string(seed) + ",\"fill\":\"";
  const std::string tail = "\"}";
  while (json.size() + tail.size() < length) {
    json.push_back(static_cast<char>('a' + (json.size() * 7 + seed) % 26));
  }
  return json + tail;
}

// How a flash configuration names the target camera.
enum class Selection { ByPath, BySerial };

inline FlashConfig target_config(Selection selection, std::size_t model_row = kGatedModelRow) {
  FlashConfig config;
  if (selection == Selection::ByPath) {
    config.device_path = target_camera(model_row).device_path;
  } else {
    config.serial_number = kTargetSerial;
  }
  return config;
}

// What the failure of a call that opens, looks up or closes a session does.
struct SessionRule {
  bool applies = false;         ///< the call is one of those
  std::optional<Status> fails;  ///< the operation's status, or nothing when the failure changes nothing
};

// Init, the camera lookup, the flash type query and UnInit, for an operation that selects the target camera.
inline SessionRule session_rule(const FailurePoint& point, const VendorFailure& failure, Selection selection) {
  const std::string& name = point.call.name;
  SessionRule rule;
  rule.applies = true;
  if (name == "SonixCam_Init" || name == "SonixCam_GetSerialFlashType") {
    rule.fails = Status(ErrorCode::DeviceUnavailable, vendor_message(name, failure));
  } else if (name == "SonixCam_EnumCameras") {
    // The library filled in no camera, which reads as none attached.
    rule.fails = Status(ErrorCode::DeviceUnavailable, "no matching device found");
  } else if (name == "SonixCam_GetDevDescriptor") {
    // The ids are then taken from the device path and the texts only describe the camera, but a camera whose
    // serial number could not be read cannot be found by it.
    const bool serial_descriptor = !point.call.args.empty() && point.call.args[0] == 4;
    if (selection == Selection::BySerial && serial_descriptor && point.call.camera == kTarget) {
      rule.fails = Status(ErrorCode::DeviceUnavailable, "preferred serial_number not found in current scan");
    }
  } else if (name != "SonixCam_UnInit") {
    rule.applies = false;
  }
  return rule;
}

// What a failing call of a write of `record_size` bytes to the user space gives, when it is one of the flash
// protection, erase, write and read-back calls; nothing for any other call.
inline std::optional<Status> flash_write_failure(const FailurePoint& point, const VendorFailure& failure,
                                                 std::uint64_t record_size) {
  const std::string& name = point.call.name;
  if (name == "SonixCam_SetStatusRegBitWP" || name == "SonixCam_SetWriteProtectedSF") {
    return Status(ErrorCode::WriteFailed, vendor_message(name, failure));
  }
  if (name == "SonixCam_SectorEraseSF") {
    const std::uint32_t sector = kUserSpace + (point.occurrence - 1) * kSector;
    return Status(ErrorCode::EraseFailed, flash_access_message(name, failure, sector, kSector));
  }
  if (name == "SonixCam_WriteToSF") {
    return Status(ErrorCode::WriteFailed, flash_access_message(name, failure, kUserSpace, record_size));
  }
  if (name == "SonixCam_CstmReadFromSF") {
    return Status(ErrorCode::ReadFailed, flash_access_message(name, failure, kUserSpace, record_size));
  }
  return std::nullopt;
}

// The failure of a call that no rule covers: the sweep met a call it does not know.
inline Status unknown_call(const FailurePoint& point) {
  ADD_FAILURE() << "no rule for a failing " << point.call.name;
  return Status(ErrorCode::InternalError, "no rule for " + point.call.name);
}

}  // namespace tovanel::uvc_stereo::sweeps
