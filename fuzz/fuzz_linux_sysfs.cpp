// The Linux backend's listing of USB cameras from sysfs, over a sysfs tree that the input lays out: attribute
// values that are huge, not numbers or cut short, descriptors that end inside a descriptor, links that loop or
// lead nowhere, nodes of devices that are not USB cameras, nodes that cannot be opened. The listing is checked
// against the listing restated from the layout itself.
#include <linux/videodev2.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bridge/backends/linux_descriptors.h"
#include "bridge/backends/linux_sysfs.h"
#include "bridge/backends/linux_usb_identity.h"
#include "fuzz_check.h"
#include "fuzz_input.h"
#include "linux/scratch_directory.h"
#include "linux/uvc_descriptor_builder.h"

namespace {

namespace fs = std::filesystem;
namespace bridge = tovanel::uvc_stereo::detail::bridge;
namespace testing_kit = tovanel::uvc_stereo::linux_testing;
using uvc_stereo_fuzz::FuzzInput;

constexpr std::size_t kHuge = 5000;  // longer than any text attribute the kernel writes (one page)
constexpr std::size_t kPage = 4096;
constexpr char kUsbBus[] = "devices/pci0000:00/0000:00:14.0/usb1";

// What a node answers when opened and asked what it is.
enum class NodeAnswer : std::uint8_t { Capture, Metadata, CannotOpen };
// How a node's `device` link is laid out.
enum class NodeLink : std::uint8_t { Interface, LoopsOnItself, LeadsNowhere, EntryLoops, NotANodeName };

struct FakeDevice {
  std::string bus_name;
  std::optional<std::string> interface_class;
  std::optional<std::string> interface_subclass;
  std::optional<std::string> descriptors;
  std::optional<std::string> bus_number;
  std::optional<std::string> device_number;
  std::optional<std::string> serial;
  std::optional<std::string> manufacturer;
  std::optional<std::string> product;
};

struct FakeNode {
  int number = 0;
  int owner = -1;  ///< index of its USB device; -1: a platform device's node
  NodeLink link = NodeLink::Interface;
  std::optional<std::string> index;
  std::optional<std::string> name;
  NodeAnswer answer = NodeAnswer::Capture;
};

struct Layout {
  std::vector<FakeDevice> devices;
  std::vector<FakeNode> nodes;
};

// The nodes' answers, for the kernel table's plain functions.
std::map<std::string, NodeAnswer> g_answers;

std::string take_bytes(FuzzInput& input, std::size_t count) {
  std::string bytes;
  for (std::size_t i = 0; i < count; ++i) {
    bytes.push_back(static_cast<char>(input.take_u8()));
  }
  return bytes;
}

// A text attribute as the input picks it: the expected text with its line break, without it, huge, absent, or
// bytes of the input.
std::optional<std::string> take_attribute(FuzzInput& input, const std::string& usual) {
  switch (input.take_u8() % 6) {
    case 0:
      return usual + "\n";
    case 1:
      return usual;
    case 2:
      return std::string(kHuge, usual.empty() ? '0' : usual[0]);
    case 3:
      return std::nullopt;
    case 4:
      return usual + "\r\n\n";
    default:
      return take_bytes(input, input.take_u8() % 24);
  }
}

std::optional<std::string> take_descriptors(FuzzInput& input) {
  testing_kit::UvcDescriptorSpec spec;
  spec.product_id = input.take_u16();
  spec.video_control = (input.take_u8() & 1) == 0;
  spec.extension_unit_id = input.take_u8();
  const std::vector<std::uint8_t> whole = testing_kit::raw_descriptors(spec);
  const std::string blob(whole.begin(), whole.end());
  switch (input.take_u8() % 4) {
    case 0:
      return blob;
    case 1:
      return blob.substr(0, input.take_u16() % (blob.size() + 1));  // cut short, perhaps inside a descriptor
    case 2:
      return std::nullopt;
    default:
      return take_bytes(input, input.take_u8() * 2u);
  }
}

Layout take_layout(FuzzInput& input) {
  Layout layout;
  const int devices = 1 + input.take_u8() % 2;
  for (int i = 0; i < devices; ++i) {
    FakeDevice device;
    device.bus_name = i == 0 ? "1-2" : "1-4.1";
    device.interface_class = take_attribute(input, "0e");
    device.interface_subclass = take_attribute(input, "01");
    device.descriptors = take_descriptors(input);
    device.bus_number = take_attribute(input, "1");
    device.device_number = take_attribute(input, std::to_string(2 + i));
    device.serial = take_attribute(input, "SN" + std::to_string(i));
    if (device.serial && input.take_u8() % 4 == 0) {
      device.serial = take_bytes(input, input.take_u16() % 600);  // up to 126 wide characters and beyond
    }
    device.manufacturer = take_attribute(input, "Tovanel");
    device.product = take_attribute(input, "Stereo");
    layout.devices.push_back(device);
  }
  const int nodes = input.take_u8() % 5;
  for (int i = 0; i < nodes; ++i) {
    FakeNode node;
    node.number = input.take_u8() % 8;
    const bool taken = std::any_of(layout.nodes.begin(), layout.nodes.end(),
                                   [&](const FakeNode& other) { return other.number == node.number; });
    const int owner = input.take_u8() % 3;
    node.owner = owner < devices ? owner : -1;
    node.link = static_cast<NodeLink>(input.take_u8() % 5);
    node.index = take_attribute(input, std::to_string(i));
    node.name = take_attribute(input, "Stereo");
    node.answer = static_cast<NodeAnswer>(input.take_u8() % 3);
    if (!taken) {
      layout.nodes.push_back(node);
    }
  }
  return layout;
}

void write_file(const fs::path& path, const std::optional<std::string>& bytes) {
  if (bytes.has_value()) {
    std::ofstream(path, std::ios::binary) << *bytes;
  }
}

// One scratch directory for the whole run, removed when the run ends.
const fs::path& scratch_root() {
  static const testing_kit::ScratchDirectory scratch("uvc-stereo-fuzz-sysfs");
  return scratch.path();
}

void lay_out(const Layout& layout, const fs::path& sysfs, const fs::path& dev) {
  fs::create_directories(sysfs / kUsbBus);
  fs::create_directories(sysfs / "bus" / "usb" / "devices");
  fs::create_directories(sysfs / "class" / "video4linux");
  fs::create_directories(sysfs / "devices" / "platform" / "vivid.0");
  fs::create_directories(dev);
  for (const FakeDevice& device : layout.devices) {
    const fs::path usb = sysfs / kUsbBus / device.bus_name;
    const fs::path control = usb / (device.bus_name + ":1.0");
    fs::create_directories(control / "video4linux");
    write_file(usb / "descriptors", device.descriptors);
    write_file(usb / "busnum", device.bus_number);
    write_file(usb / "devnum", device.device_number);
    write_file(usb / "serial", device.serial);
    write_file(usb / "manufacturer", device.manufacturer);
    write_file(usb / "product", device.product);
    write_file(control / "bInterfaceClass", device.interface_class);
    write_file(control / "bInterfaceSubClass", device.interface_subclass);
    fs::create_directory_symlink(fs::path("../../..") / kUsbBus / device.bus_name,
                                 sysfs / "bus" / "usb" / "devices" / device.bus_name);
  }
  for (const FakeNode& node : layout.nodes) {
    const std::string name = "video" + std::to_string(node.number);
    const fs::path entry = sysfs / "class" / "video4linux" / name;
    g_answers[(dev / name).string()] = node.answer;
    std::ofstream(dev / name).flush();
    if (node.link == NodeLink::EntryLoops) {
      fs::create_directory_symlink(name, entry);
      continue;
    }
    if (node.link == NodeLink::NotANodeName) {
      fs::create_directories(sysfs / "class" / "video4linux" / ("video" + std::to_string(node.number) + "x"));
      continue;
    }
    const fs::path parent = node.owner >= 0
                                ? sysfs / kUsbBus / layout.devices[static_cast<std::size_t>(node.owner)].bus_name /
                                      (layout.devices[static_cast<std::size_t>(node.owner)].bus_name + ":1.0")
                                : sysfs / "devices" / "platform" / "vivid.0";
    const fs::path directory = parent / "video4linux" / name;
    fs::create_directories(directory);
    write_file(directory / "index", node.index);
    write_file(directory / "name", node.name);
    switch (node.link) {
      case NodeLink::LoopsOnItself:
        fs::create_directory_symlink("device", directory / "device");
        break;
      case NodeLink::LeadsNowhere:
        fs::create_directory_symlink("../../../gone", directory / "device");
        break;
      default:
        fs::create_directory_symlink(fs::path("../../..") / parent.filename(), directory / "device");
        break;
    }
    fs::create_directory_symlink(fs::relative(directory, entry.parent_path()), entry);
  }
}

int open_node(const char* path, int) {
  const auto found = g_answers.find(path);
  if (found == g_answers.end()) {
    errno = ENOENT;
    return -1;
  }
  if (found->second == NodeAnswer::CannotOpen) {
    errno = EACCES;
    return -1;
  }
  return 1000 + static_cast<int>(std::distance(g_answers.begin(), found));
}

int close_node(int) { return 0; }

int ioctl_node(int fd, unsigned long request, void* argument) {
  if (request != VIDIOC_QUERYCAP || fd < 1000 || fd >= 1000 + static_cast<int>(g_answers.size())) {
    errno = ENOTTY;
    return -1;
  }
  const NodeAnswer answer = std::next(g_answers.begin(), fd - 1000)->second;
  auto* capability = static_cast<v4l2_capability*>(argument);
  std::memset(capability, 0, sizeof(*capability));
  capability->capabilities = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_META_CAPTURE | V4L2_CAP_DEVICE_CAPS;
  capability->device_caps = answer == NodeAnswer::Capture ? V4L2_CAP_VIDEO_CAPTURE : V4L2_CAP_META_CAPTURE;
  return 0;
}

// An attribute as the listing reads it: absent when missing or longer than a page; without the line breaks
// that end it.
std::optional<std::string> as_read(const std::optional<std::string>& written) {
  if (!written.has_value() || written->size() > kPage) {
    return std::nullopt;
  }
  std::string text = *written;
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) {
    text.pop_back();
  }
  return text;
}

