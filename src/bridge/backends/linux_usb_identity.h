#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "bridge/sonix_camera.h"

namespace tovanel::uvc_stereo::detail::bridge {

// Which USB device sits at a port, as sysfs tells it: the bus and device numbers the kernel
// gave it when it was plugged in (a device plugged in again gets a new device number), and a
// fingerprint of everything it says about itself (those numbers' texts, its serial number and
// its raw descriptors). Two cameras of one model at one port differ in one of these.
struct LinuxUsbIdentity {
  std::uint32_t bus_number = 0;     ///< `busnum`; 0 when it is not a decimal number
  std::uint32_t device_number = 0;  ///< `devnum`; 0 when it is not a decimal number
  std::uint64_t fingerprint = 0;

  friend bool operator==(const LinuxUsbIdentity& a, const LinuxUsbIdentity& b) noexcept {
    return a.bus_number == b.bus_number && a.device_number == b.device_number && a.fingerprint == b.fingerprint;
  }
  friend bool operator!=(const LinuxUsbIdentity& a, const LinuxUsbIdentity& b) noexcept { return !(a == b); }
};

// The identity of a USB device from the texts of its `busnum`, `devnum` and `serial`
// attributes (absent: nullopt) and its `descriptors` bytes, as read from sysfs.
[[nodiscard]] LinuxUsbIdentity make_linux_usb_identity(std::string_view bus_number, std::string_view device_number,
                                                       const std::optional<std::string_view>& serial,
                                                       std::string_view descriptors) noexcept;

// A decimal sysfs number ("3"); nothing when the text is empty, not decimal, or above 2^32 - 1.
[[nodiscard]] std::optional<std::uint32_t> parse_sysfs_decimal(std::string_view text) noexcept;

// Marks a device record handed out by the Linux backend with the identity of the camera it
// names, so that every later call made with it can tell whether that camera is still the
// one at its port.
void stamp_linux_device_record(const LinuxUsbIdentity& identity, SonixLib::scDevice_t& record) noexcept;

// The identity a record was stamped with; nothing for a record the Linux backend did not hand out.
[[nodiscard]] std::optional<LinuxUsbIdentity> linux_device_record_identity(const SonixLib::scDevice_t& record) noexcept;

}  // namespace tovanel::uvc_stereo::detail::bridge
