#pragma once

#include <string>

namespace tovanel::uvc_stereo::detail::bridge {

// Sends one text to the debugger output (OutputDebugStringA on Windows; elsewhere there
// is no debugger channel) and to the registered diagnostic callback, if any.
void output_debug_string(const char* text) noexcept;

// Writes one diagnostic line: its text, then a separate line break.
void output_debug_line(const std::string& text) noexcept;

// Hands a text to the registered diagnostic callback; the platform halves call it.
void forward_to_diagnostic_callback(const char* text) noexcept;

}  // namespace tovanel::uvc_stereo::detail::bridge
