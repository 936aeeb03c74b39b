#include "bridge/os/hresult_message_win.h"

#include <cstdint>

#include "core/format.h"

namespace tovanel::uvc_stereo::win_detail {

Status hresult_failure(const char* call, HRESULT hr) {
  const auto bits = static_cast<unsigned long>(static_cast<std::uint32_t>(hr));
  return Status(ErrorCode::PlatformError, detail::format_fixed<128>("%s failed: hr=0x%08lX", call, bits));
}

}  // namespace tovanel::uvc_stereo::win_detail
