#include <string_view>

#include "bridge/device_record_text.h"
#include "core/utf.h"

namespace tovanel::uvc_stereo::detail::bridge {

std::string device_record_text(const SonixLib::scWideChar* field, std::size_t capacity) {
  const std::size_t length = device_record_text_length(field, capacity);
  if (length == 0) {
    return {};
  }
  return detail::utf16_to_utf8(std::u16string_view(field, length));
}

}  // namespace tovanel::uvc_stereo::detail::bridge
