#pragma once

#include "bridge/device_enumeration.h"
#include "uvc_stereo/flash_config.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::win_detail {

// Chooses the one camera an operation addresses, from the selectors of `config`
// (device path over serial number over vid/pid). Inside an open session, lock held.
[[nodiscard]] Result<EnumeratedDevice> resolve_device_with_active_runtime(const FlashConfig& config,
                                                                          bool with_backend_candidates);

}  // namespace tovanel::uvc_stereo::win_detail
