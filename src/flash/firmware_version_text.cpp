#include "flash/firmware_version_text.h"

#include <algorithm>

namespace tovanel::uvc_stereo::detail {
namespace {

bool is_trailing_filler(char c) noexcept { return c == '\0' || c == '\t' || c == '\n' || c == '\r' || c == ' '; }

}  // namespace

std::string firmware_version_from_buffer(const char* buffer, std::size_t size) {
  const char* end = std::find(buffer, buffer + size, '\0');
  std::string text(buffer, end);
  while (!text.empty() && is_trailing_filler(text.back())) {
    text.pop_back();
  }
  return text;
}

}  // namespace tovanel::uvc_stereo::detail
