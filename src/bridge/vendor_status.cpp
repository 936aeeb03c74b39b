#include "bridge/vendor_status.h"

#include "bridge/vendor_error_names.h"
#include "core/format.h"

namespace tovanel::uvc_stereo::win_detail {

SonixLib::scErrorCode_t get_vendor_error_code(SonixLib::scDevice_t* device) noexcept {
  SonixLib::scErrorCode_t code = SonixLib::ecUnknow;
  if (!SonixCam_GetErrorCode(device, &code)) {
    return SonixLib::ecUnknow;
  }
  return code;
}

Status make_vendor_status(ErrorCode code, const char* call, SonixLib::scDevice_t* device) {
  const SonixLib::scErrorCode_t vendor_code = get_vendor_error_code(device);
  const std::string_view name = detail::bridge::vendor_error_name(vendor_code);
  return Status(code,
                detail::format_fixed<256>("%s failed: vendor_code=%.*s(%d)", call != nullptr ? call : "Sonix API",
                                          static_cast<int>(name.size()), name.data(), static_cast<int>(vendor_code)));
}

}  // namespace tovanel::uvc_stereo::win_detail
