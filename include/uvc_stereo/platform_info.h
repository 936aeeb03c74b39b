#pragma once

#include <string>

#include "uvc_stereo/export.h"

namespace tovanel::uvc_stereo {

/// The version of the SDK library actually loaded ("0.1.0"), which may differ from the
/// UVC_STEREO_VERSION_STRING of the headers a program was built with. Never null; the
/// text lives as long as the library.
[[nodiscard]] UVC_STEREO_API const char* library_version() noexcept;

/// What the SDK reaches cameras through, for version reports and bug reports:
///  - Windows: "SonixCamera.dll 1.2.3.4 (C:\...\SonixCamera.dll)" for the camera vendor's
///    library the SDK loaded, its version taken from the file's version resource ("no
///    version resource" in its place when it has none), or "not loaded (SonixCamera.dll
///    was not found beside the SDK or on the search path)";
///  - Linux: "none (the kernel's UVC driver)";
///  - while another backend replaces the platform's own (a simulated rig):
///    "none (the simulated backend)", naming that backend.
/// Loads the vendor library on Windows if no operation has loaded it yet. Thread-safe.
/// Throws std::bad_alloc only.
[[nodiscard]] UVC_STEREO_API std::string vendor_library_version();

}  // namespace tovanel::uvc_stereo
