#pragma once

// Who is inside one device handle right now, so that threads racing on a handle fail
// cleanly instead of crashing: calls that use the camera run one at a time, calls that only
// read what opening fixed run beside anything, and closing refuses new calls and waits for
// the ones in progress before the handle is freed. Admitting and leaving are one atomic
// operation each and allocate nothing, so the IMU path pays nothing for it.

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "c_api/boundary.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::c_api {

class HandleUse {
 public:
  enum class Kind : std::uint8_t {
    Reading,    ///< reads only what opening fixed (info, capability, conversion)
    UsesCamera  ///< talks to the camera or changes the device (JSON, IMU)
  };

  HandleUse() = default;
  HandleUse(const HandleUse&) = delete;
  HandleUse& operator=(const HandleUse&) = delete;

  // Admits one call of `kind`. Refused with InvalidArgument "<function>: device is closed"
  // once close() has begun, and "<function>: another call on this device is using the
  // camera" when `kind` uses the camera and another such call is in progress.
  [[nodiscard]] Status enter(Kind kind, const char* function);
  // Ends a call that enter() admitted.
  void leave(Kind kind) noexcept;
  // Whether close() has begun: a long call (many IMU samples) stops early then.
  [[nodiscard]] bool closing() const noexcept;
  // Refuses every call from now on, then waits until the calls in progress have left, and
  // returns true. Returns false and changes nothing when the calling thread is itself
  // inside a call that uses the camera on this handle (closing from a rig hook), which
  // would wait for ever.
  [[nodiscard]] bool close() noexcept;

 private:
  static constexpr std::uint32_t kClosing = 0x80000000u;
  static constexpr std::uint32_t kCameraInUse = 0x40000000u;
  static constexpr std::uint32_t kCallCount = 0x3FFFFFFFu;

  std::atomic<std::uint32_t> state_{0};
  // The thread inside the call that uses the camera (its marker), null when none.
  std::atomic<const void*> camera_user_{nullptr};
  std::mutex mutex_;
  std::condition_variable left_;
};

// One admitted call: leaves when it goes out of scope, however the call ends.
class HandleCall {
 public:
  HandleCall(HandleUse& use, HandleUse::Kind kind, const char* function)
      : use_(use), kind_(kind), admission_(use.enter(kind, function)) {}
  ~HandleCall() {
    if (admission_.ok()) {
      use_.leave(kind_);
    }
  }
  HandleCall(const HandleCall&) = delete;
  HandleCall& operator=(const HandleCall&) = delete;

  // Success when the call was admitted, else why it was refused.
  [[nodiscard]] const Status& admission() const noexcept { return admission_; }

 private:
  HandleUse& use_;
  HandleUse::Kind kind_;
  Status admission_;
};

// Runs `body` (returning a Status) as one call admitted by `use`; else the refusal.
template <typename Body>
[[nodiscard]] Status run_admitted(HandleUse& use, HandleUse::Kind kind, const char* function, Body&& body) {
  const HandleCall call(use, kind, function);
  return call.admission().ok() ? body() : call.admission();
}

// The one shape of a C function on a device handle: refuses a null `device`, then the first failed `checks`, then
// runs `body` (returning a Status, or nothing when it cannot fail) as one call of `kind` admitted by the handle, all
// under guarded().
template <typename DeviceHandle, typename Checks, typename Body>
uvc_stereo_error_t on_device(const char* function, DeviceHandle* device, HandleUse::Kind kind, Checks&& checks,
                             Body&& body) {
  return checked_call(
      function,
      [&] {
        // The other checks may write the caller's outputs, so they wait until the device is known.
        const Status present = require(device, function, "device");
        return present.ok() ? checks() : present;
      },
      [&] { return run_admitted(device->use, kind, function, [&] { return status_of(body); }); });
}

// The `checks` of on_device for a call whose only argument is the device itself.
[[nodiscard]] inline Status no_other_arguments() { return Status(); }

}  // namespace tovanel::uvc_stereo::c_api
