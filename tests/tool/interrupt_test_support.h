#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "uvc_stereo/device.h"

// What the interrupt tests share: the line a held interrupt prints at once, and the record
// the first camera holds, read back through the SDK rather than through the tool under test.
namespace tovanel::uvc_stereo::tool_testing {

inline const std::string kFinishingLine =
    "\nuvc-stereo: interrupted while the flash is being written; finishing the write and its verification first\n";

// The configuration record camera 0 holds now.
inline std::string stored_configuration() {
  Result<std::vector<DeviceInfo>> devices = scan_devices();
  EXPECT_TRUE(devices.ok() && !devices.value().empty());
  if (!devices.ok() || devices.value().empty()) {
    return {};
  }
  Result<Device> device = open_device(devices.value().front());
  EXPECT_TRUE(device.ok()) << device.status().message();
  if (!device.ok()) {
    return {};
  }
  Result<ReadJsonResult> read = device.value().read_json();
  EXPECT_TRUE(read.ok()) << read.status().message();
  return read.ok() ? read.value().json : std::string();
}

}  // namespace tovanel::uvc_stereo::tool_testing
