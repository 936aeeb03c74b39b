#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

#include "core/pause.h"
#include "imu/model_table.h"
#include "uvc_stereo/checksum.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/simulated_rig.h"
#include "support/rig_cameras.h"
#include "bridge/process_lock.h"

// Shared pieces of the device tests: a recorder that observes the settling pauses without spending them, cameras of
// the supported models, hand-made flash records and views of the vendor calls the rig saw.
namespace tovanel::uvc_stereo::device_testing {

using rig_cameras::bytes_of;
using rig_cameras::calls_named;
using rig_cameras::supported_camera;

// One pause the SDK asked for, and how many vendor calls the rig had seen at that moment.
struct RecordedPause {
  std::chrono::milliseconds duration{0};
  std::size_t calls_before = 0;
};

// Replaces every pause with a record while it lives, so the suite stays fast and the pauses can be checked.
class PauseRecorder {
 public:
  explicit PauseRecorder(const sim::SimulatedRig* rig = nullptr) : rig_(rig) {
    detail::set_pause_hook(&PauseRecorder::record, this);
  }
  ~PauseRecorder() { detail::set_pause_hook(nullptr, nullptr); }
  PauseRecorder(const PauseRecorder&) = delete;
  PauseRecorder& operator=(const PauseRecorder&) = delete;

  [[nodiscard]] std::vector<RecordedPause> pauses() const {
    const std::lock_guard<std::mutex> guard(mutex_);
    return pauses_;
  }
  [[nodiscard]] std::vector<std::chrono::milliseconds> durations() const {
    std::vector<std::chrono::milliseconds> result;
    for (const RecordedPause& pause : pauses()) {
      result.push_back(pause.duration);
    }
    return result;
  }
  void clear() {
    const std::lock_guard<std::mutex> guard(mutex_);
    pauses_.clear();
  }

 private:
  static void record(std::chrono::milliseconds duration, void* context) {
    auto* self = static_cast<PauseRecorder*>(context);
    RecordedPause pause;
    pause.duration = duration;
    pause.calls_before = self->rig_ != nullptr ? self->rig_->calls().size() : 0;
    const std::lock_guard<std::mutex> guard(self->mutex_);
    self->pauses_.push_back(pause);
  }

  const sim::SimulatedRig* rig_;
  mutable std::mutex mutex_;
  std::vector<RecordedPause> pauses_;
};

inline std::vector<std::chrono::milliseconds> ms(std::initializer_list<int> values) {
  std::vector<std::chrono::milliseconds> result;
  for (int value : values) {
    result.emplace_back(value);
  }
  return result;
}

// A configuration record laid out by hand: "TOVA", format version, header size 16, payload length, CRC-32 of the
// payload, then the payload.
inline std::vector<std::uint8_t> make_record(const std::string& payload_text, std::uint16_t format_version = 0) {
  const std::vector<std::uint8_t> payload = bytes_of(payload_text);
  std::vector<std::uint8_t> record(16 + payload.size(), 0);
  const std::uint32_t length = static_cast<std::uint32_t>(payload.size());
  const std::uint32_t crc = crc32_ieee(payload);
  record[0] = 'T';
  record[1] = 'O';
  record[2] = 'V';
  record[3] = 'A';
  record[4] = static_cast<std::uint8_t>(format_version);
  record[5] = static_cast<std::uint8_t>(format_version >> 8);
  record[6] = 16;
  for (std::size_t i = 0; i < 4; ++i) {
    record[8 + i] = static_cast<std::uint8_t>(length >> (8 * i));
    record[12 + i] = static_cast<std::uint8_t>(crc >> (8 * i));
  }
  std::copy(payload.begin(), payload.end(), record.begin() + 16);
  return record;
}

inline OpenDeviceOptions requiring(std::uint32_t required_capabilities) {
  OpenDeviceOptions options;
  options.required_capabilities = required_capabilities;
  return options;
}

inline std::size_t count_named(const std::vector<sim::VendorCall>& calls, const std::string& name) {
  return calls_named(calls, name).size();
}

// A rig whose rules must hold at the end of every test: nothing broken, no session left open, the lock free.
class DeviceRigTest : public ::testing::Test {
 protected:
  void TearDown() override {
    EXPECT_TRUE(rig_.violations().empty()) << ::testing::PrintToString(rig_.violations());
    EXPECT_EQ(rig_.open_sessions(), 0);
    EXPECT_FALSE(vendor::process_lock_held_by_this_thread());
  }

  // Plugs in a camera and returns the record a scan gives for it.
  DeviceInfo plug_and_scan(const sim::SimulatedCamera& camera) {
    rig_.add_camera(camera);
    return scanned(camera);
  }

  // The scan's record of `camera`, found by its serial number.
  DeviceInfo scanned(const sim::SimulatedCamera& camera) {
    Result<std::vector<DeviceInfo>> devices = scan_devices();
    EXPECT_TRUE(devices.ok()) << devices.status().message();
    if (devices.ok()) {
      for (const DeviceInfo& info : devices.value()) {
        if (camera.serial_number.has_value() && info.serial_number == *camera.serial_number) {
          return info;
        }
      }
    }
    ADD_FAILURE() << "camera " << camera.serial_number.value_or("?") << " not found by the scan";
    return DeviceInfo();
  }

  sim::SimulatedRig rig_;
  PauseRecorder pauses_{&rig_};
};

}  // namespace tovanel::uvc_stereo::device_testing

// Opens `info` with `required` capabilities into the Device `var`, and stops the test when that fails.
#define DEVICE_TESTING_OPEN(var, info, required)                                                              \
  ::tovanel::uvc_stereo::Result<::tovanel::uvc_stereo::Device> var##_opened =                                 \
      ::tovanel::uvc_stereo::open_device((info), ::tovanel::uvc_stereo::device_testing::requiring(required)); \
  ASSERT_TRUE(var##_opened.ok()) << var##_opened.status().message();                                          \
  ::tovanel::uvc_stereo::Device var = std::move(var##_opened).value()
