#include "uvc-stereo/terminal_text.h"

#include <cstdint>
#include <cstdio>

namespace tovanel::uvc_stereo::cli {
namespace {

std::string escaped(const char* format, unsigned value) {
  char text[8];
  std::snprintf(text, sizeof(text), format, value);
  return text;
}

std::string escaped_control(unsigned code) {
  switch (code) {
    case '\b':
      return "\\b";
    case '\f':
      return "\\f";
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default:
      return escaped("\\u%04x", code);
  }
}

// The length of the well-formed UTF-8 sequence that starts `text` (of more than one byte), or 0.
std::size_t sequence_length(std::string_view text) {
  const auto byte = [&text](std::size_t at) { return static_cast<std::uint8_t>(text[at]); };
  const std::uint8_t lead = byte(0);
  std::size_t length = 0;
  std::uint8_t low = 0x80;
  std::uint8_t high = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    low = lead == 0xE0 ? 0xA0 : 0x80;   // no overlong forms
    high = lead == 0xED ? 0x9F : 0xBF;  // no surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    low = lead == 0xF0 ? 0x90 : 0x80;
    high = lead == 0xF4 ? 0x8F : 0xBF;
  } else {
    return 0;
  }
  if (text.size() < length || byte(1) < low || byte(1) > high) {
    return 0;
  }
  for (std::size_t at = 2; at < length; ++at) {
    if (byte(at) < 0x80 || byte(at) > 0xBF) {
      return 0;
    }
  }
  return length;
}

}  // namespace

std::string terminal_safe(std::string_view text) {
  std::string safe;
  safe.reserve(text.size());
  std::size_t at = 0;
  while (at < text.size()) {
    const auto byte = static_cast<std::uint8_t>(text[at]);
    if (byte < 0x20 || byte == 0x7F) {
      safe += escaped_control(byte);
      ++at;
      continue;
    }
    if (byte < 0x80) {
      safe += text[at++];
      continue;
    }
    const std::size_t length = sequence_length(text.substr(at));
    if (length == 0) {
      safe += escaped("\\x%02x", byte);
      ++at;
      continue;
    }
    // U+0080..U+009F are the C1 controls, which some terminals act on as ESC sequences.
    const auto second = static_cast<std::uint8_t>(text[at + 1]);
    if (byte == 0xC2 && second <= 0x9F) {
      safe += escaped_control(second);
    } else {
      safe.append(text.substr(at, length));
    }
    at += length;
  }
  return safe;
}

}  // namespace tovanel::uvc_stereo::cli
