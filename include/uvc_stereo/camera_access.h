#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "uvc_stereo/export.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo {

/// The file name of the udev rule the SDK's Linux package installs: it gives the supported
/// cameras' video nodes to the `video` group and to the people at the machine.
inline constexpr const char* kUdevRuleFileName = "70-tovanel-uvc-stereo.rules";

/// A video node of a supported camera that this account cannot open: the camera is listed
/// and opens, but its IMU and capability report cannot be read until the fix is applied.
struct CameraAccessProblem {
  /// The camera's device path as scan_devices() lists it ("/sys/bus/usb/devices/1-2").
  std::string device_path;
  /// The node that cannot be opened ("/dev/video0").
  std::string node;
  /// The system's error number from opening the node (EACCES, ENOENT, EBUSY, ...).
  int system_error = 0;
  /// The system's text for that error ("Permission denied").
  std::string reason;
  /// What makes the node usable, as one line for a person ("add this account to the group
  /// video: sudo usermod -aG video $USER, then log in again; ...").
  std::string fix;
};

/// Every video node of every supported camera the kernel lists that this account cannot
/// open, each opened the way the SDK opens it (and closed at once), in node order. Empty
/// where the platform has no such notion (Windows). While a simulated rig serves the
/// cameras, on any platform, its plugged cameras whose node access is not Allowed
/// (sim::SimulatedCamera::node_access) are named instead, with the reasons and fixes Linux
/// gives. Takes the process-wide vendor lock for the duration, makes no vendor call and
/// starts no session. Fails only with InternalError (memory ran out).
[[nodiscard]] UVC_STEREO_API Result<std::vector<CameraAccessProblem>> find_camera_access_problems();

/// One video node as the kernel shows it, and whether this account may open it.
struct KernelVideoNode {
  /// The node's path ("/dev/video0").
  std::string path;
  /// The owning user's name; empty when the node is missing or the user has no name.
  std::string owner;
  /// The owning group's name; empty when the node is missing or the group has no name.
  std::string group;
  /// The node's permission bits (0660); 0 when the node is missing.
  std::uint32_t mode = 0;
  /// Whether this account opened it, the way the SDK opens it.
  bool may_open = false;
  /// The system's error number from opening it; 0 when it opened.
  int system_error = 0;
  /// The system's text for that error; empty when it opened.
  std::string reason;
};

/// One USB device with a video interface, as sysfs lists it.
struct KernelVideoDevice {
  /// Its sysfs bus path ("/sys/bus/usb/devices/1-2"), the device path scan_devices() gives
  /// a supported camera.
  std::string device_path;
  /// Its name on the bus ("1-2": bus 1, port 2).
  std::string bus_name;
  /// The USB vendor id.
  std::uint16_t vendor_id = 0;
  /// The USB product id.
  std::uint16_t product_id = 0;
  /// Whether it is one of the SDK's models (supported_models()).
  bool supported = false;
  /// Its video nodes, in node order.
  std::vector<KernelVideoNode> nodes;
};

/// What the kernel shows of the machine's video devices, for a field report.
struct KernelVideoListing {
  /// False where there is no kernel listing: on Windows, when sysfs cannot be read, and
  /// while a backend other than the platform's own serves the cameras; `note` says which.
  bool available = false;
  /// Why the listing is not available; empty when it is.
  std::string note;
  /// Every USB device with a video node, in bus-name order; other video devices (a PCI
  /// capture card, a virtual one) are left out.
  std::vector<KernelVideoDevice> devices;
  /// Where the SDK's udev rule (kUdevRuleFileName) is installed; empty when it is nowhere
  /// udev looks (/etc/udev/rules.d, /lib/udev/rules.d, /usr/lib/udev/rules.d).
  std::vector<std::string> udev_rules;
};

/// Lists the machine's USB video devices, their nodes with owner, group and mode, and
/// whether this account may open each, plus where the SDK's udev rule is installed. Opens
/// each node the way the SDK opens it and closes it at once. Takes the process-wide vendor
/// lock for the duration, makes no vendor call. Fails only with InternalError.
[[nodiscard]] UVC_STEREO_API Result<KernelVideoListing> list_kernel_video_devices();

}  // namespace tovanel::uvc_stereo
