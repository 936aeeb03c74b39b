#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string_view>
#include <system_error>

#include "bridge/backends/linux_sysfs.h"
#include "bridge/backends/linux_uvc_ioctl.h"
#include "bridge/os/debug_output.h"

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

namespace fs = std::filesystem;

constexpr char kNodePrefix[] = "video";
constexpr char kVideoClass[] = "0e";
constexpr char kVideoControlSubclass[] = "01";

// The kernel writes a text attribute into one page; a raw descriptor file holds at most a
// device descriptor and 255 configurations of at most 64 KiB each. A file longer than its
// kind can be is not the kernel's and is not read.
constexpr std::size_t kAttributeLimit = 4096;
constexpr std::size_t kDescriptorsLimit = 18 + 255 * 65535;

std::optional<std::string> read_file(const fs::path& path, std::size_t limit) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    return std::nullopt;
  }
  std::string bytes;
  char chunk[4096];
  while (in.read(chunk, sizeof(chunk)) || in.gcount() > 0) {
    if (bytes.size() + static_cast<std::size_t>(in.gcount()) > limit) {
      return std::nullopt;
    }
    bytes.append(chunk, static_cast<std::size_t>(in.gcount()));
  }
  if (in.bad()) {
    return std::nullopt;
  }
  return bytes;
}

// Whether `node` captures video: asked of the node itself, or, when it cannot be opened,
// answered by its place among the device's nodes.
bool is_capture_node(const LinuxKernel& kernel, const fs::path& class_entry, const std::string& node_path) {
  const LinuxVideoNode node(kernel, node_path);
  bool captures = false;
  const int error = node.query_captures_video(captures);
  if (error == 0) {
    return captures;
  }
  report_linux_problem("Linux UVC: cannot ask " + node_path + " what it is: " + system_error_text(error));
  return read_attribute(class_entry / "index") == std::optional<std::string>("0");
}

struct DeviceFacts {
  fs::path usb_directory;
  std::string raw_descriptors;
  UvcDescriptorSummary descriptors;
};

LinuxUsbIdentity identity_of(const fs::path& usb_directory, const std::string& raw_descriptors,
                             const std::optional<std::string>& serial) {
  const std::string bus = read_attribute(usb_directory / "busnum").value_or(std::string());
  const std::string device = read_attribute(usb_directory / "devnum").value_or(std::string());
  std::optional<std::string_view> serial_text;
  if (serial.has_value()) {
    serial_text = *serial;
  }
  return make_linux_usb_identity(bus, device, serial_text, raw_descriptors);
}

// The USB device that the video node's interface belongs to, when that interface is UVC
// video control and the device's descriptors read.
std::optional<DeviceFacts> usb_device_of(const fs::path& class_entry) {
  std::error_code error;
  const fs::path interface = fs::canonical(class_entry / "device", error);
  if (error || read_attribute(interface / "bInterfaceClass") != std::optional<std::string>(kVideoClass) ||
      read_attribute(interface / "bInterfaceSubClass") != std::optional<std::string>(kVideoControlSubclass)) {
    return std::nullopt;
  }
  DeviceFacts facts;
  facts.usb_directory = interface.parent_path();
  std::optional<std::string> raw = read_file(facts.usb_directory / "descriptors", kDescriptorsLimit);
  if (!raw.has_value()) {
    return std::nullopt;
  }
  std::optional<UvcDescriptorSummary> summary =
      summarize_uvc_descriptors(reinterpret_cast<const std::uint8_t*>(raw->data()), raw->size());
  if (!summary.has_value() || !summary->has_video_control) {
    return std::nullopt;
  }
  facts.raw_descriptors = std::move(*raw);
  facts.descriptors = std::move(*summary);
  return facts;
}

}  // namespace

std::optional<std::string> read_attribute(const fs::path& path) {
  std::optional<std::string> text = read_file(path, kAttributeLimit);
  if (text.has_value()) {
    while (!text->empty() && (text->back() == '\n' || text->back() == '\r')) {
      text->pop_back();
    }
  }
  return text;
}

std::optional<int> node_number(const std::string& name) {
  const std::string prefix = kNodePrefix;
  if (name.size() <= prefix.size() || name.compare(0, prefix.size(), prefix) != 0 || name.size() > prefix.size() + 6) {
    return std::nullopt;
  }
  int number = 0;
  for (std::size_t i = prefix.size(); i < name.size(); ++i) {
    if (name[i] < '0' || name[i] > '9') {
      return std::nullopt;
    }
    number = number * 10 + (name[i] - '0');
  }
  return number;
}

LinuxUvcListing list_linux_uvc_cameras(const LinuxKernel& kernel) {
  LinuxUvcListing listing;
  const fs::path sysfs = kernel.sysfs_root;
  std::error_code error;
  listing.sysfs_present = fs::is_directory(sysfs, error);
  // The class appears once the kernel's video layer is loaded; without it there is no camera.
  const fs::path class_directory = sysfs / "class" / "video4linux";
  if (!listing.sysfs_present || !fs::is_directory(class_directory, error)) {
    return listing;
  }

  std::map<fs::path, LinuxUvcCamera> by_device;
  for (fs::directory_iterator entry(class_directory, error), end; !error && entry != end; entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    const std::optional<int> number = node_number(name);
    if (!number.has_value()) {
      continue;
    }
    std::optional<DeviceFacts> facts = usb_device_of(entry->path());
    if (!facts.has_value()) {
      continue;
    }
    const auto known = by_device.find(facts->usb_directory);
    if (known != by_device.end() && known->second.capture_index < *number) {
      continue;
    }
    const std::string node_path = (fs::path(kernel.dev_root) / name).string();
    if (!is_capture_node(kernel, entry->path(), node_path)) {
      continue;
    }
    LinuxUvcCamera camera;
    camera.device_path = (sysfs / "bus" / "usb" / "devices" / facts->usb_directory.filename()).string();
    camera.descriptors = std::move(facts->descriptors);
    camera.manufacturer = read_attribute(facts->usb_directory / "manufacturer");
    camera.product = read_attribute(facts->usb_directory / "product");
    camera.serial = read_attribute(facts->usb_directory / "serial");
    camera.identity = identity_of(facts->usb_directory, facts->raw_descriptors, camera.serial);
    camera.node_name = read_attribute(entry->path() / "name").value_or(std::string());
    camera.capture_index = *number;
    camera.capture_node = node_path;
    by_device[facts->usb_directory] = std::move(camera);
  }

  listing.cameras.reserve(by_device.size());
  for (auto& [directory, camera] : by_device) {
    listing.cameras.push_back(std::move(camera));
  }
  // Node numbers follow the order the cameras were plugged in and stay put while they are.
  std::sort(listing.cameras.begin(), listing.cameras.end(),
            [](const LinuxUvcCamera& a, const LinuxUvcCamera& b) { return a.capture_index < b.capture_index; });
  return listing;
}

std::optional<LinuxUsbIdentity> read_linux_usb_identity(const std::string& device_path) {
  const fs::path directory = device_path;
  std::optional<std::string> raw = read_file(directory / "descriptors", kDescriptorsLimit);
  if (!raw.has_value()) {
    return std::nullopt;
  }
  return identity_of(directory, *raw, read_attribute(directory / "serial"));
}

void report_linux_problem(const std::string& text) noexcept { output_debug_line(text); }

}  // namespace tovanel::uvc_stereo::detail::bridge
