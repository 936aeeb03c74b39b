#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "bridge/linux_kernel.h"
#include "linux/scratch_directory.h"
#include "linux/uvc_descriptor_builder.h"
#include "sim/rig_state.h"
#include "uvc_stereo/simulated_rig.h"

// A fake Linux kernel for the Linux backend: a sysfs tree in a scratch directory, built as the kernel lays it out
// for USB video devices (real directories, attribute files and symbolic links), device nodes as plain files under a
// fake /dev, and an ioctl that answers VIDIOC_QUERYCAP and UVCIOC_CTRL_QUERY with the kernel's own structures. The
// extension unit answers as the simulated rig's camera model does.
namespace tovanel::uvc_stereo::linux_testing {

struct FakeUvcCamera {
  sim::SimulatedCamera model;    ///< ids, texts, capability report and IMU; device_path and device_name unused
  std::string bus_name = "1-2";  ///< the USB device's name on the bus ("1-2" is bus 1, port 2)
  int capture_node = 0;          ///< N of its capture node /dev/videoN
  int metadata_node = 1;         ///< N of its metadata node; -1 for none
  bool video_control = true;     ///< false: a vendor-specific interface where UVC video control would be
  std::uint8_t extension_unit_id = 4;
  std::array<std::uint8_t, 16> extension_unit_guid = UvcDescriptorSpec{}.extension_unit_guid;
  int open_error = 0;               ///< non-zero: opening its nodes fails with this errno (EACCES: no permission)
  std::string node_owner = "root";  ///< who its nodes belong to, as udev leaves them
  std::string node_group = "video";
  std::uint32_t node_mode = 0660;
};

// One access to a device node as the fake kernel saw it.
struct KernelAccess {
  std::string what;  ///< "open /dev/video0", "close", "stat /dev/video0", "VIDIOC_QUERYCAP", "UVCIOC_CTRL_QUERY"
  bool lock_held = false;
};

class FakeKernel {
 public:
  FakeKernel();
  ~FakeKernel();
  FakeKernel(const FakeKernel&) = delete;
  FakeKernel& operator=(const FakeKernel&) = delete;

  // The table to install (detail::bridge::PlatformOverride); answers while this fake lives.
  [[nodiscard]] const detail::bridge::LinuxKernel& table() const noexcept { return table_; }
  [[nodiscard]] const std::filesystem::path& sysfs_root() const noexcept { return sysfs_; }
  [[nodiscard]] std::string dev_node(int number) const { return (dev_ / ("video" + std::to_string(number))).string(); }
  // The device path the backend reports for a camera on `bus_name`.
  [[nodiscard]] std::string usb_path(const std::string& bus_name) const {
    return (sysfs_ / "bus" / "usb" / "devices" / bus_name).string();
  }

  // Plugs a camera in: its sysfs directories and nodes appear. Returns its index.
  int add_camera(const FakeUvcCamera& camera);
  // A video node of a device that is not a USB camera (a PCI capture card's, say).
  void add_non_usb_node(int number);
  // Pulls the camera out: its sysfs directories and nodes vanish, and its open descriptors answer ENODEV.
  void unplug(int camera);
  // Pulls `camera` out and plugs `replacement` into the same port, with the same node numbers: the kernel
  // gives it a new device number, as it does every device plugged in. Returns the replacement's index.
  int replug(int camera, const FakeUvcCamera& replacement);
  // The next control query fails with `error` without reaching the camera.
  void fail_next_control_query(int error);
  // Opening the next device node runs out of memory: it throws std::bad_alloc.
  void exhaust_memory_on_next_open();
  // Removes the sysfs video class, as on a machine whose video layer is not loaded.
  void remove_video_class();
  // Removes /dev/videoN while sysfs still lists it: the camera is being unplugged, or udev has not made it yet.
  void remove_node(int number);
  // Puts the SDK's udev rule into `directory` below the fake system root ("usr/lib/udev/rules.d"). Returns its path.
  std::filesystem::path install_udev_rule(const std::string& directory);

  // The camera model, to queue IMU status bytes or look at the IMU counter.
  [[nodiscard]] sim::CameraState& camera_state(int camera);

  [[nodiscard]] std::vector<KernelAccess> accesses() const;
  // Whether accesses are logged (on at first). Off, the fake makes no allocation and no system call of its own
  // while it answers, so that a test can count the backend's.
  void log_accesses(bool on);
  // Control queries (UVCIOC_CTRL_QUERY) answered or refused so far, logged or not.
  [[nodiscard]] long control_queries() const noexcept { return control_queries_.load(); }
  [[nodiscard]] int open_descriptors() const;

 private:
  struct Camera {
    FakeUvcCamera config;
    std::optional<sim::CameraState> state;
    std::filesystem::path usb_directory;
    bool plugged = true;
  };
  struct OpenNode {
    int camera = -1;
    bool capture = false;
  };

  static int open_node(const char* path, int flags);
  static int close_node(int fd);
  static int ioctl_node(int fd, unsigned long request, void* argument);
  static int node_ownership(const char* path, detail::bridge::LinuxNodeOwnership* ownership);
  int add_camera_locked(const FakeUvcCamera& camera);
  int open_locked(const std::string& path);
  int ioctl_locked(int fd, unsigned long request, void* argument);
  void record(std::string what);

  ScratchDirectory root_;
  std::filesystem::path sysfs_;
  std::filesystem::path dev_;
  std::string sysfs_text_;
  std::string dev_text_;
  std::filesystem::path system_;
  std::string system_text_;
  detail::bridge::LinuxKernel table_{};
  mutable std::mutex mutex_;
  std::vector<Camera> cameras_;
  std::map<int, OpenNode> open_;
  int next_fd_ = 100;
  int next_device_number_ = 2;
  bool logging_ = true;
  int failing_query_error_ = 0;
  bool open_exhausts_memory_ = false;
  std::atomic<long> control_queries_{0};
  std::vector<KernelAccess> accesses_;
};

}  // namespace tovanel::uvc_stereo::linux_testing
