// The video nodes the kernel would show for the rig's cameras: two per plugged camera (capture, then metadata),
// numbered by rig index, owned as udev leaves a camera's nodes without the SDK's rule, and refused as each camera's
// node access says.
#include <cerrno>
#include <cstddef>
#include <string>

#include "imu/model_table.h"
#include "sim/backend_ops.h"
#include "sim/registry.h"

namespace tovanel::uvc_stereo::sim {
namespace {

constexpr std::uint32_t kNodeMode = 0660;

// The system's error number and text for a refused node, as Linux gives them.
void refuse(KernelVideoNode& node, SimulatedNodeAccess access) {
  node.may_open = access == SimulatedNodeAccess::Allowed;
  switch (access) {
    case SimulatedNodeAccess::Allowed:
      return;
    case SimulatedNodeAccess::PermissionDenied:
      node.system_error = EACCES;
      node.reason = "Permission denied";
      return;
    case SimulatedNodeAccess::Busy:
      node.system_error = EBUSY;
      node.reason = "Device or resource busy";
      return;
  }
}

KernelVideoDevice device_of(const CameraState& camera, std::size_t index) {
  KernelVideoDevice device;
  device.device_path = camera.config.device_path;
  device.bus_name = "1-" + std::to_string(index + 1);
  device.vendor_id = camera.config.vendor_id;
  device.product_id = camera.config.product_id;
  device.supported = detail::find_supported_model(camera.config.vendor_id, camera.config.product_id) != nullptr;
  for (std::size_t node_number = 2 * index; node_number < 2 * index + 2; ++node_number) {
    KernelVideoNode node;
    node.path = "/dev/video" + std::to_string(node_number);
    node.owner = "root";
    node.group = "video";
    node.mode = kNodeMode;
    refuse(node, camera.config.node_access);
    device.nodes.push_back(std::move(node));
  }
  return device;
}

}  // namespace

KernelVideoListing sim_node_listing() {
  KernelVideoListing listing;
  const RigAccess access;
  if (access.state() == nullptr) {
    listing.note = "no simulated rig is active";
    return listing;
  }
  listing.available = true;
  const std::vector<CameraState>& cameras = access.state()->cameras;
  for (std::size_t index = 0; index < cameras.size(); ++index) {
    if (cameras[index].plugged) {
      listing.devices.push_back(device_of(cameras[index], index));
    }
  }
  return listing;
}

}  // namespace tovanel::uvc_stereo::sim
