// The running kernel behind the Linux backend's table, and the one place the table in use is chosen.
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <vector>

#include "bridge/linux_kernel.h"
#include "bridge/platform_table.h"

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

int open_system_node(const char* path, int flags) { return ::open(path, flags); }
int close_system_node(int fd) { return ::close(fd); }
int ioctl_system_node(int fd, unsigned long request, void* argument) { return ::ioctl(fd, request, argument); }

// The databases' entries can be long (a directory service's groups list every member):
// the buffer grows until the entry fits.
template <typename Entry, typename Id, typename Lookup>
void copy_name(Id id, Lookup lookup, char*(Entry::*name), char (&out)[64]) {
  std::vector<char> buffer(1024);
  for (;;) {
    Entry entry{};
    Entry* found = nullptr;
    const int error = lookup(id, &entry, buffer.data(), buffer.size(), &found);
    if (error == ERANGE && buffer.size() < (1u << 20)) {
      buffer.resize(buffer.size() * 4);
      continue;
    }
    if (error == 0 && found != nullptr && found->*name != nullptr) {
      std::snprintf(out, sizeof(out), "%s", found->*name);
    }
    return;
  }
}

int system_node_ownership(const char* path, LinuxNodeOwnership* ownership) {
  struct stat status {};
  if (::stat(path, &status) != 0) {
    return errno != 0 ? errno : EIO;
  }
  *ownership = LinuxNodeOwnership{};
  ownership->mode = status.st_mode;
  copy_name(status.st_uid, ::getpwuid_r, &passwd::pw_name, ownership->owner);
  copy_name(status.st_gid, ::getgrgid_r, &group::gr_name, ownership->group);
  return 0;
}

constexpr LinuxKernel kRunningKernel = {
    "/sys", "/dev", open_system_node, close_system_node, ioctl_system_node, system_node_ownership, "/"};

}  // namespace

const LinuxKernel& running_linux_kernel() noexcept { return kRunningKernel; }

const LinuxKernel& active_linux_kernel() noexcept {
  const LinuxKernel* installed = installed_platform().linux_kernel;
  return installed != nullptr ? *installed : kRunningKernel;
}

}  // namespace tovanel::uvc_stereo::detail::bridge
