#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace tovanel::uvc_stereo::detail::bridge {

// What the Linux backend needs from a USB device descriptor (18 bytes, USB 2.0 table 9-8):
// the ids and which string descriptor index holds which text (0 = the device has none).
struct UsbDeviceDescriptor {
  std::uint16_t vendor_id = 0;
  std::uint16_t product_id = 0;
  std::uint8_t manufacturer_index = 0;
  std::uint8_t product_index = 0;
  std::uint8_t serial_number_index = 0;
};

// One extension unit of a UVC video-control interface: its unit id and its GUID as the
// descriptor stores it (the first three fields little-endian, the last eight bytes as they stand).
struct UvcExtensionUnit {
  std::uint8_t unit_id = 0;
  std::array<std::uint8_t, 16> guid{};
};

// What a device's raw descriptors (the device descriptor followed by every configuration
// descriptor with its interfaces, as sysfs's `descriptors` file holds them) say about UVC.
struct UvcDescriptorSummary {
  UsbDeviceDescriptor device;
  bool has_video_control = false;                 ///< some interface is class 0x0E (video), subclass 0x01 (control)
  std::vector<UvcExtensionUnit> extension_units;  ///< of the video-control interfaces, in descriptor order
};

// Reads the device descriptor at the start of `data`; nothing when it is too short or not
// a device descriptor.
[[nodiscard]] std::optional<UsbDeviceDescriptor> parse_usb_device_descriptor(const std::uint8_t* data,
                                                                             std::size_t size) noexcept;

// Reads a whole raw descriptor blob; nothing when it does not start with a device
// descriptor. A descriptor that claims more bytes than remain, or fewer than two, ends the
// walk: what came before it still counts.
[[nodiscard]] std::optional<UvcDescriptorSummary> summarize_uvc_descriptors(const std::uint8_t* data, std::size_t size);

}  // namespace tovanel::uvc_stereo::detail::bridge
