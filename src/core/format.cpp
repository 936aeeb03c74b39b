#include "core/format.h"

#include <cstring>

namespace tovanel::uvc_stereo::detail {

std::string vformat_into(char* buffer, std::size_t size, const char* format, std::va_list args) {
  if (size == 0) {
    return std::string();
  }
  std::memset(buffer, 0, size);
  // On an encoding error vsnprintf may stop part-way; the zero fill and the bounded search
  // below still give a defined, terminated text.
  (void)std::vsnprintf(buffer, size, format, args);
  const void* nul = std::memchr(buffer, '\0', size);
  const std::size_t length = nul != nullptr ? static_cast<std::size_t>(static_cast<const char*>(nul) - buffer) : size;
  return std::string(buffer, length);
}

}  // namespace tovanel::uvc_stereo::detail
