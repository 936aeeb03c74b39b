#include "c_api/rig_call.h"

namespace tovanel::uvc_stereo::c_api {

void to_c(const sim::VendorCall& call, uvc_stereo_rig_call_t& out) noexcept {
  out.name = call.name.c_str();
  out.args = call.args.empty() ? nullptr : call.args.data();
  out.arg_count = call.args.size();
  out.camera = call.camera;
  out.succeeded = call.succeeded;
  out.lock_held = call.lock_held;
  out.open_sessions = call.open_sessions;
}

}  // namespace tovanel::uvc_stereo::c_api
