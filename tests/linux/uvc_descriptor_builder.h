#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

// The raw descriptors of a UVC 1.0 camera, laid out as the USB 2.0 specification (chapter 9) and the USB Video
// Class 1.5 specification (chapter 3) define them and as sysfs's `descriptors` file holds them: the 18-byte device
// descriptor, then the configuration with its interface association, the video-control interface (header, camera
// terminal, processing unit, extension unit, output terminal, interrupt endpoint) and the video-streaming interface
// (input header, one MJPEG format and frame, and an isochronous alternate setting).
namespace tovanel::uvc_stereo::linux_testing {

struct UvcDescriptorSpec {
  std::uint16_t vendor_id = 0x0C45;
  std::uint16_t product_id = 0x6366;
  std::uint8_t manufacturer_index = 3;
  std::uint8_t product_index = 2;
  std::uint8_t serial_number_index = 4;  ///< 0: the device has no serial number
  bool video_control = true;             ///< false: the first interface is vendor-specific, not UVC
  std::uint8_t extension_unit_id = 4;
  std::array<std::uint8_t, 16> extension_unit_guid = {0x94, 0x73, 0xDF, 0xDD, 0x3E, 0x97, 0x27, 0x47,
                                                      0xBE, 0xD9, 0x04, 0xED, 0x64, 0x26, 0xDC, 0x67};
};

class DescriptorBytes {
 public:
  DescriptorBytes& u8(std::uint32_t value) {
    bytes_.push_back(static_cast<std::uint8_t>(value));
    return *this;
  }
  DescriptorBytes& le16(std::uint32_t value) { return u8(value & 0xFFu).u8(value >> 8); }
  DescriptorBytes& le32(std::uint32_t value) { return le16(value & 0xFFFFu).le16(value >> 16); }
  DescriptorBytes& bytes(const std::vector<std::uint8_t>& more) {
    bytes_.insert(bytes_.end(), more.begin(), more.end());
    return *this;
  }
  [[nodiscard]] std::size_t size() const noexcept { return bytes_.size(); }
  [[nodiscard]] const std::vector<std::uint8_t>& data() const noexcept { return bytes_; }
  void set_le16(std::size_t at, std::size_t value) {
    bytes_[at] = static_cast<std::uint8_t>(value & 0xFFu);
    bytes_[at + 1] = static_cast<std::uint8_t>((value >> 8) & 0xFFu);
  }

