#pragma once

#include "uvc_stereo/flash_config.h"
#include "uvc_stereo/records.h"

namespace tovanel::uvc_stereo::detail::bridge {

// The FlashConfig that picks out exactly `device` when it is resolved afresh: defaults everywhere, no
// auto-selection, no enumeration filter, the vid/pid key only when both ids are known, and the device's own
// flags, serial number and path.
[[nodiscard]] FlashConfig make_device_selector_config(const DeviceInfo& device);

}  // namespace tovanel::uvc_stereo::detail::bridge
