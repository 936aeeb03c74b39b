#include "linux/fake_kernel.h"

#include <linux/usb/video.h>
#include <linux/uvcvideo.h>
#include <linux/videodev2.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <new>
#include <stdexcept>
#include <thread>
#include <utility>

#include "bridge/os/host_time.h"
#include "bridge/process_lock.h"
#include "sim/extension_unit.h"
#include "support/allocation_counter.h"
#include "uvc_stereo/camera_access.h"

namespace tovanel::uvc_stereo::linux_testing {
namespace {

namespace fs = std::filesystem;

// The fake that the table's plain functions answer for.
std::atomic<FakeKernel*> g_active{nullptr};

void write_file(const fs::path& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary);
  out << bytes;
  if (!out) {
    throw std::runtime_error("cannot write " + path.string());
  }
}

std::string hex4(std::uint16_t value) {
  char text[8];
  std::snprintf(text, sizeof(text), "%04x", value);
  return text;
}

void copy_text(char* out, std::size_t capacity, const std::string& text) {
  std::memset(out, 0, capacity);
  std::memcpy(out, text.data(), std::min(text.size(), capacity - 1));
}

// Where the host controller's USB devices live, as on a PC.
constexpr char kUsbBusDirectory[] = "devices/pci0000:00/0000:00:14.0/usb1";

}  // namespace

FakeKernel::FakeKernel() : root_("uvc-stereo-fake-kernel") {
  sysfs_ = root_.path() / "sys";
  dev_ = root_.path() / "dev";
  fs::create_directories(sysfs_ / kUsbBusDirectory);
  fs::create_directories(sysfs_ / "bus" / "usb" / "devices");
  fs::create_directories(sysfs_ / "class" / "video4linux");
  fs::create_directories(dev_);
  sysfs_text_ = sysfs_.string();
  dev_text_ = dev_.string();
  system_ = root_.path() / "root";
  fs::create_directories(system_);
  system_text_ = system_.string();
  table_ = detail::bridge::LinuxKernel{sysfs_text_.c_str(), dev_text_.c_str(), open_node,           close_node,
                                       ioctl_node,          node_ownership,    system_text_.c_str()};
  g_active.store(this);
}

FakeKernel::~FakeKernel() { g_active.store(nullptr); }

int FakeKernel::add_camera(const FakeUvcCamera& camera) {
  const std::lock_guard<std::mutex> guard(mutex_);
  return add_camera_locked(camera);
}

int FakeKernel::replug(int camera, const FakeUvcCamera& replacement) {
  unplug(camera);
  const std::lock_guard<std::mutex> guard(mutex_);
  const Camera& old = cameras_.at(static_cast<std::size_t>(camera));
  FakeUvcCamera moved = replacement;
  moved.bus_name = old.config.bus_name;
  moved.capture_node = old.config.capture_node;
  moved.metadata_node = old.config.metadata_node;
  return add_camera_locked(moved);
}

void FakeKernel::fail_next_control_query(int error) {
  const std::lock_guard<std::mutex> guard(mutex_);
  failing_query_error_ = error;
}

void FakeKernel::exhaust_memory_on_next_open() {
  const std::lock_guard<std::mutex> guard(mutex_);
  open_exhausts_memory_ = true;
}

void FakeKernel::log_accesses(bool on) {
  const std::lock_guard<std::mutex> guard(mutex_);
  logging_ = on;
}

