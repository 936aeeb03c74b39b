#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tovanel::uvc_stereo::win_detail {

// The USB identity carried inside a canonical Windows device path. Every field that the
// path lacks, or that does not parse, stays zero or empty.
struct WindowsUsbIdentity {
  std::uint16_t vid = 0;  ///< USB vendor id
  std::uint16_t pid = 0;  ///< USB product id
  std::string serial;     ///< third '#'-separated token: the instance part, a serial number for single-function devices
  std::string mi;         ///< interface number of a composite device, e.g. "00"
  std::string col;        ///< HID collection number, e.g. "01"
};

// A vendor and product id pair read from a device path.
struct UsbVidPid {
  std::uint16_t vid = 0;
  std::uint16_t pid = 0;
};

// Canonical lower-case form of any spelling of a Windows device identity (DirectShow moniker
// or device path, Media Foundation symbolic link, vendor-library path), so that two spellings
// of one device compare equal as strings. Blank input gives an empty string.
[[nodiscard]] std::string normalize_windows_device_path(std::string_view path);

// Reads the USB identity out of a path that normalize_windows_device_path already produced;
// it does not fold case itself, so an upper-case "VID_" is not found.
[[nodiscard]] WindowsUsbIdentity parse_windows_usb_identity(std::string_view path);

// The eight-digit lower-case hexadecimal vid/pid key used to select devices, vendor id first.
[[nodiscard]] std::string make_vidpid_string(std::uint16_t vid, std::uint16_t pid);

// Turns every slash and backslash into '#', squeezes runs of '#' to one and drops '#' at
// both ends.
[[nodiscard]] std::string collapse_path_separators(std::string_view text);

// Reads the first four characters of `text` as hexadecimal into `out`. Returns false, with
// `out` untouched, when there are fewer than four or any of them is not a hexadecimal digit.
[[nodiscard]] bool parse_hex4(std::string_view text, std::uint16_t& out);

// The vid/pid written in a device path in any letter case: both "vid_" and "pid_" must be
// present, each followed by four hexadecimal digits.
[[nodiscard]] std::optional<UsbVidPid> vid_pid_from_path(std::string_view path);

}  // namespace tovanel::uvc_stereo::win_detail
