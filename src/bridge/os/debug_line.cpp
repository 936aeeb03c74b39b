#include "bridge/os/debug_output.h"

namespace tovanel::uvc_stereo::detail::bridge {

void output_debug_line(const std::string& text) noexcept {
  output_debug_string(text.c_str());
  output_debug_string("\n");
}

}  // namespace tovanel::uvc_stereo::detail::bridge
