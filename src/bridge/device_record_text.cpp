// The platform-independent halves of the device record's text fields; reading them into UTF-8
// is the platform's (device_record_text_posix.cpp, device_record_text_win.cpp).
#include "bridge/device_record_text.h"

#include <algorithm>

#include "core/utf.h"

namespace tovanel::uvc_stereo::detail::bridge {

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

bool device_record_text_equals(const SonixLib::scWideChar* field, std::size_t capacity, std::string_view text) {
  const std::size_t length = device_record_text_length(field, capacity);
  for (const char c : text) {
    if (static_cast<unsigned char>(c) >= 0x80) {
      // Beyond ASCII one code unit no longer matches one byte: compare the converted text.
      return device_record_text(field, capacity) == text;
    }
  }
  if (length != text.size()) {
    return false;
  }
  for (std::size_t i = 0; i < length; ++i) {
    if (static_cast<char16_t>(field[i]) != static_cast<char16_t>(static_cast<unsigned char>(text[i]))) {
      return false;
    }
  }
  return true;
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

}  // namespace tovanel::uvc_stereo::detail::bridge
