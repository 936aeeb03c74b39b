// The simulated rig's call hooks through the C interface: a C function and its context run
// as a vendor call begins, and the hook's non-zero answer becomes the rig's broken rule.

#include <cstdint>
#include <stdexcept>
#include <string>

#include "c_api/boundary.h"
#include "c_api/handles.h"
#include "c_api/rig_call.h"
#include "c_api/rig_change.h"
#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/uvc_stereo_c.h"

using namespace tovanel::uvc_stereo;

extern "C" {

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_on_call(uvc_stereo_rig_t* rig, const char* call,
                                                          uvc_stereo_rig_call_hook_t hook, void* context) {
  constexpr const char* kFunction = "uvc_stereo_rig_on_call";
  return c_api::checked_call(
      kFunction,
      [&] {
        return c_api::first_failure(c_api::require(rig, kFunction, "rig"), c_api::require(call, kFunction, "call"),
                                    c_api::require(hook, kFunction, "hook"));
      },
      [&] {
        rig->rig.on_call(call, [hook, context](const sim::VendorCall& seen) {
          uvc_stereo_rig_call_t described{};
          described.struct_size = sizeof(described);
          c_api::to_c(seen, described);
          const std::int32_t answer = hook(&described, context);
          // A C hook cannot throw; its failure is thrown here, where the rig counts a throwing hook as a broken rule.
          if (answer != 0) {
            throw std::runtime_error("the hook on " + seen.name + " answered " + std::to_string(answer));
          }
        });
      });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_clear_call_hooks(uvc_stereo_rig_t* rig) {
  return c_api::on_rig(rig, "uvc_stereo_rig_clear_call_hooks",
                       [](sim::SimulatedRig& held) { held.clear_call_hooks(); });
}

}  // extern "C"
