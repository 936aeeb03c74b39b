// The capability record family of the C interface.

#include "uvc_stereo/capability.h"

#include "c_api/boundary.h"
#include "c_api/records.h"
#include "uvc_stereo/uvc_stereo_c.h"

using namespace tovanel::uvc_stereo;

extern "C" {

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_capability_report_defaults(uvc_stereo_capability_report_t* report) {
  constexpr const char* kFunction = "uvc_stereo_capability_report_defaults";
  return c_api::guarded(kFunction, [&] {
    Status checked = c_api::require_struct(report, kFunction, "report", "uvc_stereo_capability_report_t");
    if (checked.ok()) {
      c_api::to_c(CapabilityReport{}, *report);
    }
    return checked;
  });
}

}  // extern "C"
