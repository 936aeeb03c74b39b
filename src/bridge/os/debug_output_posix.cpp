#include "bridge/os/debug_output.h"

namespace tovanel::uvc_stereo::detail::bridge {

void output_debug_string(const char* text) noexcept { forward_to_diagnostic_callback(text); }

}  // namespace tovanel::uvc_stereo::detail::bridge