// The listing restated from the layout: a node counts for its USB device when its link leads to the device's
// video-control interface (class "0e", subclass "01") and the device's descriptors read and name a video-control
// interface; it is the capture node when it says so, or, when it cannot be opened, when its index is "0". Each
// device is listed once, with its lowest-numbered capture node, in the order of those numbers.
std::vector<bridge::LinuxUvcCamera> restate(const Layout& layout, const fs::path& sysfs, const fs::path& dev) {
  std::map<int, bridge::LinuxUvcCamera> by_device;
  for (const FakeNode& node : layout.nodes) {
    if (node.owner < 0 || node.link != NodeLink::Interface) {
      continue;
    }
    const FakeDevice& device = layout.devices[static_cast<std::size_t>(node.owner)];
    if (as_read(device.interface_class) != std::optional<std::string>("0e") ||
        as_read(device.interface_subclass) != std::optional<std::string>("01") || !device.descriptors) {
      continue;
    }
    const auto* raw = reinterpret_cast<const std::uint8_t*>(device.descriptors->data());
    const std::optional<bridge::UvcDescriptorSummary> summary =
        bridge::summarize_uvc_descriptors(raw, device.descriptors->size());
    if (!summary || !summary->has_video_control) {
      continue;
    }
    const bool capture = node.answer == NodeAnswer::Capture || (node.answer == NodeAnswer::CannotOpen &&
                                                                as_read(node.index) == std::optional<std::string>("0"));
    if (!capture) {
      continue;
    }
    const auto known = by_device.find(node.owner);
    if (known != by_device.end() && known->second.capture_index < node.number) {
      continue;
    }
    bridge::LinuxUvcCamera camera;
    camera.device_path = (sysfs / "bus" / "usb" / "devices" / device.bus_name).string();
    camera.descriptors = *summary;
    camera.serial = as_read(device.serial);
    camera.manufacturer = as_read(device.manufacturer);
    camera.product = as_read(device.product);
    std::optional<std::string_view> serial;
    if (camera.serial) {
      serial = *camera.serial;
    }
    camera.identity =
        bridge::make_linux_usb_identity(as_read(device.bus_number).value_or(""),
                                        as_read(device.device_number).value_or(""), serial, *device.descriptors);
    camera.node_name = as_read(node.name).value_or("");
    camera.capture_index = node.number;
    camera.capture_node = (dev / ("video" + std::to_string(node.number))).string();
    by_device[node.owner] = camera;
  }
  std::vector<bridge::LinuxUvcCamera> cameras;
  for (const auto& [owner, camera] : by_device) {
    cameras.push_back(camera);
  }
  std::sort(cameras.begin(), cameras.end(),
            [](const auto& a, const auto& b) { return a.capture_index < b.capture_index; });
  return cameras;
}

