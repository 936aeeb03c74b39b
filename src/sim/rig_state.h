#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "bridge/os/camera_lock.h"
#include "bridge/platform.h"
#include "sim/faults.h"
#include "sim/flash.h"
#include "sim/imu.h"
#include "sim/imu_timing.h"
#include "sim/rig_clock.h"
#include "uvc_stereo/simulated_rig.h"

namespace tovanel::uvc_stereo::sim {

// One camera plugged into the rig, with everything that changes while it runs.
struct CameraState {
  explicit CameraState(const SimulatedCamera& camera)
      : config(camera), flash(camera.flash_size, camera.flash_sector_size), imu(camera.imu) {
    if (camera.imu.timing) {
      timed_imu.emplace(*camera.imu.timing, camera.imu.first_counter);
    }
  }

  // The flash accepts erases and writes only once both unlock steps have been taken
  // since the last power-up.
  [[nodiscard]] bool write_protected() const noexcept { return !(status_register_unlocked && protection_cleared); }
  // Power-up state of the flash: protection on again.
  void power_cycle() noexcept {
    status_register_unlocked = false;
    protection_cleared = false;
  }

  SimulatedCamera config;
  bool plugged = true;
  SimulatedFlash flash;
  bool status_register_unlocked = false;
  bool protection_cleared = false;
  std::optional<std::uint32_t> write_power_cut;  ///< bytes the next write gets through before power fails
  std::optional<std::uint32_t> erase_power_cut;  ///< bytes the next erase gets through before power fails
  SimulatedImuGenerator imu;
  std::optional<TimedImu> timed_imu;    ///< when the IMU lives in time: which sample is the newest when
  std::deque<std::uint8_t> imu_status;  ///< status bytes the next IMU reads answer with
};

// Everything a rig knows; guarded by `mutex`, which is never held while taking the vendor lock.
struct SimulatedRig::State {
  [[nodiscard]] CameraState* camera(int index) noexcept {
    return index >= 0 && static_cast<std::size_t>(index) < cameras.size() ? &cameras[static_cast<std::size_t>(index)]
                                                                          : nullptr;
  }
  [[nodiscard]] const CameraState* camera(int index) const noexcept { return const_cast<State*>(this)->camera(index); }
  [[nodiscard]] bool any_plugged() const noexcept {
    for (const CameraState& camera : cameras) {
      if (camera.plugged) {
        return true;
      }
    }
    return false;
  }

  mutable std::mutex mutex;
  std::vector<CameraState> cameras;
  bool library_present = true;
  bool init_fails_without_cameras = true;
  int open_sessions = 0;
  std::int32_t last_error = 0;
  bool last_error_query_fails = false;  ///< the failure behind last_error also breaks SonixCam_GetErrorCode
  FaultBook faults;
  // What runs as a vendor call begins, by call name ("*" for every call), in the order added.
  struct CallHook {
    std::string call;
    std::function<void(const VendorCall&)> run;
  };
  std::vector<CallHook> call_hooks;
  // Clearing the hooks waits for the hooks already running, so that whatever they use may
  // be freed as soon as it returns: runs in progress, the clearers among them (a hook that
  // clears), and a count of clears that stops a run between two of its hooks.
  int hook_runs = 0;
  int clearing_hook_runs = 0;
  std::uint64_t hook_clears = 0;
  std::condition_variable hook_runs_changed;
  std::vector<VendorCall> calls;
  std::vector<std::string> violations;
  std::map<OpenCvBackend, std::vector<SimulatedCaptureDevice>> capture_devices;
  std::set<OpenCvBackend> failing_listings;
  // The rig's place in the platform table while it lives: the vendor backend and the
  // capture listings. Set and cleared only by the rig's constructor and destructor.
  std::optional<detail::bridge::PlatformOverride> installed;
  // The host clock the rig lives by, and its place in the platform table once virtual.
  RigClock clock;
  std::optional<detail::bridge::PlatformOverride> virtual_clock;
  // Where the rig's cameras are locked against concurrent use: a place of this rig's own
  // for a rig in memory, one shared by every program of a rig kept in a directory.
  detail::bridge::CameraLockPlace lock_place;
  bool private_lock_place = false;
  // Where the cameras are kept; empty for a rig in memory.
  std::string directory;

  // The rig that was alive when this one was made; the registry's link, guarded by it.
  State* older_rig = nullptr;
};

}  // namespace tovanel::uvc_stereo::sim
