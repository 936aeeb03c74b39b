#include "uvc_stereo/records.h"

#include "uvc_stereo/capability.h"
#include "uvc_stereo/flash_config.h"

// The records' special members are defined here, out of line, so that the shared
// library exports one copy of each.
namespace tovanel::uvc_stereo {

FlashConfig::FlashConfig() = default;
FlashConfig::~FlashConfig() = default;
FlashConfig::FlashConfig(const FlashConfig& other) = default;
FlashConfig& FlashConfig::operator=(const FlashConfig& other) = default;
FlashConfig::FlashConfig(FlashConfig&& other) noexcept = default;
FlashConfig& FlashConfig::operator=(FlashConfig&& other) noexcept = default;

DeviceInfo::DeviceInfo() = default;
DeviceInfo::~DeviceInfo() = default;
DeviceInfo::DeviceInfo(const DeviceInfo& other) = default;
DeviceInfo& DeviceInfo::operator=(const DeviceInfo& other) = default;

DeviceCapabilityInfo::~DeviceCapabilityInfo() = default;
DeviceCapabilityInfo& DeviceCapabilityInfo::operator=(DeviceCapabilityInfo&& other) noexcept = default;

ReadJsonResult::~ReadJsonResult() = default;
ReportedImuInfo::~ReportedImuInfo() = default;

}  // namespace tovanel::uvc_stereo
