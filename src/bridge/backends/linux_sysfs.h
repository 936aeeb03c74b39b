#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "bridge/backends/linux_descriptors.h"
#include "bridge/backends/linux_usb_identity.h"
#include "bridge/linux_kernel.h"

namespace tovanel::uvc_stereo::detail::bridge {

// One USB camera driven by the kernel's UVC driver, as sysfs and its capture node show it.
struct LinuxUvcCamera {
  std::string device_path;    ///< the USB device's sysfs bus path, e.g. "/sys/bus/usb/devices/1-2"
  LinuxUsbIdentity identity;  ///< which device was at that path when it was listed
  UvcDescriptorSummary descriptors;
  std::optional<std::string> manufacturer;  ///< the USB device's string texts; absent when it has none
  std::optional<std::string> product;
  std::optional<std::string> serial;
  std::string node_name;     ///< the capture node's V4L2 name
  int capture_index = -1;    ///< N of the capture node /dev/videoN
  std::string capture_node;  ///< the capture node's path, e.g. "/dev/video0"
};

struct LinuxUvcListing {
  bool sysfs_present = false;           ///< false: sysfs itself cannot be read, so the kernel cannot be asked at all
  std::vector<LinuxUvcCamera> cameras;  ///< ordered by capture index
};

// The USB devices with a UVC video-control interface and a video-capture node, one entry
// per device with its lowest-numbered capture node. A node that cannot be opened to ask
// what it is counts as the capture node when sysfs gives it the device's first node index
// (the UVC driver registers the capture node first), and the reason goes to the
// diagnostic output.
[[nodiscard]] LinuxUvcListing list_linux_uvc_cameras(const LinuxKernel& kernel);

// The identity of the USB device at `device_path` (a path from the listing) now; nothing
// when no device is there any more or its attributes cannot be read.
[[nodiscard]] std::optional<LinuxUsbIdentity> read_linux_usb_identity(const std::string& device_path);

// A sysfs attribute's text without the line break the kernel ends it with; nothing when it
// cannot be read or is longer than the page the kernel writes attributes into.
[[nodiscard]] std::optional<std::string> read_attribute(const std::filesystem::path& path);

// N of a video node's name "videoN"; nothing for any other name.
[[nodiscard]] std::optional<int> node_number(const std::string& name);

// Sends one line to the diagnostic output.
void report_linux_problem(const std::string& text) noexcept;

}  // namespace tovanel::uvc_stereo::detail::bridge