int FakeKernel::add_camera_locked(const FakeUvcCamera& camera) {
  const sim::SimulatedCamera& model = camera.model;
  UvcDescriptorSpec spec;
  spec.vendor_id = model.vendor_id;
  spec.product_id = model.product_id;
  spec.manufacturer_index = model.descriptor_3.has_value() ? 3 : 0;
  spec.product_index = model.product_string.has_value() ? 2 : 0;
  spec.serial_number_index = model.serial_number.has_value() ? 4 : 0;
  spec.video_control = camera.video_control;
  spec.extension_unit_id = camera.extension_unit_id;
  spec.extension_unit_guid = camera.extension_unit_guid;

  Camera added;
  added.config = camera;
  added.state.emplace(sim::plugged_camera_state(model, detail::bridge::host_now_ns()));
  const fs::path relative_usb = fs::path(kUsbBusDirectory) / camera.bus_name;
  added.usb_directory = sysfs_ / relative_usb;

  // The USB device and its attributes (hexadecimal ids, texts only for the strings it has).
  fs::create_directories(added.usb_directory);
  const std::vector<std::uint8_t> descriptors = raw_descriptors(spec);
  write_file(added.usb_directory / "descriptors", std::string(descriptors.begin(), descriptors.end()));
  write_file(added.usb_directory / "idVendor", hex4(model.vendor_id) + "\n");
  write_file(added.usb_directory / "idProduct", hex4(model.product_id) + "\n");
  write_file(added.usb_directory / "busnum", "1\n");
  write_file(added.usb_directory / "devnum", std::to_string(next_device_number_++) + "\n");
  if (model.descriptor_3) {
    write_file(added.usb_directory / "manufacturer", *model.descriptor_3 + "\n");
  }
  if (model.product_string) {
    write_file(added.usb_directory / "product", *model.product_string + "\n");
  }
  if (model.serial_number) {
    write_file(added.usb_directory / "serial", *model.serial_number + "\n");
  }
  fs::create_directory_symlink(fs::path("../../..") / relative_usb,
                               sysfs_ / "bus" / "usb" / "devices" / camera.bus_name);

  // Its two interfaces; the UVC driver registers the video nodes under the control interface.
  const std::string control_name = camera.bus_name + ":1.0";
  const fs::path control = added.usb_directory / control_name;
  const fs::path streaming = added.usb_directory / (camera.bus_name + ":1.1");
  fs::create_directories(control / "video4linux");
  fs::create_directories(streaming);
  write_file(control / "bInterfaceClass", camera.video_control ? "0e\n" : "ff\n");
  write_file(control / "bInterfaceSubClass", "01\n");
  write_file(control / "bInterfaceNumber", "00\n");
  write_file(streaming / "bInterfaceClass", "0e\n");
  write_file(streaming / "bInterfaceSubClass", "02\n");
  write_file(streaming / "bInterfaceNumber", "01\n");

  int node_index = 0;
  for (const int number : {camera.capture_node, camera.metadata_node}) {
    if (number < 0) {
      continue;
    }
    const std::string name = "video" + std::to_string(number);
    const fs::path node = control / "video4linux" / name;
    fs::create_directories(node);
    write_file(node / "name", (model.product_string ? *model.product_string : std::string("UVC Camera")) + "\n");
    write_file(node / "index", std::to_string(node_index++) + "\n");
    write_file(node / "dev", "81:" + std::to_string(number) + "\n");
    fs::create_directory_symlink("../../../" + control_name, node / "device");
    fs::create_directory_symlink(fs::path("../..") / relative_usb / control_name / "video4linux" / name,
                                 sysfs_ / "class" / "video4linux" / name);
    write_file(dev_ / name, "");
  }
  cameras_.push_back(std::move(added));
  return static_cast<int>(cameras_.size() - 1);
}

void FakeKernel::add_non_usb_node(int number) {
  const std::lock_guard<std::mutex> guard(mutex_);
  const std::string name = "video" + std::to_string(number);
  const fs::path device = sysfs_ / "devices" / "platform" / "vivid.0";
  fs::create_directories(device / "video4linux" / name);
  write_file(device / "video4linux" / name / "name", "vivid-000-vid-cap\n");
  write_file(device / "video4linux" / name / "index", "0\n");
  fs::create_directory_symlink("../../../vivid.0", device / "video4linux" / name / "device");
  fs::create_directory_symlink(fs::path("../../devices/platform/vivid.0/video4linux") / name,
                               sysfs_ / "class" / "video4linux" / name);
  write_file(dev_ / name, "");
}

void FakeKernel::unplug(int camera) {
  const std::lock_guard<std::mutex> guard(mutex_);
  Camera& target = cameras_.at(static_cast<std::size_t>(camera));
  target.plugged = false;
  std::error_code ignored;
  for (const int number : {target.config.capture_node, target.config.metadata_node}) {
    if (number >= 0) {
      const std::string name = "video" + std::to_string(number);
      fs::remove(sysfs_ / "class" / "video4linux" / name, ignored);
      fs::remove(dev_ / name, ignored);
    }
  }
  fs::remove(sysfs_ / "bus" / "usb" / "devices" / target.config.bus_name, ignored);
  fs::remove_all(target.usb_directory, ignored);
}