 private:
  std::vector<std::uint8_t> bytes_;
};

inline std::vector<std::uint8_t> device_descriptor(const UvcDescriptorSpec& spec) {
  DescriptorBytes d;
  d.u8(18).u8(0x01).le16(0x0200);       // bLength, DEVICE, bcdUSB 2.00
  d.u8(0xEF).u8(0x02).u8(0x01).u8(64);  // miscellaneous class with interface associations, EP0 of 64 bytes
  d.le16(spec.vendor_id).le16(spec.product_id).le16(0x0100);
  d.u8(spec.manufacturer_index).u8(spec.product_index).u8(spec.serial_number_index).u8(1);
  return d.data();
}

inline std::vector<std::uint8_t> video_control_descriptors(const UvcDescriptorSpec& spec) {
  DescriptorBytes vc;
  // Class-specific VC interface header: bcdUVC 1.00, its own total length patched below, 48 MHz clock, one
  // streaming interface (number 1).
  vc.u8(13).u8(0x24).u8(0x01).le16(0x0100).le16(0).le32(48000000).u8(1).u8(1);
  // Camera terminal 1: ITT_CAMERA, no focal lengths, three bytes of controls.
  vc.u8(18).u8(0x24).u8(0x02).u8(1).le16(0x0201).u8(0).u8(0).le16(0).le16(0).le16(0).u8(3).u8(0x0E).u8(0).u8(0);
  // Processing unit 2, fed by terminal 1: two bytes of controls.
  vc.u8(11).u8(0x24).u8(0x05).u8(2).u8(1).le16(0).u8(2).u8(0x7F).u8(0x15).u8(0);
  // Extension unit: 16 controls, one input pin (unit 2), two bytes of controls, no string.
  vc.u8(27).u8(0x24).u8(0x06).u8(spec.extension_unit_id);
  vc.bytes(std::vector<std::uint8_t>(spec.extension_unit_guid.begin(), spec.extension_unit_guid.end()));
  vc.u8(16).u8(1).u8(2).u8(2).u8(0xFF).u8(0xFF).u8(0);
  // Output terminal 3: TT_STREAMING, fed by the extension unit.
  vc.u8(9).u8(0x24).u8(0x03).u8(3).le16(0x0101).u8(0).u8(spec.extension_unit_id).u8(0);
  vc.set_le16(5, vc.size());
  return vc.data();
}

inline std::vector<std::uint8_t> video_streaming_descriptors() {
  DescriptorBytes vs;
  // Input header: one format, endpoint 0x81, linked to output terminal 3.
  vs.u8(14).u8(0x24).u8(0x01).u8(1).le16(0).u8(0x81).u8(0).u8(3).u8(0).u8(0).u8(0).u8(1).u8(0);
  // MJPEG format 1 with one frame, and its 2560x720 frame at 30 frames per second.
  vs.u8(11).u8(0x24).u8(0x06).u8(1).u8(1).u8(1).u8(1).u8(0).u8(0).u8(0).u8(0);
  vs.u8(30).u8(0x24).u8(0x07).u8(1).u8(0).le16(2560).le16(720).le32(442368000).le32(442368000);
  vs.le32(3686400).le32(333333).u8(1).le32(333333);
  vs.set_le16(4, vs.size());
  return vs.data();
}

inline std::vector<std::uint8_t> configuration_descriptors(const UvcDescriptorSpec& spec) {
  const std::uint8_t video = spec.video_control ? 0x0E : 0xFF;
  DescriptorBytes c;
  c.u8(9).u8(0x02).le16(0).u8(2).u8(1).u8(0).u8(0x80).u8(250);  // total length patched below, 500 mA
  c.u8(8).u8(0x0B).u8(0).u8(2).u8(0x0E).u8(0x03).u8(0).u8(0);   // interface association: video, interfaces 0 and 1
  c.u8(9).u8(0x04).u8(0).u8(0).u8(1).u8(video).u8(0x01).u8(0).u8(0);  // interface 0: video control, one endpoint
  c.bytes(video_control_descriptors(spec));
  c.u8(7).u8(0x05).u8(0x83).u8(0x03).le16(16).u8(6);                 // interrupt endpoint 3 IN, 16 bytes
  c.u8(5).u8(0x25).u8(0x03).le16(16);                                // its class-specific descriptor
  c.u8(9).u8(0x04).u8(1).u8(0).u8(0).u8(0x0E).u8(0x02).u8(0).u8(0);  // interface 1: video streaming, idle
  c.bytes(video_streaming_descriptors());
  c.u8(9).u8(0x04).u8(1).u8(1).u8(1).u8(0x0E).u8(0x02).u8(0).u8(0);  // alternate setting 1
  c.u8(7).u8(0x05).u8(0x81).u8(0x05).le16(0x1400).u8(1);             // isochronous endpoint 1 IN
  c.set_le16(2, c.size());
  return c.data();
}

// What sysfs's `descriptors` file holds for the device.
inline std::vector<std::uint8_t> raw_descriptors(const UvcDescriptorSpec& spec) {
  std::vector<std::uint8_t> all = device_descriptor(spec);
  const std::vector<std::uint8_t> configuration = configuration_descriptors(spec);
  all.insert(all.end(), configuration.begin(), configuration.end());
  return all;
}

}  // namespace tovanel::uvc_stereo::linux_testing
