// The Linux backend's walk over a USB device's raw descriptors (the bytes of sysfs's `descriptors` file), checked
// against the walk restated on its own: first cut the bytes into descriptors, then read the interfaces and the
// units of the video-control ones. Any bytes a device sends must give the same answer both ways, never read past
// the end, and cutting the bytes at a descriptor boundary may only drop units from the end of the list.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "bridge/backends/linux_descriptors.h"
#include "fuzz_check.h"
#include "fuzz_input.h"

namespace {

namespace bridge = tovanel::uvc_stereo::detail::bridge;
using uvc_stereo_fuzz::ExactText;

struct Piece {
  std::size_t offset = 0;
  std::size_t length = 0;
};

struct Expected {
  bool is_device = false;
  std::uint16_t vendor_id = 0;
  std::uint16_t product_id = 0;
  std::uint8_t manufacturer = 0;
  std::uint8_t product = 0;
  std::uint8_t serial = 0;
  bool has_video_control = false;
  std::vector<bridge::UvcExtensionUnit> units;
  std::vector<std::size_t> boundaries;  ///< where each descriptor after the device descriptor ends
};

// The descriptors after the device descriptor: each claims its own length in its first byte; one that claims
// fewer than two bytes or more than remain ends the list.
std::vector<Piece> cut_into_descriptors(const std::uint8_t* data, std::size_t size) {
  std::vector<Piece> pieces;
  std::size_t offset = data[0];
  while (size >= offset + 2) {
    const std::size_t length = data[offset];
    if (length < 2 || offset + length > size) {
      break;
    }
    pieces.push_back(Piece{offset, length});
    offset += length;
  }
  return pieces;
}

Expected restate(const std::uint8_t* data, std::size_t size) {
  Expected expected;
  // A device descriptor is 18 bytes at least, of type 1 (USB 2.0 table 9-8).
  if (size < 18 || data[0] < 18 || data[1] != 1) {
    return expected;
  }
  expected.is_device = true;
  expected.vendor_id = static_cast<std::uint16_t>(data[8] + 256 * data[9]);
  expected.product_id = static_cast<std::uint16_t>(data[10] + 256 * data[11]);
  expected.manufacturer = data[14];
  expected.product = data[15];
  expected.serial = data[16];
  // Which interface each descriptor belongs to: the last interface descriptor (type 4, nine bytes at least)
  // before it. Class-specific interface descriptors (0x24) of subtype 6 under a video-control interface
  // (class 0x0E, subclass 0x01) are extension units when they hold at least the unit id and GUID and the two
  // counts after it (22 bytes).
  bool video_control = false;
  for (const Piece& piece : cut_into_descriptors(data, size)) {
    const std::uint8_t* d = data + piece.offset;
    if (d[1] == 4 && piece.length >= 9) {
      video_control = d[5] == 0x0E && d[6] == 0x01;
      if (video_control) {
        expected.has_video_control = true;
      }
    } else if (video_control && d[1] == 0x24 && piece.length >= 22 && d[2] == 6) {
      bridge::UvcExtensionUnit unit;
      unit.unit_id = d[3];
      for (std::size_t i = 0; i < 16; ++i) {
        unit.guid[i] = d[4 + i];
      }
      expected.units.push_back(unit);
    }
    expected.boundaries.push_back(piece.offset + piece.length);
  }
  return expected;
}

bool same_unit(const bridge::UvcExtensionUnit& a, const bridge::UvcExtensionUnit& b) {
  return a.unit_id == b.unit_id && a.guid == b.guid;
}

void check_summary(const std::uint8_t* data, std::size_t size, const std::string& shown) {
  const Expected expected = restate(data, size);
  const std::optional<bridge::UvcDescriptorSummary> summary = bridge::summarize_uvc_descriptors(data, size);
  const std::optional<bridge::UsbDeviceDescriptor> device = bridge::parse_usb_device_descriptor(data, size);
  FUZZ_CHECK(summary.has_value() == expected.is_device, "device descriptor accepted wrongly: " + shown);
  FUZZ_CHECK(device.has_value() == expected.is_device, "device descriptor parsed wrongly: " + shown);
  if (!expected.is_device) {
    return;
  }
  FUZZ_CHECK(summary->device.vendor_id == expected.vendor_id && summary->device.product_id == expected.product_id,
             "vendor or product id misread: " + shown);
  FUZZ_CHECK(summary->device.manufacturer_index == expected.manufacturer &&
                 summary->device.product_index == expected.product &&
                 summary->device.serial_number_index == expected.serial,
             "string indices misread: " + shown);
  FUZZ_CHECK(device->vendor_id == expected.vendor_id && device->serial_number_index == expected.serial,
             "device descriptor alone misread: " + shown);
  FUZZ_CHECK(summary->has_video_control == expected.has_video_control, "video control misjudged: " + shown);
  FUZZ_CHECK(summary->extension_units.size() == expected.units.size(),
             "extension unit count " + std::to_string(summary->extension_units.size()) + " instead of " +
                 std::to_string(expected.units.size()) + ": " + shown);
  for (std::size_t i = 0; i < expected.units.size(); ++i) {
    FUZZ_CHECK(same_unit(summary->extension_units[i], expected.units[i]),
               "extension unit " + std::to_string(i) + " misread: " + shown);
  }
  FUZZ_CHECK(expected.units.empty() || summary->has_video_control,
             "extension units outside any video-control interface: " + shown);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // An exact copy, so a read past the end lands outside the allocation.
  const ExactText bytes(data, size);
  const auto* blob = reinterpret_cast<const std::uint8_t*>(bytes.view().data());
  const std::string shown = uvc_stereo_fuzz::escaped(std::string(bytes.view().substr(0, 256)));
  check_summary(size == 0 ? nullptr : blob, size, shown);
  if (size == 0) {
    return 0;
  }
  // Cut at a descriptor boundary, the walk sees the same descriptors up to there: the units are a prefix.
  const Expected whole = restate(blob, size);
  const std::optional<bridge::UvcDescriptorSummary> full = bridge::summarize_uvc_descriptors(blob, size);
  if (whole.is_device && !whole.boundaries.empty()) {
    const std::size_t cut = whole.boundaries[blob[0] % whole.boundaries.size()];
    const ExactText prefix(blob, cut);
    const auto* cut_blob = reinterpret_cast<const std::uint8_t*>(prefix.view().data());
    check_summary(cut_blob, cut, shown);
    const std::optional<bridge::UvcDescriptorSummary> shorter = bridge::summarize_uvc_descriptors(cut_blob, cut);
    FUZZ_CHECK(shorter.has_value() && shorter->extension_units.size() <= full->extension_units.size(),
               "a shorter blob has more units: " + shown);
    for (std::size_t i = 0; i < shorter->extension_units.size(); ++i) {
      FUZZ_CHECK(same_unit(shorter->extension_units[i], full->extension_units[i]),
                 "cutting the blob changed unit " + std::to_string(i) + ": " + shown);
    }
  }
  return 0;
}
