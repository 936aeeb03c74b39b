#pragma once

#include <cstdint>

namespace tovanel::uvc_stereo::detail::bridge {

// Who owns a device node and who may use it, as stat(2) and the user and group databases
// tell.
struct LinuxNodeOwnership {
  std::uint32_t mode = 0;  ///< st_mode: the file type and the permission bits
  char owner[64] = {};     ///< the owning user's name; empty when the system has none for it
  char group[64] = {};     ///< the owning group's name; empty when the system has none for it
};

// The kernel interfaces the Linux backend talks to: files under sysfs and the device
// nodes, reached by path below two roots, and the device nodes' ioctls. The default
// table is the running kernel ("/sys", "/dev", open(2), close(2), ioctl(2)); tests
// install one whose roots are a fake tree and whose ioctl answers like a camera.
struct LinuxKernel {
  const char* sysfs_root;  ///< where sysfs is mounted, e.g. "/sys"
  const char* dev_root;    ///< where the device nodes are, e.g. "/dev"
  // Opens a device node; returns a descriptor, or -1 with errno set.
  int (*open_node)(const char* path, int flags);
  // Closes a descriptor from open_node.
  int (*close_node)(int fd);
  // One ioctl on a descriptor from open_node; returns -1 with errno set on failure.
  int (*ioctl_node)(int fd, unsigned long request, void* argument);
  // Who owns a device node and its permission bits; returns 0, or the system's error.
  int (*node_ownership)(const char* path, LinuxNodeOwnership* ownership);
  // The root the system's own directories hang from ("/" on the running kernel): udev's
  // rules directories (etc/udev/rules.d, lib/udev/rules.d, usr/lib/udev/rules.d) are
  // looked for below it.
  const char* system_root;
};

// The running kernel.
[[nodiscard]] const LinuxKernel& running_linux_kernel() noexcept;

// The kernel the Linux backend uses: the platform table's `linux_kernel` entry when an
// override sets it (tests, through PlatformOverride), else the running kernel.
[[nodiscard]] const LinuxKernel& active_linux_kernel() noexcept;

}  // namespace tovanel::uvc_stereo::detail::bridge
