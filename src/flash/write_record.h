#pragma once

#include <cstdint>
#include <vector>

#include "uvc_stereo/flash.h"
#include "uvc_stereo/flash_config.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::detail {

// The exact bytes a write puts into the user space: the blob's own record after it has
// been validated against `config` (so a stale or foreign record never reaches the
// camera), or else a record freshly built from its payload and format version.
[[nodiscard]] Result<std::vector<std::uint8_t>> prepare_write_record(const FlashConfig& config, const FlashBlob& blob);

}  // namespace tovanel::uvc_stereo::detail
