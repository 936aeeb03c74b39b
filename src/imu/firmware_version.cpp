#include "imu/firmware_version.h"

namespace tovanel::uvc_stereo::detail {

bool firmware_version_allows_imu(std::string_view required, std::string_view firmware) noexcept {
  // Exact match only: firmware texts are compared as the camera reports them, untrimmed and case-sensitive.
  return required.empty() || firmware == required;
}

bool firmware_version_disables_imu(std::string_view disabling, std::string_view firmware) noexcept {
  if (disabling.empty() || disabling.size() > firmware.size()) {
    return false;
  }
  return firmware.find(disabling) != std::string_view::npos;
}

}  // namespace tovanel::uvc_stereo::detail
