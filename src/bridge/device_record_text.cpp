// The platform-independent halves of the device record's text fields; reading them into UTF-8
// is the platform's (device_record_text_posix.cpp, device_record_text_win.cpp).
#include "bridge/device_record_text.h"

#include <algorithm>

#include "core/utf.h"

namespace tovanel::uvc_stereo::win_detail {

std::size_t device_record_text_length(const SonixLib::scWideChar* field, std::size_t capacity) noexcept {
  if (field == nullptr) {
    return 0;
  }
  std::size_t length = 0;
  while (length < capacity && field[length] != 0) {
    ++length;
  }
  return length;
}

void fill_device_record_text(std::string_view text, SonixLib::scWideChar* field, std::size_t capacity) {
  if (field == nullptr || capacity == 0) {
    return;
  }
  const std::u16string wide = detail::utf8_to_utf16(text);
  std::size_t length = std::min(wide.size(), capacity - 1);
  if (length > 0 && length < wide.size() && wide[length - 1] >= 0xD800u && wide[length - 1] <= 0xDBFFu) {
    --length;
  }
  for (std::size_t i = 0; i < capacity; ++i) {
    field[i] = i < length ? static_cast<SonixLib::scWideChar>(wide[i]) : SonixLib::scWideChar{0};
  }
}

}  // namespace tovanel::uvc_stereo::win_detail
