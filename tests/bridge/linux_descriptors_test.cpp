// Reading a UVC camera's raw USB descriptors: portable code, tested on every platform.
#include "bridge/backends/linux_descriptors.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "bridge/extension_unit.h"
#include "linux/uvc_descriptor_builder.h"

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

using linux_testing::raw_descriptors;
using linux_testing::UvcDescriptorSpec;

TEST(UvcDescriptors, TheDeviceDescriptorGivesIdsAndStringIndices) {
  UvcDescriptorSpec spec;
  spec.product_id = 0x636A;
  spec.manufacturer_index = 1;
  spec.product_index = 2;
  spec.serial_number_index = 0;
  const std::vector<std::uint8_t> bytes = raw_descriptors(spec);
  const auto device = parse_usb_device_descriptor(bytes.data(), bytes.size());
  ASSERT_TRUE(device.has_value());
  EXPECT_EQ(device->vendor_id, 0x0C45);
  EXPECT_EQ(device->product_id, 0x636A);
  EXPECT_EQ(device->manufacturer_index, 1);
  EXPECT_EQ(device->product_index, 2);
  EXPECT_EQ(device->serial_number_index, 0);
}

TEST(UvcDescriptors, TheExtensionUnitOfTheVideoControlInterfaceIsFound) {
  const std::vector<std::uint8_t> bytes = raw_descriptors(UvcDescriptorSpec{});
  const auto summary = summarize_uvc_descriptors(bytes.data(), bytes.size());
  ASSERT_TRUE(summary.has_value());
  EXPECT_TRUE(summary->has_video_control);
  ASSERT_EQ(summary->extension_units.size(), 1u);
  EXPECT_EQ(summary->extension_units[0].unit_id, 4);
  EXPECT_EQ(summary->extension_units[0].guid, kExtensionUnitGuid);
}

TEST(UvcDescriptors, AVendorSpecificInterfaceHasNoVideoControlAndNoUnit) {
  UvcDescriptorSpec spec;
  spec.video_control = false;
  const std::vector<std::uint8_t> bytes = raw_descriptors(spec);
  const auto summary = summarize_uvc_descriptors(bytes.data(), bytes.size());
  ASSERT_TRUE(summary.has_value());
  EXPECT_FALSE(summary->has_video_control);
  EXPECT_TRUE(summary->extension_units.empty());
}

TEST(UvcDescriptors, ATooShortOrForeignStartIsNoDevice) {
  const std::vector<std::uint8_t> bytes = raw_descriptors(UvcDescriptorSpec{});
  EXPECT_FALSE(parse_usb_device_descriptor(bytes.data(), 17).has_value());
  EXPECT_FALSE(parse_usb_device_descriptor(nullptr, 0).has_value());
  std::vector<std::uint8_t> wrong_type = bytes;
  wrong_type[1] = 0x02;
  EXPECT_FALSE(summarize_uvc_descriptors(wrong_type.data(), wrong_type.size()).has_value());
}

TEST(UvcDescriptors, ATruncatedOrZeroLengthDescriptorEndsTheWalkSafely) {
  const std::vector<std::uint8_t> bytes = raw_descriptors(UvcDescriptorSpec{});
  // Cut inside the extension unit: the interface is seen, the unit is not.
  for (std::size_t size = 18; size < bytes.size(); ++size) {
    const auto summary = summarize_uvc_descriptors(bytes.data(), size);
    ASSERT_TRUE(summary.has_value());
    EXPECT_LE(summary->extension_units.size(), 1u);
  }
  std::vector<std::uint8_t> zero_length = bytes;
  zero_length[18] = 0;  // the configuration descriptor claims no bytes
  const auto summary = summarize_uvc_descriptors(zero_length.data(), zero_length.size());
  ASSERT_TRUE(summary.has_value());
  EXPECT_FALSE(summary->has_video_control);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::detail::bridge
