#include "support/scanned_device.h"

#include <gtest/gtest.h>

#include <vector>

#include "uvc_stereo/device.h"

namespace tovanel::uvc_stereo::test_support {

DeviceInfo scanned_device(const std::string& serial) {
  Result<std::vector<DeviceInfo>> devices = scan_devices();
  EXPECT_TRUE(devices.ok()) << devices.status().message();
  if (devices.ok()) {
    for (const DeviceInfo& info : devices.value()) {
      if (info.serial_number == serial) {
        return info;
      }
    }
  }
  ADD_FAILURE() << "camera " << serial << " not found by the scan";
  return DeviceInfo();
}

}  // namespace tovanel::uvc_stereo::test_support
