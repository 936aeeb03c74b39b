#pragma once

#include "bridge/sonix_camera.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::win_detail {

// The library's error code for `device` (null for failures tied to no device, such as
// SonixCam_Init); 0 ("ecUnknow") when the library cannot say.
[[nodiscard]] SonixLib::scErrorCode_t get_vendor_error_code(SonixLib::scDevice_t* device) noexcept;

// A Status with the caller's code and "<call> failed: vendor_code=<name>(<code>)", cut at
// 255 characters. A null call name reads "Sonix API".
[[nodiscard]] Status make_vendor_status(ErrorCode code, const char* call, SonixLib::scDevice_t* device);

}  // namespace tovanel::uvc_stereo::win_detail
