#include "uvc_stereo/result.h"

#include <array>

namespace tovanel::uvc_stereo {
namespace {

constexpr std::array<std::string_view, 15> kErrorCodeNames = {
    "Ok",          "InvalidArgument", "PlatformError",      "DeviceUnavailable", "ReadFailed",    "WriteFailed",
    "EraseFailed", "BadMagic",        "UnsupportedVersion", "InvalidHeader",     "InvalidLength", "ChecksumMismatch",
    "InvalidJson", "InternalError",   "NotSupported",
};
static_assert(kErrorCodeNames.size() == static_cast<std::size_t>(kLastErrorCode) + 1, "every ErrorCode has a name");

}  // namespace

std::string_view error_code_name(ErrorCode code) noexcept {
  const auto index = static_cast<std::uint32_t>(code);
  return index < kErrorCodeNames.size() ? kErrorCodeNames[index] : std::string_view("Unknown");
}

}  // namespace tovanel::uvc_stereo
