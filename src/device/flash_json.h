#pragma once

#include <string_view>

#include "uvc_stereo/flash_config.h"
#include "uvc_stereo/records.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::detail {

// Reads the configuration record of the camera that `config` selects and returns its JSON minified and
// validated, then gives the camera 100 ms to settle. Failures of the flash and of the JSON are returned as they are.
[[nodiscard]] Result<ReadJsonResult> read_flash_json(const FlashConfig& config);

// Minifies and validates `json` and writes it as a format-version-0 record; after a successful write the camera
// gets 100 ms to settle. Text that is not JSON is refused before the camera is contacted.
[[nodiscard]] Status write_flash_json(const FlashConfig& config, std::string_view json);

}  // namespace tovanel::uvc_stereo::detail
