#include "sim/call_scope.h"

#include <chrono>
#include <functional>
#include <string_view>
#include <thread>
#include <utility>

#include "bridge/process_lock.h"
#include "core/guard.h"
#include "sim/device_record.h"

namespace tovanel::uvc_stereo::sim {
namespace {

constexpr std::string_view kInit = "SonixCam_Init";
constexpr std::string_view kUnInit = "SonixCam_UnInit";
constexpr std::string_view kGetErrorCode = "SonixCam_GetErrorCode";

}  // namespace

VendorCallScope::VendorCallScope(const char* name, const SonixLib::scDevice_t* device, std::vector<std::int64_t> args) {
  record_.name = name;
  record_.args = std::move(args);
  record_.camera = simulated_camera_of(device);
  record_.lock_held = detail::bridge::process_lock_held_by_this_thread();
  if (!rig_active()) {
    return;
  }
  record_.open_sessions = rig().open_sessions;
  if (reentered()) {
    // The call that ran the hook holds the backend until its hooks return, so this one
    // cannot be served; it is refused (see admit) and runs no hooks of its own.
    add_violation(record_.name + " called from a hook on " + *access_.hooked_call() +
                  ": a hook may use the rig, not the SDK or the vendor library");
    return;
  }
  if (!record_.lock_held) {
    add_violation(record_.name + " called without the vendor lock held");
  }
  // Init opens the session and the error code is asked for after a failed Init, so
  // only those two are allowed outside one.
  if (record_.open_sessions == 0 && record_.name != kInit && record_.name != kGetErrorCode) {
    add_violation(record_.name == kUnInit ? record_.name + " called without a matching SonixCam_Init"
                                          : record_.name + " called with no open session");
  }
  run_call_hooks();
}

VendorCallScope::~VendorCallScope() {
  if (rig_active()) {
    rig().calls.push_back(std::move(record_));
  }
}

namespace {

// One run of a call's hooks, counted in the rig for as long as it lives, so that clearing
// the hooks can wait for it; the rig's state is let go meanwhile (and taken back at the
// end, however the run ends).
class HookRun {
 public:
  HookRun(RigAccess& access, const std::string& call) : access_(access), mark_(access.state(), &call) {
    ++access_.state()->hook_runs;
    access_.release_state();
  }
  ~HookRun() {
    access_.retake_state();
    --access_.state()->hook_runs;
    access_.state()->hook_runs_changed.notify_all();
  }
  HookRun(const HookRun&) = delete;
  HookRun& operator=(const HookRun&) = delete;

 private:
  RigAccess& access_;
  HookRunMark mark_;
};

}  // namespace

void VendorCallScope::run_call_hooks() {
  // Copies, so that a hook may add or clear hooks while it runs.
  std::vector<std::function<void(const VendorCall&)>> matching;
  for (const SimulatedRig::State::CallHook& hook : rig().call_hooks) {
    if (hook.call == "*" || hook.call == record_.name) {
      matching.push_back(hook.run);
    }
  }
  if (matching.empty()) {
    return;
  }
  const VendorCall so_far = record_;
  const std::uint64_t clears_before = rig().hook_clears;
  bool threw = false;
  {
    // The call has not looked at any camera yet, so nothing it holds can go stale while
    // the hooks use the rig. A hook that ends its thread (pthread_exit) unwinds through the
    // run, which still takes the state back and counts itself out, so a clear never waits
    // for a run that is gone.
    const HookRun run(access_, record_.name);
    for (const std::function<void(const VendorCall&)>& hook : matching) {
      // Hooks cleared meanwhile (by an earlier hook, or another thread) do not run: their
      // context may be gone as soon as the clear returns.
      access_.retake_state();
      const bool cleared = rig().hook_clears != clears_before;
      access_.release_state();
      if (cleared) {
        break;
      }
      detail::catch_failures([&] { hook(so_far); }, [&](const std::exception*) { threw = true; });
    }
  }
  if (threw) {
    add_violation("a hook on " + record_.name + " threw");
  }
}

void VendorCallScope::take_time(std::uint64_t ns) {
  if (ns == 0) {
    return;
  }
  if (rig().clock.is_virtual()) {
    rig().clock.advance(ns);
    return;
  }
  access_.release_state();
  std::this_thread::sleep_for(std::chrono::nanoseconds(ns));
  access_.retake_state();
}

CameraState* VendorCallScope::named_camera() const noexcept { return rig().camera(record_.camera); }

void VendorCallScope::add_violation(std::string text) { rig().violations.push_back(std::move(text)); }

std::optional<VendorFault> VendorCallScope::take_fault() { return rig().faults.on_call(record_.name); }

bool VendorCallScope::admit(bool needs_session) {
  if (reentered()) {
    return fail(kRefusedFromHook);
  }
  if (std::optional<VendorFault> fault = take_fault()) {
    if (!fault->still_answers) {
      return fail(fault->vendor_code, fault->error_code_query_fails);
    }
    answering_fault_ = std::move(fault);
  }
  // The library refuses work before it has been initialised.
  if (needs_session && rig().open_sessions == 0) {
    return fail(SonixLib::ecLibInitFail);
  }
  return true;
}

CameraState* VendorCallScope::admit_device() {
  if (!rig_active() || !admit(true)) {
    return nullptr;
  }
  CameraState* camera = named_camera();
  if (camera == nullptr) {
    fail(SonixLib::ecNotFindDevice);
    return nullptr;
  }
  if (!camera->plugged) {
    fail(SonixLib::ecDeviceDisconnect);
    return nullptr;
  }
  return camera;
}

CameraState* VendorCallScope::admit_node() {
  CameraState* camera = admit_device();
  if (camera != nullptr && camera->config.node_access != SimulatedNodeAccess::Allowed) {
    fail(SonixLib::ecGetKsControlFail);
    return nullptr;
  }
  return camera;
}

bool VendorCallScope::fail(std::int32_t vendor_code, bool error_code_query_fails) noexcept {
  record_.succeeded = false;
  // The error code left behind belongs to the call that ran the hook.
  if (!reentered()) {
    rig().last_error = vendor_code;
    rig().last_error_query_fails = error_code_query_fails;
  }
  return false;
}

bool VendorCallScope::succeed() noexcept {
  if (answering_fault_) {
    return fail(answering_fault_->vendor_code, answering_fault_->error_code_query_fails);
  }
  record_.succeeded = true;
  return true;
}

}  // namespace tovanel::uvc_stereo::sim
