#pragma once

namespace tovanel::uvc_stereo::vendor {

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
};

// The running kernel.
[[nodiscard]] const LinuxKernel& running_linux_kernel() noexcept;

// The kernel the Linux backend uses: the platform table's `linux_kernel` entry when an
// override sets it (tests, through vendor::PlatformOverride), else the running kernel.
[[nodiscard]] const LinuxKernel& active_linux_kernel() noexcept;

}  // namespace tovanel::uvc_stereo::vendor
