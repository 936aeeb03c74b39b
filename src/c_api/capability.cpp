// The capability record family of the C interface.

#include "uvc_stereo/capability.h"

#include "c_api/boundary.h"
#include "c_api/records.h"
#include "uvc_stereo/uvc_stereo_c.h"

using namespace tovanel::uvc_stereo;

extern "C" {

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_capability_report_defaults(uvc_stereo_capability_report_t* report) {
  return c_api::write_struct("uvc_stereo_capability_report_defaults", report, "report",
                             "uvc_stereo_capability_report_t", [](auto& out) { c_api::to_c(CapabilityReport{}, out); });
}

}  // extern "C"
