#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <system_error>

#include "bridge/backends/linux_sysfs.h"
#include "bridge/backends/linux_uvc_ioctl.h"
#include "bridge/os/debug_output.h"

namespace tovanel::uvc_stereo::vendor {
namespace {

namespace fs = std::filesystem;

constexpr char kNodePrefix[] = "video";
constexpr char kVideoClass[] = "0e";
constexpr char kVideoControlSubclass[] = "01";

std::optional<std::string> read_file(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    return std::nullopt;
  }
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) {
    return std::nullopt;
  }
  return bytes;
}

// A sysfs attribute's text without the line break the kernel ends it with.
std::optional<std::string> read_attribute(const fs::path& path) {
  std::optional<std::string> text = read_file(path);
  if (text.has_value()) {
    while (!text->empty() && (text->back() == '\n' || text->back() == '\r')) {
      text->pop_back();
    }
  }
  return text;
}

// N of "videoN"; nothing for any other name.
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
  UvcDescriptorSummary descriptors;
};

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
  const std::optional<std::string> raw = read_file(facts.usb_directory / "descriptors");
  if (!raw.has_value()) {
    return std::nullopt;
  }
  std::optional<UvcDescriptorSummary> summary =
      summarize_uvc_descriptors(reinterpret_cast<const std::uint8_t*>(raw->data()), raw->size());
  if (!summary.has_value() || !summary->has_video_control) {
    return std::nullopt;
  }
  facts.descriptors = std::move(*summary);
  return facts;
}

}  // namespace

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

bool linux_usb_device_present(const std::string& device_path) {
  std::error_code error;
  return fs::exists(fs::path(device_path) / "descriptors", error);
}

void report_linux_problem(const std::string& text) noexcept { win_detail::output_debug_line(text); }

}  // namespace tovanel::uvc_stereo::vendor
