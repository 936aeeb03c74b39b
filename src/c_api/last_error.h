#pragma once

#include "uvc_stereo/result.h"
#include "uvc_stereo/uvc_stereo_c.h"

namespace tovanel::uvc_stereo::c_api {

// Keeps a failure as the calling thread's last one. When its text cannot be copied (no
// memory), the code is kept and the text left empty.
void remember_failure(const Status& status) noexcept;

// The calling thread's last failure: its code (Ok when none) and text ("" when none).
[[nodiscard]] uvc_stereo_error_t last_failure_code() noexcept;
[[nodiscard]] const char* last_failure_message() noexcept;
void forget_failure() noexcept;

}  // namespace tovanel::uvc_stereo::c_api
