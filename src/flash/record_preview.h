#pragma once

#include <cstdint>
#include <vector>

#include "uvc_stereo/flash_config.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::detail {

// True for the failures that condemn the header itself (bad magic, unsupported version,
// malformed header): reading more of the flash cannot change the verdict.
[[nodiscard]] bool is_record_header_failure(ErrorCode code) noexcept;

// The total record length (header_size + payload_length) that a header preview declares,
// when the preview holds a whole fixed header and the total fits the user space.
[[nodiscard]] Result<std::uint64_t> declared_record_length(const std::vector<std::uint8_t>& preview,
                                                           const FlashConfig& config);

}  // namespace tovanel::uvc_stereo::detail
