#include "bridge/os/camera_lock.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "bridge/platform_table.h"
#include "core/format.h"
#include "win/device_path.h"

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

constexpr std::string_view kBusyPrefix = "camera is busy: ";

// FNV-1a, 64 bits: stable across runs, builds and platforms, so every program derives
// the same lock name for one camera.
std::uint64_t stable_hash(std::string_view text) noexcept {
  std::uint64_t hash = 0xcbf29ce484222325ULL;
  for (const char c : text) {
    hash ^= static_cast<unsigned char>(c);
    hash *= 0x100000001b3ULL;
  }
  return hash;
}

std::string process_list(const std::vector<std::int64_t>& processes) {
  std::string text = processes.size() == 1 ? "process " : "processes ";
  for (std::size_t i = 0; i < processes.size(); ++i) {
    if (i != 0) {
      text += ", ";
    }
    text += std::to_string(processes[i]);
  }
  return text;
}

}  // namespace

const CameraLockPlace& active_camera_lock_place() noexcept {
  const CameraLockPlace* installed = installed_platform().camera_locks;
  return installed != nullptr ? *installed : platform_camera_lock_place();
}

std::string camera_lock_key(std::string_view device_path, std::uint16_t vendor_id, std::uint16_t product_id,
                            std::string_view serial_number) {
  std::string normalized = win_detail::normalize_windows_device_path(device_path);
  if (!normalized.empty()) {
    return normalized;
  }
  std::string key = "usb:" + win_detail::make_vidpid_string(vendor_id, product_id);
  key += ':';
  key += serial_number;
  return key;
}

std::string camera_lock_name(const CameraLockPlace& place, std::string_view key) {
  const std::string stem =
      detail::format_fixed<64>("tovanel-uvc-stereo-camera-%016llx", static_cast<unsigned long long>(stable_hash(key)));
#ifdef _WIN32
  return place.where + stem;
#else
  return place.where + "/" + stem + ".lock";
#endif
}

CameraLock::CameraLock(CameraLock&& other) noexcept { *this = std::move(other); }

CameraLock& CameraLock::operator=(CameraLock&& other) noexcept {
  if (this != &other) {
    release();
#ifdef _WIN32
    gate_ = std::exchange(other.gate_, nullptr);
    gate_name_ = std::move(other.gate_name_);
    reader_ = std::exchange(other.reader_, nullptr);
#else
    fd_ = std::exchange(other.fd_, -1);
#endif
  }
  return *this;
}

CameraLock::~CameraLock() { release(); }

bool CameraLock::held() const noexcept {
#ifdef _WIN32
  return gate_ != nullptr || reader_ != nullptr;
#else
  return fd_ >= 0;
#endif
}

bool is_camera_busy(const Status& status) noexcept {
  return status.code() == ErrorCode::DeviceUnavailable && status.message().rfind(kBusyPrefix, 0) == 0;
}

Status camera_busy(CameraUse holder, const std::vector<std::int64_t>& processes) {
  std::string text(kBusyPrefix);
  if (holder == CameraUse::Imu) {
    text += "its IMU is open in ";
    text += processes.empty() ? std::string("another program") : process_list(processes);
  } else {
    text += "its flash is being accessed by ";
    text += processes.empty() ? std::string("another program") : process_list(processes);
  }
  return Status(ErrorCode::DeviceUnavailable, std::move(text));
}

}  // namespace tovanel::uvc_stereo::detail::bridge