void FakeKernel::remove_video_class() {
  const std::lock_guard<std::mutex> guard(mutex_);
  fs::remove_all(sysfs_ / "class" / "video4linux");
}

void FakeKernel::remove_node(int number) {
  const std::lock_guard<std::mutex> guard(mutex_);
  std::error_code ignored;
  fs::remove(dev_node(number), ignored);
}

fs::path FakeKernel::install_udev_rule(const std::string& directory) {
  const std::lock_guard<std::mutex> guard(mutex_);
  fs::create_directories(system_ / directory);
  const fs::path rule = system_ / directory / kUdevRuleFileName;
  write_file(rule, "SUBSYSTEM==\"video4linux\", MODE=\"0660\", GROUP=\"video\"\n");
  return rule;
}

sim::CameraState& FakeKernel::camera_state(int camera) {
  const std::lock_guard<std::mutex> guard(mutex_);
  return *cameras_.at(static_cast<std::size_t>(camera)).state;
}

std::vector<KernelAccess> FakeKernel::accesses() const {
  const std::lock_guard<std::mutex> guard(mutex_);
  return accesses_;
}

int FakeKernel::open_descriptors() const {
  const std::lock_guard<std::mutex> guard(mutex_);
  return static_cast<int>(open_.size());
}

void FakeKernel::record(std::string what) {
  if (!logging_) {
    return;
  }
  accesses_.push_back(KernelAccess{std::move(what), detail::bridge::process_lock_held_by_this_thread()});
}

int FakeKernel::open_node(const char* path, int) {
  FakeKernel* self = g_active.load();
  if (self == nullptr || path == nullptr) {
    errno = ENOENT;
    return -1;
  }
  const std::lock_guard<std::mutex> guard(self->mutex_);
  return self->open_locked(path);
}

int FakeKernel::open_locked(const std::string& path) {
  record("open " + path);
  if (std::exchange(open_exhausts_memory_, false)) {
    throw std::bad_alloc();
  }
  std::error_code error;
  if (!fs::exists(path, error)) {
    errno = ENOENT;
    return -1;
  }
  OpenNode node;
  for (std::size_t i = 0; i < cameras_.size(); ++i) {
    const FakeUvcCamera& config = cameras_[i].config;
    if (!cameras_[i].plugged) {
      continue;
    }
    if (path == dev_node(config.capture_node) ||
        (config.metadata_node >= 0 && path == dev_node(config.metadata_node))) {
      if (config.open_error != 0) {
        errno = config.open_error;
        return -1;
      }
      node.camera = static_cast<int>(i);
      node.capture = path == dev_node(config.capture_node);
    }
  }
  if (node.camera < 0) {
    node.capture = true;  // a node of some other video device
  }
  const int fd = next_fd_++;
  open_[fd] = node;
  return fd;
}

// A camera's nodes belong to whom its configuration says; any other video device's to root and the video group.
int FakeKernel::node_ownership(const char* path, detail::bridge::LinuxNodeOwnership* ownership) {
  FakeKernel* self = g_active.load();
  if (self == nullptr || path == nullptr) {
    return ENOENT;
  }
  const std::lock_guard<std::mutex> guard(self->mutex_);
  self->record(std::string("stat ") + path);
  std::error_code error;
  if (!fs::exists(path, error)) {
    return ENOENT;
  }
  std::string owner = "root";
  std::string group = "video";
  std::uint32_t mode = 0660;
  for (const Camera& camera : self->cameras_) {
    const FakeUvcCamera& config = camera.config;
    if (camera.plugged && (path == self->dev_node(config.capture_node) ||
                           (config.metadata_node >= 0 && path == self->dev_node(config.metadata_node)))) {
      owner = config.node_owner;
      group = config.node_group;
      mode = config.node_mode;
    }
  }
  *ownership = detail::bridge::LinuxNodeOwnership{};
  ownership->mode = 020000u | mode;  // a character device
  std::snprintf(ownership->owner, sizeof(ownership->owner), "%s", owner.c_str());
  std::snprintf(ownership->group, sizeof(ownership->group), "%s", group.c_str());
  return 0;
}

int FakeKernel::close_node(int fd) {
  FakeKernel* self = g_active.load();
  if (self == nullptr) {
    errno = EBADF;
    return -1;
  }
  const std::lock_guard<std::mutex> guard(self->mutex_);
  self->record("close");
  if (self->open_.erase(fd) == 0) {
    errno = EBADF;
    return -1;
  }
  return 0;
}

