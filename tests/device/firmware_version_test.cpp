#include <gtest/gtest.h>

#include <string>

#include "device/device_rig_support.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/flash.h"

namespace tovanel::uvc_stereo {
namespace {

using device_testing::count_calls;
using device_testing::DeviceRigTest;
using device_testing::supported_camera;

class FirmwareVersion : public DeviceRigTest {
 protected:
  // Opens a camera of the third model, whose firmware carries `firmware`, from a clean call log.
  Device opened(const std::string& firmware) {
    sim::SimulatedCamera camera = supported_camera(2, "SN-FW");
    camera.firmware_version = firmware;
    Result<Device> device = open_device(plug_and_scan(camera));
    EXPECT_TRUE(device.ok()) << device.status().message();
    rig_.clear_calls();
    return std::move(device).value();
  }
};

TEST_F(FirmwareVersion, ReadsTheTextOfTheOpenedCamera) {
  const Device device = opened("V2.4.1-260311");
  const Result<std::string> version = read_firmware_version(device.flash_config());
  ASSERT_TRUE(version.ok()) << version.status().message();
  EXPECT_EQ(version.value(), "V2.4.1-260311");
  EXPECT_EQ(count_calls(rig_.calls(), "SonixCam_GetVersion"), 1u);
}

TEST_F(FirmwareVersion, KeepsLeadingBlanksAndDropsTrailingOnes) {
  const Device device = opened("  V1\t \r\n");
  const Result<std::string> version = read_firmware_version(device.flash_config());
  ASSERT_TRUE(version.ok()) << version.status().message();
  EXPECT_EQ(version.value(), "  V1");
}

TEST_F(FirmwareVersion, AFailedVendorReadIsAReadFailure) {
  const Device device = opened("V1");
  sim::VendorFault fault;
  fault.call = "SonixCam_GetVersion";
  rig_.add_fault(fault);
  const Result<std::string> version = read_firmware_version(device.flash_config());
  ASSERT_FALSE(version.ok());
  EXPECT_EQ(version.status().code(), ErrorCode::ReadFailed);
}

TEST_F(FirmwareVersion, AnEmptyTextIsAReadFailure) {
  const Device device = opened(" \r\n");
  const Result<std::string> version = read_firmware_version(device.flash_config());
  ASSERT_FALSE(version.ok());
  EXPECT_EQ(version.status().code(), ErrorCode::ReadFailed);
  EXPECT_EQ(version.status().message(), "SonixCam_GetVersion returned empty firmware version");
}

}  // namespace
}  // namespace tovanel::uvc_stereo
