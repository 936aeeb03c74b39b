// The error family of the C interface: code names and the calling thread's last failure.

#include "c_api/last_error.h"
#include "uvc_stereo/result.h"
#include "uvc_stereo/uvc_stereo_c.h"

using namespace tovanel::uvc_stereo;

extern "C" {

const char* UVC_STEREO_CALL uvc_stereo_error_name(uvc_stereo_error_t code) {
  // The C++ names are string literals, so their views are NUL-terminated and live forever.
  return error_code_name(static_cast<ErrorCode>(code)).data();
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_last_error_code(void) { return c_api::last_failure_code(); }

const char* UVC_STEREO_CALL uvc_stereo_last_error_message(void) { return c_api::last_failure_message(); }

void UVC_STEREO_CALL uvc_stereo_clear_last_error(void) { c_api::forget_failure(); }

}  // extern "C"
