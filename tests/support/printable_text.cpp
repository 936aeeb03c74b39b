#include "support/printable_text.h"

namespace tovanel::uvc_stereo::test_support {

std::string printable(std::string_view text, std::size_t limit) {
  static constexpr char kHex[] = "0123456789abcdef";
  std::string shown;
  for (const char c : text.substr(0, limit)) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7F && c != '\\') {
      shown += c;
    } else {
      shown += "\\x";
      shown += kHex[byte >> 4];
      shown += kHex[byte & 0xF];
    }
  }
  if (text.size() > limit) {
    shown += "... (" + std::to_string(text.size()) + " bytes)";
  }
  return shown;
}

}  // namespace tovanel::uvc_stereo::test_support
