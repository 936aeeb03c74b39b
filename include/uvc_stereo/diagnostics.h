#pragma once

#include "uvc_stereo/export.h"

namespace tovanel::uvc_stereo {

/// The SDK's diagnostic output: the texts it writes to the debugger output on Windows
/// (OutputDebugStringA), such as a failed flash read, write or erase and a flash record
/// that did not read back as written. Each diagnostic line is written as two texts, the
/// line itself and then "\n", exactly as a debugger shows them. They go to the debugger
/// on Windows whether or not a callback is registered; on other platforms they reach
/// only the callback.
///
/// Called once per text, in order, on the thread of the SDK operation that wrote it,
/// possibly while that operation holds the SDK's vendor lock: the callback must return
/// promptly and must not call back into the SDK. `text` is valid only during the call.
using DiagnosticCallback = void (*)(const char* text, void* context);

/// Registers `callback` to receive every later diagnostic text with `context`, replacing
/// any earlier registration; null removes it. Thread-safe: once this returns, the
/// callback it replaced is no longer running and will not be called again.
UVC_STEREO_API void set_diagnostic_callback(DiagnosticCallback callback, void* context) noexcept;

}  // namespace tovanel::uvc_stereo
