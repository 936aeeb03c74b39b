#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <system_error>

#include "bridge/backends/linux_sysfs.h"
#include "bridge/backends/linux_uvc_ioctl.h"
#include "bridge/backends/linux_video_devices.h"
#include "imu/model_table.h"

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

namespace fs = std::filesystem;

constexpr char kVideoClass[] = "0e";
constexpr std::uint32_t kPermissionBits = 07777;

// The directories udev reads rules from, below the system root: the administrator's own
// first, then the packages'.
constexpr const char* kUdevRuleDirectories[] = {"etc/udev/rules.d", "lib/udev/rules.d", "usr/lib/udev/rules.d"};

// A four-digit hexadecimal id attribute (idVendor, idProduct); 0 when it is unreadable.
std::uint16_t read_id(const fs::path& path) {
  const std::optional<std::string> text = read_attribute(path);
  if (!text.has_value() || text->empty() || text->size() > 4) {
    return 0;
  }
  char* end = nullptr;
  const unsigned long value = std::strtoul(text->c_str(), &end, 16);
  return end == text->c_str() + text->size() ? static_cast<std::uint16_t>(value) : 0;
}

// N of the node at `path`, for ordering nodes as the kernel numbers them.
int number_of_node(const std::string& path) { return node_number(fs::path(path).filename().string()).value_or(-1); }

KernelVideoNode look_at_node(const LinuxKernel& kernel, const std::string& path) {
  KernelVideoNode node;
  node.path = path;
  LinuxNodeOwnership ownership;
  if (kernel.node_ownership != nullptr && kernel.node_ownership(path.c_str(), &ownership) == 0) {
    node.owner = ownership.owner;
    node.group = ownership.group;
    node.mode = ownership.mode & kPermissionBits;
  }
  const LinuxVideoNode opened(kernel, path);
  node.may_open = opened.is_open();
  if (!node.may_open) {
    node.system_error = opened.open_error();
    node.reason = system_error_text(node.system_error);
  }
  return node;
}

std::vector<std::string> installed_udev_rules(const LinuxKernel& kernel) {
  std::vector<std::string> found;
  if (kernel.system_root == nullptr) {
    return found;
  }
  for (const char* directory : kUdevRuleDirectories) {
    const fs::path rule = fs::path(kernel.system_root) / directory / kUdevRuleFileName;
    std::error_code error;
    if (fs::is_regular_file(rule, error)) {
      found.push_back(rule.lexically_normal().string());
    }
  }
  return found;
}

}  // namespace

KernelVideoListing list_linux_video_devices(const LinuxKernel& kernel) {
  KernelVideoListing listing;
  const fs::path sysfs = kernel.sysfs_root;
  std::error_code error;
  if (!fs::is_directory(sysfs, error)) {
    listing.note = "sysfs cannot be read at " + sysfs.string();
    return listing;
  }
  listing.available = true;
  listing.udev_rules = installed_udev_rules(kernel);

  // Keyed by the USB device's real directory, so that its nodes gather under one entry.
  std::map<fs::path, KernelVideoDevice> by_device;
  const fs::path class_directory = sysfs / "class" / "video4linux";
  for (fs::directory_iterator entry(class_directory, error), end; !error && entry != end; entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    if (!node_number(name).has_value()) {
      continue;
    }
    std::error_code ignored;
    const fs::path interface = fs::canonical(entry->path() / "device", ignored);
    if (ignored || read_attribute(interface / "bInterfaceClass") != std::optional<std::string>(kVideoClass)) {
      continue;
    }
    const fs::path usb_directory = interface.parent_path();
    auto [place, added] = by_device.try_emplace(usb_directory);
    KernelVideoDevice& device = place->second;
    if (added) {
      device.bus_name = usb_directory.filename().string();
      device.device_path = (sysfs / "bus" / "usb" / "devices" / device.bus_name).string();
      device.vendor_id = read_id(usb_directory / "idVendor");
      device.product_id = read_id(usb_directory / "idProduct");
      device.supported = detail::find_supported_model(device.vendor_id, device.product_id) != nullptr;
    }
    device.nodes.push_back(look_at_node(kernel, (fs::path(kernel.dev_root) / name).string()));
  }

  for (auto& [directory, device] : by_device) {
    std::sort(device.nodes.begin(), device.nodes.end(), [](const KernelVideoNode& a, const KernelVideoNode& b) {
      return number_of_node(a.path) < number_of_node(b.path);
    });
    listing.devices.push_back(std::move(device));
  }
  std::sort(listing.devices.begin(), listing.devices.end(),
            [](const KernelVideoDevice& a, const KernelVideoDevice& b) { return a.bus_name < b.bus_name; });
  return listing;
}

}  // namespace tovanel::uvc_stereo::detail::bridge
