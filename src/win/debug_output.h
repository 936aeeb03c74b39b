#pragma once

namespace tovanel::uvc_stereo::win_detail {

// Sends one text to the debugger output: OutputDebugStringA on Windows. Elsewhere
// there is no debugger channel and the text goes only to the installed sink.
void output_debug_string(const char* text) noexcept;

// A sink that also receives every debug text, on every platform (tests capture the
// flash failure texts with it). Null removes it.
using DebugSink = void (*)(const char* text, void* context);
void set_debug_sink(DebugSink sink, void* context) noexcept;

// Forwards to the installed sink, if any; the platform halves call it.
void forward_to_debug_sink(const char* text) noexcept;

}  // namespace tovanel::uvc_stereo::win_detail
