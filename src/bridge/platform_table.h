#pragma once

#include <chrono>
#include <cstdint>

// The platform under the SDK, as one table of replaceable operations. Each entry is a
// pointer to an immutable object owned by whoever installed it; null means "the
// platform's own" (the vendor library on Windows, the running kernel on Linux, real
// sleeps, the JSON form chosen for this processor). The table belongs to the platform
// layer: the pure layers never read it (the JSON minifier is handed its entry whenever
// the table changes), and the entries' types stay opaque here.
//
// Entries are replaced only through detail::bridge::PlatformOverride (bridge/platform.h),
// which layers a partial table over the current one for as long as it lives.
namespace tovanel::uvc_stereo::win_detail {
struct CaptureSystemCalls;
}  // namespace tovanel::uvc_stereo::win_detail

namespace tovanel::uvc_stereo::detail {
struct JsonMinifierVariant;
}  // namespace tovanel::uvc_stereo::detail

namespace tovanel::uvc_stereo::detail::bridge {

struct VendorBackend;
struct LinuxKernel;
struct CameraLockPlace;
struct CaptureListingSource;

// A stand-in for the pauses the camera needs (tests observe them without spending them).
struct PauseHook {
  // Must return when the caller may go on as if `duration` had passed; it may call back
  // into the rig (to unplug a camera mid-operation) but not into a vendor operation.
  // Called with whatever locks the pausing operation holds, often the vendor lock.
  void (*pause)(std::chrono::milliseconds duration, void* context);
  void* context;
};

// A stand-in for the host's monotonic clock: a simulated rig running in virtual time
// answers the time itself and lets waits pass at once, so that hours of IMU stream in
// seconds with every timestamp as the real clock would give it.
struct HostClock {
  // Nanoseconds on the stand-in's monotonic clock; never decreases.
  std::uint64_t (*now_ns)(void* context);
  // Returns when now_ns would give at least `deadline_ns` (at once when it already does).
  void (*sleep_until_ns)(std::uint64_t deadline_ns, void* context);
  void* context;
};

struct PlatformTable {
  // The vendor operations (SonixCam_*). Every entry of the backend is called with the
  // process-wide vendor lock held; each returns true on success and otherwise leaves a
  // code for its get_error_code. Default: the vendor library on Windows, the kernel's
  // UVC driver on Linux.
  const VendorBackend* vendor_backend = nullptr;

  // The DirectShow and Media Foundation capture-device listings a scan matches cameras
  // against. Called with the vendor lock held; must not take it or call a vendor
  // operation. Returns the backend's candidates in its own order, or a PlatformError.
  // Default: the system's listings on Windows, empty lists elsewhere.
  const CaptureListingSource* capture_listing = nullptr;

  // The COM, Media Foundation and text-conversion calls behind the Windows capture
  // listings (Windows only; ignored elsewhere). Same lock as capture_listing. Each entry
  // must behave as the system function of its name. Default: the system's functions.
  const win_detail::CaptureSystemCalls* windows_system_calls = nullptr;

  // The pauses after flash access and before IMU access. Default: a real wait to the
  // deadline (pause_for).
  const PauseHook* pause = nullptr;

  // The form of the JSON minifier that minify_and_validate_json uses; every form gives
  // identical results, so this only chooses the speed. No lock. Default: the fastest
  // form this processor supports.
  const JsonMinifierVariant* json_minifier = nullptr;

  // The kernel interfaces the Linux backend talks through (sysfs and device nodes);
  // used only by that backend, under the vendor lock. Default: the running kernel.
  const LinuxKernel* linux_kernel = nullptr;

  // The host clock that IMU reads are stamped with and that the IMU stream paces its
  // reads by. No lock. Default: the platform's monotonic clock and real waits.
  const HostClock* host_clock = nullptr;
  // Where the camera locks that every program on the machine shares are kept (a
  // directory on POSIX systems, a kernel object namespace on Windows). No lock.
  // Default: the machine's own place; a simulated rig puts its cameras' locks where only
  // the programs sharing the rig meet them.
  const CameraLockPlace* camera_locks = nullptr;
};

// The entries in force now, null where the platform's own applies. Reading never blocks
// and never allocates.
[[nodiscard]] PlatformTable installed_platform() noexcept;

// One layer of replacements. Layers stack: an entry comes from the newest live layer
// that sets it. A layer may be removed in any order; the entries then fall back to the
// newest layer still present. Only detail::bridge::PlatformOverride adds and removes layers.
struct PlatformLayer {
  PlatformTable entries;
  PlatformLayer* older = nullptr;
  PlatformLayer* newer = nullptr;
};
void push_platform_layer(PlatformLayer& layer) noexcept;
void remove_platform_layer(PlatformLayer& layer) noexcept;

}  // namespace tovanel::uvc_stereo::detail::bridge
