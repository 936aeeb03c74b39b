#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>

#include "bridge/os/file_replace.h"

namespace tovanel::uvc_stereo::detail::bridge {

void replace_file(const std::string& path, const std::string& contents) {
  const std::string temporary = path + ".new-" + std::to_string(::getpid());
  const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (fd < 0) {
    throw std::system_error(errno, std::generic_category(), "cannot write " + temporary);
  }
  std::size_t done = 0;
  while (done < contents.size()) {
    const ssize_t wrote = ::write(fd, contents.data() + done, contents.size() - done);
    if (wrote < 0 && errno == EINTR) {
      continue;
    }
    if (wrote <= 0) {
      const int error = errno;
      ::close(fd);
      ::unlink(temporary.c_str());
      throw std::system_error(error, std::generic_category(), "cannot write " + temporary);
    }
    done += static_cast<std::size_t>(wrote);
  }
  // The new text must be on the disk before its name is, or a crash could leave an empty file under the name.
  const bool synced = ::fsync(fd) == 0;
  ::close(fd);
  if (!synced || std::rename(temporary.c_str(), path.c_str()) != 0) {
    const int error = errno;
    ::unlink(temporary.c_str());
    throw std::system_error(error, std::generic_category(), "cannot replace " + path);
  }
}

}  // namespace tovanel::uvc_stereo::detail::bridge
