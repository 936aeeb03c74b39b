#include <string>

#include "bridge/device_record_text.h"
#include "bridge/os/windows_api_win.h"

namespace tovanel::uvc_stereo::detail::bridge {

std::string device_record_text(const SonixLib::scWideChar* field, std::size_t capacity) {
  const std::size_t length = device_record_text_length(field, capacity);
  if (length == 0) {
    return {};
  }
  // A terminated copy keeps the NUL-terminated length query inside the field even when the
  // library left no terminator in it.
  const std::wstring text(field, length);
  const int needed = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
  if (needed < 2) {
    return {};
  }
  std::string converted(static_cast<std::size_t>(needed), '\0');
  const int written = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, converted.data(), needed, nullptr, nullptr);
  if (written <= 1) {
    return {};
  }
  converted.resize(static_cast<std::size_t>(written - 1));
  return converted;
}

}  // namespace tovanel::uvc_stereo::detail::bridge
