#include "bridge/flash_transport.h"
#include "uvc_stereo/flash.h"

namespace tovanel::uvc_stereo {

// Applications see the same read the IMU's firmware gate makes, so what a tool shows is
// exactly what decided whether the IMU may be used.
Result<std::string> read_firmware_version(const FlashConfig& config) {
  return detail::read_firmware_version_from_device(config);
}

}  // namespace tovanel::uvc_stereo
