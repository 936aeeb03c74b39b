#include "device/capability_not_supported.h"

#include <string>

namespace tovanel::uvc_stereo::detail {

Status capability_not_supported(std::optional<std::string_view> name) {
  if (name.has_value() && *name == "IMU") {
    return Status(ErrorCode::NotSupported, "IMU is not supported on this device");
  }
  std::string message = "valid capability XU report does not declare ";
  message += name.has_value() ? *name : std::string_view("the requested capability");
  return Status(ErrorCode::NotSupported, std::move(message));
}

}  // namespace tovanel::uvc_stereo::detail
