#pragma once

#include <string>
#include <string_view>

#include "uvc_stereo/export.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo {

/// Checks that `json` is exactly one well-formed JSON value and returns it with every
/// whitespace byte outside strings removed; tokens are copied verbatim, never decoded.
/// Failures are InvalidJson: "json text is empty", "invalid JSON value at offset N",
/// "unexpected trailing characters at offset N".
[[nodiscard]] UVC_STEREO_API Result<std::string> minify_and_validate_json(std::string_view json);

}  // namespace tovanel::uvc_stereo
