#include "bridge/os/wide_text_win.h"

#include <cstddef>

#include "bridge/os/capture_system_calls_win.h"

namespace tovanel::uvc_stereo::win_detail {

std::string wide_to_utf8(const wchar_t* text) {
  if (text == nullptr || text[0] == L'\0') {
    return {};
  }
  const CaptureSystemCalls& calls = capture_system_calls();
  // Both lengths count the terminator, so anything below 2 holds no character.
  const int needed = calls.wide_char_to_multi_byte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  if (needed < 2) {
    return {};
  }
  std::string converted(static_cast<std::size_t>(needed), '\0');
  const int written = calls.wide_char_to_multi_byte(CP_UTF8, 0, text, -1, converted.data(), needed, nullptr, nullptr);
  if (written <= 1) {
    return {};
  }
  converted.resize(static_cast<std::size_t>(written - 1));
  return converted;
}

}  // namespace tovanel::uvc_stereo::win_detail
