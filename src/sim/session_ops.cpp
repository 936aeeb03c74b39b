// The rig's library session, camera enumeration and error reporting.
#include "sim/backend_ops.h"
#include "sim/call_scope.h"
#include "sim/device_record.h"

namespace tovanel::uvc_stereo::sim {

bool sim_init() {
  VendorCallScope call("SonixCam_Init", nullptr, {});
  if (!call.rig_active() || !call.admit(false)) {
    return false;
  }
  SimulatedRig::State& rig = call.rig();
  if (!rig.library_present) {
    return call.fail(SonixLib::ecLibInitFail);
  }
  if (rig.init_fails_without_cameras && !rig.any_plugged()) {
    return call.fail(SonixLib::ecNotFindDevice);
  }
  ++rig.open_sessions;
  return call.succeed();
}

bool sim_uninit() {
  VendorCallScope call("SonixCam_UnInit", nullptr, {});
  if (!call.rig_active() || !call.admit(true)) {
    return false;
  }
  --call.rig().open_sessions;
  return call.succeed();
}

bool sim_enum_cameras(std::int32_t* count, SonixLib::scDevice_t* devices, std::int32_t max_count) {
  VendorCallScope call("SonixCam_EnumCameras", nullptr, {max_count});
  if (!call.rig_active() || !call.admit(true)) {
    return false;
  }
  if (count == nullptr || max_count < 0 || (max_count > 0 && devices == nullptr)) {
    return call.fail(SonixLib::ecEnumDeviceFail);
  }
  const SimulatedRig::State& rig = call.rig();
  std::int32_t seen = 0;
  for (std::size_t index = 0; index < rig.cameras.size(); ++index) {
    const CameraState& camera = rig.cameras[index];
    if (!camera.plugged) {
      continue;
    }
    // The library reports every camera it sees but fills only the records it was given.
    if (seen < max_count) {
      fill_simulated_device_record(static_cast<int>(index), camera.config.device_path, camera.config.device_name,
                                   devices[seen]);
    }
    ++seen;
  }
  *count = seen;
  if (const std::optional<VendorFault>& fault = call.answering_fault(); fault && fault->reported_count) {
    *count = *fault->reported_count;
  }
  return seen == 0 && !call.answering_fault() ? call.fail(SonixLib::ecNotFindDevice) : call.succeed();
}

bool sim_get_error_code(SonixLib::scDevice_t* device, SonixLib::scErrorCode_t* code) {
  VendorCallScope call("SonixCam_GetErrorCode", device, {});
  if (!call.rig_active()) {
    return false;
  }
  if (call.reentered()) {
    // The only failure a call made from a hook can have met is the refusal.
    if (code != nullptr) {
      *code = static_cast<SonixLib::scErrorCode_t>(VendorCallScope::kRefusedFromHook);
    }
    return code != nullptr && call.succeed();
  }
  if (const std::optional<VendorFault> fault = call.take_fault()) {
    // Even a failing query leaves a code behind, which callers must not trust.
    if (code != nullptr) {
      *code = static_cast<SonixLib::scErrorCode_t>(fault->vendor_code);
    }
    return call.fail(fault->vendor_code, fault->error_code_query_fails);
  }
  if (code == nullptr) {
    return false;
  }
  *code = static_cast<SonixLib::scErrorCode_t>(call.rig().last_error);
  return call.rig().last_error_query_fails ? false : call.succeed();
}

}  // namespace tovanel::uvc_stereo::sim
