#include "bridge/device_selector.h"

#include <gtest/gtest.h>

#include "uvc_stereo/flash_config.h"
#include "uvc_stereo/records.h"

namespace tovanel::uvc_stereo::detail {
namespace {

DeviceInfo scanned_camera() {
  DeviceInfo device;
  device.vendor_id = 0x0C45;
  device.product_id = 0x63AB;
  device.aux_flag_a = true;
  device.aux_flag_b = false;
  device.serial_number = "SN-0042";
  device.descriptor_text = "Vendor text";
  device.friendly_name = "Stereo Camera";
  device.extra_text = "extra";
  device.device_path = "\\\\?\\usb#vid_0c45&pid_63ab&mi_00#7&1&0&0000#{65e8773d-8f56-11d0-a3b9-00a0c9223196}";
  return device;
}

TEST(DeviceSelectorConfig, NeverSelectsAutomaticallyAndDoesNotFilterTheEnumeration) {
  const FlashConfig config = bridge::make_device_selector_config(scanned_camera());

  EXPECT_FALSE(config.auto_select);
  EXPECT_EQ(config.vendor_id, 0);
  EXPECT_EQ(config.product_id, 0);
}

TEST(DeviceSelectorConfig, CarriesTheVidPidKeyPathSerialAndFlags) {
  const DeviceInfo device = scanned_camera();

  const FlashConfig config = bridge::make_device_selector_config(device);

  EXPECT_EQ(config.vidpid, "0c4563ab");
  EXPECT_EQ(config.device_path, device.device_path);
  EXPECT_EQ(config.serial_number, "SN-0042");
  EXPECT_TRUE(config.aux_flag_a);
  EXPECT_FALSE(config.aux_flag_b);
}

TEST(DeviceSelectorConfig, CopiesTheSecondFlagOnItsOwn) {
  DeviceInfo device = scanned_camera();
  device.aux_flag_a = false;
  device.aux_flag_b = true;

  const FlashConfig config = bridge::make_device_selector_config(device);

  EXPECT_FALSE(config.aux_flag_a);
  EXPECT_TRUE(config.aux_flag_b);
}

TEST(DeviceSelectorConfig, LeavesTheFlashLayoutAtItsDefaults) {
  const FlashConfig defaults;

  const FlashConfig config = bridge::make_device_selector_config(scanned_camera());

  EXPECT_EQ(config.user_space_address, 0x51000u);
  EXPECT_EQ(config.erase_sector_size, 4096u);
  EXPECT_EQ(config.magic, defaults.magic);
  EXPECT_EQ(config.user_space_size, 0x10000u);
  EXPECT_EQ(config.min_header_size, 16);
  EXPECT_EQ(config.max_header_size, 256);
  EXPECT_TRUE(config.verify_crc);
  EXPECT_TRUE(config.verify_after_write);
}

TEST(DeviceSelectorConfig, UnknownVendorIdLeavesTheVidPidKeyEmpty) {
  DeviceInfo device = scanned_camera();
  device.vendor_id = 0;

  EXPECT_EQ(bridge::make_device_selector_config(device).vidpid, "");
}

TEST(DeviceSelectorConfig, UnknownProductIdLeavesTheVidPidKeyEmpty) {
  DeviceInfo device = scanned_camera();
  device.product_id = 0;

  EXPECT_EQ(bridge::make_device_selector_config(device).vidpid, "");
}

TEST(DeviceSelectorConfig, SmallIdsArePaddedToEightDigits) {
  DeviceInfo device;
  device.vendor_id = 0x1;
  device.product_id = 0xA;

  EXPECT_EQ(bridge::make_device_selector_config(device).vidpid, "0001000a");
}

TEST(DeviceSelectorConfig, EmptyRecordSelectsNothing) {
  const FlashConfig config = bridge::make_device_selector_config(DeviceInfo{});

  EXPECT_FALSE(config.auto_select);
  EXPECT_TRUE(config.vidpid.empty());
  EXPECT_TRUE(config.serial_number.empty());
  EXPECT_TRUE(config.device_path.empty());
}

}  // namespace
}  // namespace tovanel::uvc_stereo::detail
