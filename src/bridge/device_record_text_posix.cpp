#include <string_view>

#include "core/utf.h"
#include "bridge/device_record_text.h"

namespace tovanel::uvc_stereo::win_detail {

std::string device_record_text(const SonixLib::scWideChar* field, std::size_t capacity) {
  if (field == nullptr) {
    return {};
  }
  std::size_t length = 0;
  while (length < capacity && field[length] != 0) {
    ++length;
  }
  return detail::utf16_to_utf8(std::u16string_view(field, length));
}

}  // namespace tovanel::uvc_stereo::win_detail
