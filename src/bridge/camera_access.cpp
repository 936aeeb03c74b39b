// Which supported cameras this account cannot use, and what to do about it, from what the
// kernel shows of their nodes.
#include "uvc_stereo/camera_access.h"

#include <cerrno>
#include <string>
#include <utility>
#include <vector>

#include "bridge/kernel_video_listing.h"
#include "bridge/vendor_backend.h"
#include "core/guard.h"
#include "uvc_stereo/vendor_lock.h"

namespace tovanel::uvc_stereo {
namespace {

// A group worth joining: one that is named and is not the superuser's.
bool joinable(const std::string& group) { return !group.empty() && group != "root"; }

// The fix for a node this account may not open: join the node's group, and let the SDK's
// udev rule give the node to that group (or say it is there but not yet applied).
std::string permission_fix(const KernelVideoNode& node, const std::vector<std::string>& rules) {
  std::string fix;
  if (joinable(node.group)) {
    fix = "add this account to the group " + node.group + ": sudo usermod -aG " + node.group +
          " $USER, then log in again";
  }
  if (!fix.empty()) {
    fix += "; ";
  }
  if (rules.empty()) {
    fix += std::string(joinable(node.group) ? "if that is not enough, " : "") + "install the SDK's udev rule " +
           kUdevRuleFileName + " (its package puts it in /usr/lib/udev/rules.d), then unplug and replug the camera";
  } else {
    fix += "the SDK's udev rule " + rules.front() +
           " is installed but does not apply to this node yet: unplug and replug the camera, or run sudo udevadm "
           "trigger";
  }
  return fix;
}

std::string access_fix(const KernelVideoNode& node, const std::vector<std::string>& rules) {
  switch (node.system_error) {
    case EACCES:
    case EPERM:
      return permission_fix(node, rules);
    case ENOENT:
    case ENODEV:
    case ENXIO:
      return "the kernel lists the camera but its node is gone: it was unplugged, or udev has not made the node yet; "
             "plug the camera in again and retry";
    case EBUSY:
      return "another program holds the node: close it and retry";
    default:
      return "unplug and replug the camera; if that does not help, the kernel's log (sudo dmesg) says more";
  }
}

// The nodes that tell which cameras this account may not use: the simulated ones of a backend that stands in for
// the kernel too, else what the kernel shows.
KernelVideoListing camera_node_listing() {
  const detail::bridge::VendorBackend& backend = detail::bridge::active_vendor_backend();
  if (backend.simulated_node_listing != nullptr) {
    const win_detail::SonixGlobalLock lock;
    return backend.simulated_node_listing();
  }
  return detail::bridge::kernel_video_listing();
}

}  // namespace

Result<std::vector<CameraAccessProblem>> find_camera_access_problems() {
  return detail::guard_operation(
      "unknown exception while looking at the cameras' nodes", []() -> Result<std::vector<CameraAccessProblem>> {
        const KernelVideoListing listing = camera_node_listing();
        std::vector<CameraAccessProblem> problems;
        for (const KernelVideoDevice& device : listing.devices) {
          if (!device.supported) {
            continue;
          }
          for (const KernelVideoNode& node : device.nodes) {
            if (!node.may_open) {
              problems.push_back(CameraAccessProblem{device.device_path, node.path, node.system_error, node.reason,
                                                     access_fix(node, listing.udev_rules)});
            }
          }
        }
        return problems;
      });
}

Result<KernelVideoListing> list_kernel_video_devices() {
  return detail::guard_operation("unknown exception while listing the kernel's video devices",
                                 []() -> Result<KernelVideoListing> { return detail::bridge::kernel_video_listing(); });
}

}  // namespace tovanel::uvc_stereo
