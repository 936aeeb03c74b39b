#include "bridge/backends/linux_descriptors.h"

#include <algorithm>

#include "core/byte_order.h"

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

// USB 2.0 chapter 9 descriptor types and the UVC 1.5 class-specific codes (appendix A).
constexpr std::uint8_t kDeviceDescriptorType = 0x01;
constexpr std::uint8_t kInterfaceDescriptorType = 0x04;
constexpr std::size_t kDeviceDescriptorLength = 18;
constexpr std::size_t kInterfaceDescriptorLength = 9;
constexpr std::uint8_t kVideoClass = 0x0E;
constexpr std::uint8_t kVideoControlSubclass = 0x01;
constexpr std::uint8_t kClassSpecificInterface = 0x24;
constexpr std::uint8_t kExtensionUnitSubtype = 0x06;
// bLength, bDescriptorType, bDescriptorSubtype, bUnitID, guidExtensionCode[16], bNumControls,
// bNrInPins: the fixed part of an extension unit descriptor (UVC 1.5 table 3-8).
constexpr std::size_t kExtensionUnitMinimumLength = 22;
constexpr std::size_t kExtensionUnitIdOffset = 3;
constexpr std::size_t kExtensionUnitGuidOffset = 4;

}  // namespace

std::optional<UsbDeviceDescriptor> parse_usb_device_descriptor(const std::uint8_t* data, std::size_t size) noexcept {
  if (data == nullptr || size < kDeviceDescriptorLength || data[0] < kDeviceDescriptorLength ||
      data[1] != kDeviceDescriptorType) {
    return std::nullopt;
  }
  UsbDeviceDescriptor descriptor;
  descriptor.vendor_id = detail::load_le16(data + 8);
  descriptor.product_id = detail::load_le16(data + 10);
  descriptor.manufacturer_index = data[14];
  descriptor.product_index = data[15];
  descriptor.serial_number_index = data[16];
  return descriptor;
}

std::optional<UvcDescriptorSummary> summarize_uvc_descriptors(const std::uint8_t* data, std::size_t size) {
  const std::optional<UsbDeviceDescriptor> device = parse_usb_device_descriptor(data, size);
  if (!device.has_value()) {
    return std::nullopt;
  }
  UvcDescriptorSummary summary;
  summary.device = *device;
  bool in_video_control = false;
  // Every descriptor after the device descriptor starts with its length and type, so the
  // configurations, interfaces and class-specific descriptors are walked as one list.
  for (std::size_t at = data[0]; at + 2 <= size;) {
    const std::size_t length = data[at];
    if (length < 2 || length > size - at) {
      break;
    }
    const std::uint8_t* descriptor = data + at;
    const std::uint8_t type = descriptor[1];
    if (type == kInterfaceDescriptorType && length >= kInterfaceDescriptorLength) {
      in_video_control = descriptor[5] == kVideoClass && descriptor[6] == kVideoControlSubclass;
      summary.has_video_control = summary.has_video_control || in_video_control;
    } else if (in_video_control && type == kClassSpecificInterface && length >= kExtensionUnitMinimumLength &&
               descriptor[2] == kExtensionUnitSubtype) {
      UvcExtensionUnit unit;
      unit.unit_id = descriptor[kExtensionUnitIdOffset];
      std::copy_n(descriptor + kExtensionUnitGuidOffset, unit.guid.size(), unit.guid.begin());
      summary.extension_units.push_back(unit);
    }
    at += length;
  }
  return summary;
}

}  // namespace tovanel::uvc_stereo::detail::bridge
