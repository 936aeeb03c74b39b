#include "sim/call_scope.h"

#include <functional>
#include <string_view>
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
  record_.lock_held = vendor::process_lock_held_by_this_thread();
  if (!rig_active()) {
    return;
  }
  record_.open_sessions = rig().open_sessions;
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
  // The rig's state is let go while the hooks run, so they may use the rig's members; the
  // call has not looked at any camera yet, so nothing it holds can go stale.
  access_.release_state();
  bool threw = false;
  for (const std::function<void(const VendorCall&)>& run : matching) {
    // A hook that ends its thread (pthread_exit) unwinds past here with the state let go, as the thread asked.
    detail::catch_failures([&] { run(so_far); }, [&](const std::exception*) { threw = true; });
  }
  access_.retake_state();
  if (threw) {
    add_violation("a hook on " + record_.name + " threw");
  }
}

CameraState* VendorCallScope::named_camera() const noexcept { return rig().camera(record_.camera); }

void VendorCallScope::add_violation(std::string text) { rig().violations.push_back(std::move(text)); }

std::optional<VendorFault> VendorCallScope::take_fault() { return rig().faults.on_call(record_.name); }

bool VendorCallScope::admit(bool needs_session) {
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
  if (!admit(true)) {
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

bool VendorCallScope::fail(std::int32_t vendor_code, bool error_code_query_fails) noexcept {
  rig().last_error = vendor_code;
  rig().last_error_query_fails = error_code_query_fails;
  record_.succeeded = false;
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