std::string describe(const bridge::LinuxUvcCamera& camera) {
  return camera.device_path + " node " + camera.capture_node + " serial " +
         uvc_stereo_fuzz::escaped(camera.serial.value_or("(none)").substr(0, 80));
}

void check_same(const bridge::LinuxUvcCamera& got, const bridge::LinuxUvcCamera& want) {
  const std::string shown = "listed " + describe(got) + ", restated " + describe(want);
  FUZZ_CHECK(got.device_path == want.device_path && got.capture_index == want.capture_index &&
                 got.capture_node == want.capture_node,
             "another camera or node: " + shown);
  FUZZ_CHECK(got.serial == want.serial && got.manufacturer == want.manufacturer && got.product == want.product,
             "texts differ: " + shown);
  FUZZ_CHECK(got.node_name == want.node_name, "node name differs: " + shown);
  FUZZ_CHECK(got.identity == want.identity, "identity differs: " + shown);
  FUZZ_CHECK(got.descriptors.device.vendor_id == want.descriptors.device.vendor_id &&
                 got.descriptors.device.product_id == want.descriptors.device.product_id &&
                 got.descriptors.extension_units.size() == want.descriptors.extension_units.size(),
             "descriptors differ: " + shown);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput input(data, size);
  const Layout layout = take_layout(input);
  const fs::path& root = scratch_root();
  const fs::path sysfs = root / "sys";
  const fs::path dev = root / "dev";
  std::error_code ignored;
  fs::remove_all(sysfs, ignored);
  fs::remove_all(dev, ignored);
  g_answers.clear();
  lay_out(layout, sysfs, dev);

  const std::string sysfs_text = sysfs.string();
  const std::string dev_text = dev.string();
  const bridge::LinuxKernel kernel = {sysfs_text.c_str(), dev_text.c_str(), open_node, close_node,
                                      ioctl_node,         nullptr,          nullptr};
  const bridge::LinuxUvcListing listing = bridge::list_linux_uvc_cameras(kernel);
  FUZZ_CHECK(listing.sysfs_present, "sysfs was there");
  const std::vector<bridge::LinuxUvcCamera> expected = restate(layout, sysfs, dev);
  FUZZ_CHECK(listing.cameras.size() == expected.size(), "listed " + std::to_string(listing.cameras.size()) +
                                                            " cameras instead of " + std::to_string(expected.size()));
  for (std::size_t i = 0; i < expected.size(); ++i) {
    check_same(listing.cameras[i], expected[i]);
    // The identity read again at the listed path is the one listed with it.
    FUZZ_CHECK(bridge::read_linux_usb_identity(listing.cameras[i].device_path) ==
                   std::optional<bridge::LinuxUsbIdentity>(listing.cameras[i].identity),
               "identity read again differs: " + describe(listing.cameras[i]));
  }
  return 0;
}
