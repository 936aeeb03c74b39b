#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "bridge/sonix_camera.h"
#include "sim/registry.h"

namespace tovanel::uvc_stereo::sim {

// One vendor call as the rig serves it: holds the active rig for the call's duration,
// checks the rules every caller must keep, applies armed faults and records the call
// when it ends.
class VendorCallScope {
 public:
  VendorCallScope(const char* name, const SonixLib::scDevice_t* device, std::vector<std::int64_t> args);
  ~VendorCallScope();
  VendorCallScope(const VendorCallScope&) = delete;
  VendorCallScope& operator=(const VendorCallScope&) = delete;

  // What a call made from a hook fails with, and what SonixCam_GetErrorCode then answers
  // on that thread: the library refuses to work for a caller inside one of its own calls.
  static constexpr std::int32_t kRefusedFromHook = SonixLib::ecLibInitFail;

  // False when no rig is active; then nothing else may be used and the call fails.
  [[nodiscard]] bool rig_active() const noexcept { return access_.state() != nullptr; }
  // Made from a hook of a call still in progress on this thread: it is a broken rule, and
  // admit() refuses it without touching the rig or the error code of that call.
  [[nodiscard]] bool reentered() const noexcept { return access_.reentered(); }
  [[nodiscard]] SimulatedRig::State& rig() const noexcept { return *access_.state(); }
  // The camera the device record names, plugged or not; null when it names none.
  [[nodiscard]] CameraState* named_camera() const noexcept;

  void add_violation(std::string text);
  // The call takes `ns` of host time: virtual time moves on, or the calling thread waits that long in real time
  // with the rig's state let go, as a transfer on the bus would.
  void take_time(std::uint64_t ns);

  // Counts the call against the armed faults; the fault that makes it fail, if any.
  [[nodiscard]] std::optional<VendorFault> take_fault();
  // Lets the call go ahead: false (already failed) when a fault fires, or when it
  // needs a session and none is open. A fault that still answers lets it go ahead too,
  // and turns its success into that fault's failure.
  [[nodiscard]] bool admit(bool needs_session);
  // The fault that lets this call answer and then fail, if one fired.
  [[nodiscard]] const std::optional<VendorFault>& answering_fault() const noexcept { return answering_fault_; }
  // admit(true), then the plugged camera the record names; null (already failed) when
  // the record names no camera of this rig or an unplugged one, and null with nothing
  // recorded when no rig is active.
  [[nodiscard]] CameraState* admit_device();
  // admit_device(), for a call that goes through the camera's video node: null (failed
  // with "ecGetKsControlFail", as the kernel's refusal reaches the library) when this
  // account may not open it.
  [[nodiscard]] CameraState* admit_node();

  // Ends the call as failed, leaving `vendor_code` for SonixCam_GetErrorCode.
  bool fail(std::int32_t vendor_code, bool error_code_query_fails = false) noexcept;
  // Ends the call as done: true, unless a fault that still answers fired.
  bool succeed() noexcept;

 private:
  // Runs the hooks set on this call, with the rig's state let go meanwhile.
  void run_call_hooks();

  RigAccess access_;
  VendorCall record_;
  std::optional<VendorFault> answering_fault_;
};

}  // namespace tovanel::uvc_stereo::sim
