// The running kernel behind the Linux backend's table, and the one place the table in use is chosen.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "bridge/linux_kernel.h"
#include "bridge/platform_table.h"

namespace tovanel::uvc_stereo::vendor {
namespace {

int open_system_node(const char* path, int flags) { return ::open(path, flags); }
int close_system_node(int fd) { return ::close(fd); }
int ioctl_system_node(int fd, unsigned long request, void* argument) { return ::ioctl(fd, request, argument); }

constexpr LinuxKernel kRunningKernel = {"/sys", "/dev", open_system_node, close_system_node, ioctl_system_node};

}  // namespace

const LinuxKernel& running_linux_kernel() noexcept { return kRunningKernel; }

const LinuxKernel& active_linux_kernel() noexcept {
  const LinuxKernel* installed = detail::installed_platform().linux_kernel;
  return installed != nullptr ? *installed : kRunningKernel;
}

}  // namespace tovanel::uvc_stereo::vendor
