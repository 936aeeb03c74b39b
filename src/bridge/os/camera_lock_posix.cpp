#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/sysmacros.h>
#endif

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "bridge/os/camera_lock.h"

// POSIX camera locks: one file per camera in a directory every user of the camera can
// write, locked with flock(). flock() locks belong to the open file, not the process, so
// two Devices of one program, each with its own descriptor, exclude each other just as
// two programs do; the kernel drops them when the last descriptor closes, which a killed
// process's exit does at once.
namespace tovanel::uvc_stereo::detail::bridge {
namespace {

// The pause between attempts grows to this, so a long wait costs few system calls and a
// short conflict is noticed quickly.
constexpr std::chrono::milliseconds kLongestPoll{20};

Status cannot_lock(const std::string& path, int error) {
  return Status(ErrorCode::DeviceUnavailable,
                "camera lock " + path + " cannot be opened: " + std::string(std::strerror(error)));
}

// Opens the camera's lock file, creating it readable by everyone when it is missing. An
// existing file is opened without O_CREAT, which sticky shared directories refuse for
// files of other users; a shared lock needs only read access.
int open_lock_file(const std::string& path, int& error) {
  for (int attempt = 0; attempt < 8; ++attempt) {
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd >= 0) {
      return fd;
    }
    if (errno != ENOENT) {
      error = errno;
      return -1;
    }
    fd = ::open(path.c_str(), O_RDONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (fd >= 0) {
      // The creator's umask must not lock other users out of the camera.
      static_cast<void>(::fchmod(fd, 0666));
      return fd;
    }
    if (errno != EEXIST) {
      error = errno;
      return -1;
    }
  }
  error = EAGAIN;
  return -1;
}

// The processes holding flock() locks of `mode` ("READ" or "WRITE") on the file behind
// `fd`, as the kernel lists them; empty where it lists none.
std::vector<std::int64_t> lock_holders([[maybe_unused]] int fd, [[maybe_unused]] const char* mode) {
  std::vector<std::int64_t> holders;
#ifdef __linux__
  struct stat file {};
  if (::fstat(fd, &file) != 0) {
    return holders;
  }
  char identity[64];
  std::snprintf(identity, sizeof(identity), "%02x:%02x:%llu", major(file.st_dev), minor(file.st_dev),
                static_cast<unsigned long long>(file.st_ino));
  std::ifstream locks("/proc/locks");
  std::string line;
  while (std::getline(locks, line)) {
    std::istringstream fields(line);
    std::string number, kind, advisory, held_mode, where;
    std::int64_t pid = 0;
    if (!(fields >> number >> kind) || kind != "FLOCK") {
      continue;  // other lock kinds, and the "->" lines of blocked waiters
    }
    if (!(fields >> advisory >> held_mode >> pid >> where) || held_mode != mode || where != identity) {
      continue;
    }
    if (std::find(holders.begin(), holders.end(), pid) == holders.end()) {
      holders.push_back(pid);
    }
  }
#endif
  return holders;
}

// Who keeps `fd`'s camera from us: a shared lock still granted means only IMU readers
// hold it; otherwise a flash access does.
Status describe_holder(int fd, CameraUse wanted) {
  bool readers_only = false;
  if (wanted == CameraUse::Flash && ::flock(fd, LOCK_SH | LOCK_NB) == 0) {
    readers_only = true;
    static_cast<void>(::flock(fd, LOCK_UN));
  }
  const CameraUse holder = readers_only ? CameraUse::Imu : CameraUse::Flash;
  return camera_busy(holder, lock_holders(fd, holder == CameraUse::Imu ? "READ" : "WRITE"));
}

}  // namespace

CameraLockPlace make_private_camera_lock_place() {
  char pattern[] = "/tmp/tovanel-uvc-stereo-rig-XXXXXX";
  if (::mkdtemp(pattern) == nullptr) {
    throw std::system_error(errno, std::generic_category(), "cannot make the simulated rig's camera lock directory");
  }
  return CameraLockPlace{pattern};
}

void remove_private_camera_lock_place(const CameraLockPlace& place) noexcept {
  if (DIR* directory = ::opendir(place.where.c_str())) {
    while (const dirent* entry = ::readdir(directory)) {
      const std::string name = entry->d_name;
      if (name != "." && name != "..") {
        static_cast<void>(::unlink((place.where + "/" + name).c_str()));
      }
    }
    ::closedir(directory);
  }
  static_cast<void>(::rmdir(place.where.c_str()));
}

CameraLockPlace shared_rig_camera_lock_place(const std::string& directory) {
  return CameraLockPlace{directory + "/locks"};
}

const CameraLockPlace& platform_camera_lock_place() noexcept {
  // The FHS place for lock files, world-writable and cleared at boot; /tmp elsewhere.
  static const CameraLockPlace place{[] {
    struct stat run_lock {};
    return ::stat("/run/lock", &run_lock) == 0 && S_ISDIR(run_lock.st_mode) && ::access("/run/lock", W_OK | X_OK) == 0
               ? std::string("/run/lock")
               : std::string("/tmp");
  }()};
  return place;
}

Result<CameraLock> CameraLock::take(const CameraLockPlace& place, std::string_view key, CameraUse use,
                                    std::chrono::milliseconds wait) {
  const std::string path = camera_lock_name(place, key);
  int error = 0;
  const int fd = open_lock_file(path, error);
  if (fd < 0) {
    return cannot_lock(path, error);
  }
  CameraLock lock;
  lock.fd_ = fd;
  const int operation = (use == CameraUse::Flash ? LOCK_EX : LOCK_SH) | LOCK_NB;
  const auto deadline = std::chrono::steady_clock::now() + wait;
  std::chrono::milliseconds poll{1};
  for (;;) {
    if (::flock(fd, operation) == 0) {
      return lock;
    }
    if (errno == EINTR) {
      continue;
    }
    if (errno != EWOULDBLOCK) {
      return Status(ErrorCode::DeviceUnavailable,
                    "camera lock " + path + " cannot be taken: " + std::string(std::strerror(errno)));
    }
    const auto now = std::chrono::steady_clock::now();
    if (now >= deadline) {
      return describe_holder(fd, use);
    }
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - now);
    std::this_thread::sleep_for(std::min({poll, left, kLongestPoll}) + std::chrono::microseconds(100));
    // Doubling stops at the longest poll, so a long wait never overflows the pace.
    poll = std::min(poll * 2, kLongestPoll);
  }
}

void CameraLock::release() noexcept {
  if (fd_ >= 0) {
    // Closing the only descriptor of the open file drops its lock.
    static_cast<void>(::close(fd_));
    fd_ = -1;
  }
}

}  // namespace tovanel::uvc_stereo::detail::bridge
