#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <chrono>
#include <filesystem>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include "bridge/os/camera_lock.h"

// Windows camera locks: named kernel objects. A camera's named mutex (its gate) is owned
// for the whole of a flash access; each open IMU keeps a named event of its own (a reader
// slot) in existence. A flash access owns the gate only while no slot exists; an IMU takes
// a free slot while it briefly owns the gate. The kernel abandons a dead holder's mutex,
// which the next waiter then owns, and deletes a dead reader's event with its last
// handle, so no dead program keeps the camera. Reader slots belong to no thread, so an IMU
// may be closed from another thread than the one that opened it.
namespace tovanel::uvc_stereo::detail::bridge {
namespace {

// IMU readers of one camera at a time, across every program of the machine.
constexpr int kReaderSlots = 64;
constexpr std::chrono::milliseconds kLongestPoll{20};

std::string gate_name(const std::string& stem) { return stem + "-gate"; }
std::string slot_name(const std::string& stem, int slot) { return stem + "-imu-" + std::to_string(slot); }

Status cannot_lock(const std::string& name) {
  return Status(ErrorCode::DeviceUnavailable,
                "camera lock " + name + " cannot be opened: system error " + std::to_string(GetLastError()));
}

// The gates this process owns. A mutex owned by a thread is owned again by that thread at
// once, so a second hold of this process is refused here, as another program's would be.
std::mutex& owned_gates_mutex() {
  static std::mutex mutex;
  return mutex;
}
std::set<std::string>& owned_gates() {
  static std::set<std::string> gates;
  return gates;
}

// Owns the camera's gate when it is free now; a mutex abandoned by a dead holder is free.
bool own_gate(HANDLE gate, const std::string& name) {
  const DWORD waited = WaitForSingleObject(gate, 0);
  if (waited != WAIT_OBJECT_0 && waited != WAIT_ABANDONED) {
    return false;
  }
  const std::lock_guard<std::mutex> guard(owned_gates_mutex());
  if (!owned_gates().insert(name).second) {
    ReleaseMutex(gate);
    return false;
  }
  return true;
}

void leave_gate(HANDLE gate, const std::string& name) {
  {
    const std::lock_guard<std::mutex> guard(owned_gates_mutex());
    owned_gates().erase(name);
  }
  ReleaseMutex(gate);
}

bool any_reader(const std::string& stem) {
  for (int slot = 0; slot < kReaderSlots; ++slot) {
    if (HANDLE reader = OpenEventA(SYNCHRONIZE, FALSE, slot_name(stem, slot).c_str())) {
      CloseHandle(reader);
      return true;
    }
  }
  return false;
}

// A reader slot of its own, taken while the gate is owned; null when all are taken.
HANDLE take_reader_slot(const std::string& stem) {
  for (int slot = 0; slot < kReaderSlots; ++slot) {
    HANDLE reader = CreateEventA(nullptr, TRUE, FALSE, slot_name(stem, slot).c_str());
    if (reader == nullptr) {
      continue;
    }
    if (GetLastError() != ERROR_ALREADY_EXISTS) {
      return reader;
    }
    CloseHandle(reader);
  }
  return nullptr;
}

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

}  // namespace

const CameraLockPlace& platform_camera_lock_place() noexcept {
  // Seen by every session of the machine, services included; any user may make mutexes and events there.
  static const CameraLockPlace place{"Global\\"};
  return place;
}

CameraLockPlace make_private_camera_lock_place() {
  static std::atomic<unsigned> made{0};
  return CameraLockPlace{"Local\\tovanel-uvc-stereo-rig-" + std::to_string(GetCurrentProcessId()) + "-" +
                         std::to_string(made++) + "-"};
}

void remove_private_camera_lock_place(const CameraLockPlace& /*place*/) noexcept {
  // Named objects vanish with their last handle: nothing is left to remove.
}

CameraLockPlace shared_rig_camera_lock_place(const std::string& directory) {
  const std::string absolute = lower(std::filesystem::absolute(directory).lexically_normal().generic_string());
  return CameraLockPlace{camera_lock_name(CameraLockPlace{"Local\\"}, absolute) + "-"};
}

Result<CameraLock> CameraLock::take(const CameraLockPlace& place, std::string_view key, CameraUse use,
                                    std::chrono::milliseconds wait) {
  const std::string stem = camera_lock_name(place, key);
  const std::string gate_text = gate_name(stem);
  HANDLE gate = CreateMutexA(nullptr, FALSE, gate_text.c_str());
  if (gate == nullptr) {
    return cannot_lock(gate_text);
  }
  CameraLock lock;
  const auto deadline = std::chrono::steady_clock::now() + wait;
  std::chrono::milliseconds poll{1};
  for (;;) {
    CameraUse holder = CameraUse::Flash;
    if (own_gate(gate, gate_text)) {
      if (use == CameraUse::Imu) {
        HANDLE reader = take_reader_slot(stem);
        leave_gate(gate, gate_text);
        CloseHandle(gate);
        if (reader == nullptr) {
          return Status(ErrorCode::DeviceUnavailable, "camera lock " + stem + ": every one of its " +
                                                          std::to_string(kReaderSlots) + " IMU reader slots is taken");
        }
        lock.reader_ = reader;
        return lock;
      }
      if (!any_reader(stem)) {
        lock.gate_ = gate;
        lock.gate_name_ = gate_text;
        return lock;
      }
      leave_gate(gate, gate_text);
      holder = CameraUse::Imu;
    }
    const auto now = std::chrono::steady_clock::now();
    if (now >= deadline) {
      CloseHandle(gate);
      return camera_busy(holder, {});
    }
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - now);
    std::this_thread::sleep_for(std::min({poll, left, kLongestPoll}) + std::chrono::microseconds(100));
    // Doubling stops at the longest poll, so a long wait never overflows the pace.
    poll = std::min(poll * 2, kLongestPoll);
  }
}

void CameraLock::release() noexcept {
  if (gate_ != nullptr) {
    leave_gate(static_cast<HANDLE>(gate_), gate_name_);
    CloseHandle(static_cast<HANDLE>(gate_));
    gate_ = nullptr;
  }
  if (reader_ != nullptr) {
    // The slot's event is deleted with its last handle, which frees the slot.
    CloseHandle(static_cast<HANDLE>(reader_));
    reader_ = nullptr;
  }
}

}  // namespace tovanel::uvc_stereo::detail::bridge
