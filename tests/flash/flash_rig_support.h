#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <string>
#include <vector>

#include "imu/model_table.h"
#include "uvc_stereo/checksum.h"
#include "uvc_stereo/flash_config.h"
#include "uvc_stereo/result.h"
#include "uvc_stereo/simulated_rig.h"
#include "support/rig_cameras.h"
#include "bridge/process_lock.h"
#include "win/debug_output.h"

// Shared pieces of the flash transport tests: a rig with one supported camera, a record
// maker that does not go through the SDK's own builder, a debug-output recorder and views
// of the vendor calls the rig saw.
namespace tovanel::uvc_stereo::test_support {

using rig_cameras::bytes_of;
using rig_cameras::calls_named;
using rig_cameras::supported_camera;

// Records every text sent to the debugger output while it lives.
class DebugCapture {
 public:
  DebugCapture() { win_detail::set_debug_sink(&DebugCapture::collect, this); }
  ~DebugCapture() { win_detail::set_debug_sink(nullptr, nullptr); }
  DebugCapture(const DebugCapture&) = delete;
  DebugCapture& operator=(const DebugCapture&) = delete;

  [[nodiscard]] const std::vector<std::string>& texts() const { return texts_; }

 private:
  static void collect(const char* text, void* context) {
    static_cast<DebugCapture*>(context)->texts_.emplace_back(text);
  }
  std::vector<std::string> texts_;
};

// A flash failure as both its caller and a debugger see it: the status, and the same text told to the debugger
// followed by a line break.
inline void expect_reported_failure(const Status& status, ErrorCode code, const std::string& message,
                                    const DebugCapture& debug) {
  EXPECT_EQ(status.code(), code);
  EXPECT_EQ(status.message(), message);
  EXPECT_EQ(debug.texts(), (std::vector<std::string>{message, "\n"}));
}

inline void put_le16(std::vector<std::uint8_t>& bytes, std::size_t offset, std::uint16_t value) {
  bytes[offset] = static_cast<std::uint8_t>(value);
  bytes[offset + 1] = static_cast<std::uint8_t>(value >> 8);
}

inline void put_le32(std::vector<std::uint8_t>& bytes, std::size_t offset, std::uint32_t value) {
  for (std::size_t i = 0; i < 4; ++i) {
    bytes[offset + i] = static_cast<std::uint8_t>(value >> (8 * i));
  }
}

// A configuration record laid out by hand: "TOVA", version, header size, payload length,
// CRC-32 of the payload, zero padding, payload.
inline std::vector<std::uint8_t> make_record(const std::vector<std::uint8_t>& payload, std::uint16_t header_size = 16,
                                             std::uint16_t format_version = 0) {
  std::vector<std::uint8_t> record(header_size + payload.size(), 0);
  record[0] = 'T';
  record[1] = 'O';
  record[2] = 'V';
  record[3] = 'A';
  put_le16(record, 4, format_version);
  put_le16(record, 6, header_size);
  put_le32(record, 8, static_cast<std::uint32_t>(payload.size()));
  put_le32(record, 12, crc32_ieee(payload));
  std::copy(payload.begin(), payload.end(), record.begin() + header_size);
  return record;
}

// Vendor calls by name, with the camera lookup (enumeration and descriptor reads, which
// belong to device resolution) folded into one "<lookup>" entry so that the flash steps
// around it can be compared exactly.
inline std::vector<std::string> folded_call_names(const std::vector<sim::VendorCall>& calls) {
  std::vector<std::string> names;
  for (const sim::VendorCall& call : calls) {
    const bool lookup = call.name == "SonixCam_EnumCameras" || call.name == "SonixCam_GetDevDescriptor";
    if (lookup) {
      if (names.empty() || names.back() != "<lookup>") {
        names.emplace_back("<lookup>");
      }
      continue;
    }
    names.push_back(call.name);
  }
  return names;
}

inline std::vector<std::int64_t> args(std::initializer_list<std::int64_t> values) { return values; }

// One rig with one supported camera whose user space is the default one. Every test ends
// with the rig's rules kept, no session left open and the vendor lock free.
class FlashRigTest : public ::testing::Test {
 protected:
  void SetUp() override { camera_ = rig_.add_camera(supported_camera(0, "SN-FLASH-0001")); }

  void TearDown() override {
    EXPECT_TRUE(rig_.violations().empty()) << ::testing::PrintToString(rig_.violations());
    EXPECT_EQ(rig_.open_sessions(), 0);
    EXPECT_FALSE(vendor::process_lock_held_by_this_thread());
  }

  // The rig saw the vendor lock held on every call.
  void expect_calls_under_lock() const {
    for (const sim::VendorCall& call : rig_.calls()) {
      EXPECT_TRUE(call.lock_held) << call.name;
    }
  }

  sim::SimulatedRig rig_;
  int camera_ = -1;
  FlashConfig config_;
};

}  // namespace tovanel::uvc_stereo::test_support