int FakeKernel::ioctl_node(int fd, unsigned long request, void* argument) {
  FakeKernel* self = g_active.load();
  if (self == nullptr) {
    errno = EBADF;
    return -1;
  }
  // The camera's own bookkeeping is not the backend's: it is left out of any allocation count.
  const test_support::UncountedAllocations uncounted;
  const std::lock_guard<std::mutex> guard(self->mutex_);
  return self->ioctl_locked(fd, request, argument);
}

int FakeKernel::ioctl_locked(int fd, unsigned long request, void* argument) {
  if (request == UVCIOC_CTRL_QUERY) {
    control_queries_.fetch_add(1);
  }
  record(request == VIDIOC_QUERYCAP ? "VIDIOC_QUERYCAP" : request == UVCIOC_CTRL_QUERY ? "UVCIOC_CTRL_QUERY" : "ioctl");
  const auto found = open_.find(fd);
  if (found == open_.end()) {
    errno = EBADF;
    return -1;
  }
  const OpenNode node = found->second;
  Camera* camera = node.camera >= 0 ? &cameras_[static_cast<std::size_t>(node.camera)] : nullptr;
  // The driver answers nothing once its device is gone.
  if (camera != nullptr && !camera->plugged) {
    errno = ENODEV;
    return -1;
  }
  if (request == VIDIOC_QUERYCAP) {
    auto* capability = static_cast<v4l2_capability*>(argument);
    std::memset(capability, 0, sizeof(*capability));
    copy_text(reinterpret_cast<char*>(capability->driver), sizeof(capability->driver), "uvcvideo");
    copy_text(reinterpret_cast<char*>(capability->card), sizeof(capability->card), "UVC Camera");
    copy_text(reinterpret_cast<char*>(capability->bus_info), sizeof(capability->bus_info), "usb-0000:00:14.0-2");
    capability->version = 0x060100;
    // Every node of a UVC device reports what the device as a whole does; device_caps says what this node does.
    capability->capabilities = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING |
                               V4L2_CAP_EXT_PIX_FORMAT | V4L2_CAP_DEVICE_CAPS;
    capability->device_caps =
        (node.capture ? V4L2_CAP_VIDEO_CAPTURE : V4L2_CAP_META_CAPTURE) | V4L2_CAP_STREAMING | V4L2_CAP_EXT_PIX_FORMAT;
    return 0;
  }
  if (request != UVCIOC_CTRL_QUERY || camera == nullptr || !node.capture) {
    errno = ENOTTY;  // the metadata node knows no UVC ioctls
    return -1;
  }
  if (failing_query_error_ != 0) {
    errno = std::exchange(failing_query_error_, 0);
    return -1;
  }
  auto* query = static_cast<uvc_xu_control_query*>(argument);
  if (query->query != UVC_GET_CUR) {
    errno = EINVAL;
    return -1;
  }
  // As the driver does: a unit the camera lacks, or a control it does not have, is ENOENT; a size other than the
  // control's own is ENOBUFS.
  const sim::SimulatedCamera& model = camera->config.model;
  std::size_t control_size = 0;
  if (query->unit != camera->config.extension_unit_id) {
    errno = ENOENT;
    return -1;
  }
  if (query->selector == sim::kCapabilitySelector && query->unit == sim::kCapabilityUnit) {
    control_size = sim::kCapabilityLength;
  } else if (query->selector == model.imu_selector && query->unit == model.imu_unit) {
    control_size = model.imu_length;
  } else {
    errno = ENOENT;
    return -1;
  }
  if (query->size != control_size) {
    errno = ENOBUFS;
    return -1;
  }
  std::uint64_t transfer_ns = 0;
  if (query->data == nullptr || !sim::read_extension_unit(*camera->state, query->selector, query->unit, query->data,
                                                          query->size, detail::bridge::host_now_ns(), transfer_ns)) {
    errno = EFAULT;
    return -1;
  }
  // A timed IMU's read takes its transfer time on the bus, as the kernel's control query would.
  std::this_thread::sleep_for(std::chrono::nanoseconds(transfer_ns));
  return 0;
}

}  // namespace tovanel::uvc_stereo::linux_testing
