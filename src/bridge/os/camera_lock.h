#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::detail::bridge {

// Where the camera locks of every program on this machine meet. On POSIX systems a
// directory that every user of the cameras can write (the lock files live there); on
// Windows a prefix of kernel object names. The platform's own place is
// platform_camera_lock_place(); a simulated rig installs one of its own, so that its
// cameras are shared only by the programs that share the rig.
struct CameraLockPlace {
  std::string where;
};

// The platform's place: "/run/lock" where that directory exists, else "/tmp"; on
// Windows the "Global\" namespace, seen by every session of the machine.
[[nodiscard]] const CameraLockPlace& platform_camera_lock_place() noexcept;

// The place in force: the platform table's entry, else the platform's own.
[[nodiscard]] const CameraLockPlace& active_camera_lock_place() noexcept;

// A place of its own for one simulated rig in memory, which no other rig or program
// shares: a fresh directory under /tmp, or a name prefix unique to this process and rig
// on Windows. remove_private_camera_lock_place() deletes what it made.
[[nodiscard]] CameraLockPlace make_private_camera_lock_place();
void remove_private_camera_lock_place(const CameraLockPlace& place) noexcept;

// The place of the cameras of a rig kept in `directory`: inside it on POSIX systems, a
// name prefix derived from the directory's name on Windows, so every program given the
// same directory meets the same locks.
[[nodiscard]] CameraLockPlace shared_rig_camera_lock_place(const std::string& directory);

// How a hold uses the camera. Any number of IMU readers share it; a flash access
// excludes everyone else, IMU readers included.
enum class CameraUse : std::uint8_t { Imu, Flash };

// One camera as every program names it: its normalised device path, or, for a camera
// that reports none, its vid/pid and serial number.
[[nodiscard]] std::string camera_lock_key(std::string_view device_path, std::uint16_t vendor_id,
                                          std::uint16_t product_id, std::string_view serial_number);

// The file (POSIX) or object-name stem (Windows) of a camera's lock in `place`: the
// key is hashed, since device paths hold characters no file name may.
[[nodiscard]] std::string camera_lock_name(const CameraLockPlace& place, std::string_view key);

// A hold on one camera, shared by every Device and every program on the machine. It
// is released when destroyed, and also when its process dies however it dies (the
// kernel drops a dead process's file locks and abandons its mutexes), so no dead
// program keeps a camera. Movable, not copyable; a moved-from hold holds nothing.
class CameraLock {
 public:
  CameraLock() noexcept = default;
  CameraLock(CameraLock&& other) noexcept;
  CameraLock& operator=(CameraLock&& other) noexcept;
  CameraLock(const CameraLock&) = delete;
  CameraLock& operator=(const CameraLock&) = delete;
  ~CameraLock();

  // Takes the camera `key` in `place` for `use`, waiting up to `wait` while another
  // holder conflicts (0: one attempt). Two holds in one process conflict exactly as
  // holds of two processes do. A conflict that outlasts the wait is DeviceUnavailable
  // with a message naming the holder, see is_camera_busy(); a lock that cannot be made
  // at all (no rights in the place) is DeviceUnavailable naming the place.
  [[nodiscard]] static Result<CameraLock> take(const CameraLockPlace& place, std::string_view key, CameraUse use,
                                               std::chrono::milliseconds wait);

  [[nodiscard]] bool held() const noexcept;
  // Lets go of the camera ahead of the destructor; harmless when nothing is held.
  void release() noexcept;

 private:
#ifdef _WIN32
  void* gate_ = nullptr;    ///< the camera's named mutex, owned while a flash access holds it
  std::string gate_name_;   ///< its name, while owned
  void* reader_ = nullptr;  ///< the named reader slot an IMU hold keeps open
#else
  int fd_ = -1;  ///< the lock file, flock()ed shared or exclusive
#endif
};

// True for the failure CameraLock::take reports when the camera stayed busy.
[[nodiscard]] bool is_camera_busy(const Status& status) noexcept;

// "camera is busy: its IMU is open in process 4211", "... in processes 4211, 4300",
// "camera is busy: its flash is being accessed by process 4211"; without process ids
// (where the platform cannot tell) "in another program" / "by another program".
[[nodiscard]] Status camera_busy(CameraUse holder, const std::vector<std::int64_t>& processes);

}  // namespace tovanel::uvc_stereo::detail::bridge
