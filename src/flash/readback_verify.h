#pragma once

#include <cstdint>
#include <vector>

#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::detail {

// Compares a record with what the flash gave back after writing it. The first differing
// byte is reported with its offset and both values (a side that has no byte there reads
// as 0); telling the debugger is the caller's part.
[[nodiscard]] Status verify_readback(const std::vector<std::uint8_t>& record,
                                     const std::vector<std::uint8_t>& readback);

}  // namespace tovanel::uvc_stereo::detail
