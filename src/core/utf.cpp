#include "core/utf.h"

#include <cstddef>
#include <cstdint>

namespace tovanel::uvc_stereo::detail {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool is_continuation(std::uint8_t byte) noexcept { return (byte & 0xC0u) == 0x80u; }

// The sequence length a lead byte announces, 0 for bytes that never start a well-formed
// sequence (continuations, the overlong leads C0 and C1, and F5 to FF beyond U+10FFFF).
std::size_t sequence_length(std::uint8_t lead) noexcept {
  if (lead < 0x80u) {
    return 1;
  }
  if (lead >= 0xC2u && lead <= 0xDFu) {
    return 2;
  }
  if (lead >= 0xE0u && lead <= 0xEFu) {
    return 3;
  }
  if (lead >= 0xF0u && lead <= 0xF4u) {
    return 4;
  }
  return 0;
}

// The second byte is narrower than a plain continuation for some leads: that is what
// rules out overlong forms, encoded surrogates and code points above U+10FFFF.
bool second_byte_allowed(std::uint8_t lead, std::uint8_t second) noexcept {
  switch (lead) {
    case 0xE0u:
      return second >= 0xA0u && second <= 0xBFu;
    case 0xEDu:
      return second >= 0x80u && second <= 0x9Fu;
    case 0xF0u:
      return second >= 0x90u && second <= 0xBFu;
    case 0xF4u:
      return second >= 0x80u && second <= 0x8Fu;
    default:
      return is_continuation(second);
  }
}

void append_utf16(std::u16string& out, char32_t code_point) {
  if (code_point < 0x10000u) {
    out.push_back(static_cast<char16_t>(code_point));
    return;
  }
  const char32_t offset = code_point - 0x10000u;
  out.push_back(static_cast<char16_t>(0xD800u + (offset >> 10)));
  out.push_back(static_cast<char16_t>(0xDC00u + (offset & 0x3FFu)));
}

void append_utf8(std::string& out, char32_t code_point) {
  if (code_point < 0x80u) {
    out.push_back(static_cast<char>(code_point));
  } else if (code_point < 0x800u) {
    out.push_back(static_cast<char>(0xC0u | (code_point >> 6)));
    out.push_back(static_cast<char>(0x80u | (code_point & 0x3Fu)));
  } else if (code_point < 0x10000u) {
    out.push_back(static_cast<char>(0xE0u | (code_point >> 12)));
    out.push_back(static_cast<char>(0x80u | ((code_point >> 6) & 0x3Fu)));
    out.push_back(static_cast<char>(0x80u | (code_point & 0x3Fu)));
  } else {
    out.push_back(static_cast<char>(0xF0u | (code_point >> 18)));
    out.push_back(static_cast<char>(0x80u | ((code_point >> 12) & 0x3Fu)));
    out.push_back(static_cast<char>(0x80u | ((code_point >> 6) & 0x3Fu)));
    out.push_back(static_cast<char>(0x80u | (code_point & 0x3Fu)));
  }
}

bool is_high_surrogate(char16_t unit) noexcept { return unit >= 0xD800u && unit <= 0xDBFFu; }
bool is_low_surrogate(char16_t unit) noexcept { return unit >= 0xDC00u && unit <= 0xDFFFu; }

}  // namespace

std::u16string utf8_to_utf16(std::string_view text) {
  std::u16string out;
  out.reserve(text.size());
  std::size_t i = 0;
  while (i < text.size()) {
    const auto lead = static_cast<std::uint8_t>(text[i]);
    const std::size_t length = sequence_length(lead);
    if (length == 1) {
      out.push_back(static_cast<char16_t>(lead));
      ++i;
      continue;
    }
    if (length == 0) {
      out.push_back(static_cast<char16_t>(kReplacement));
      ++i;
      continue;
    }
    // Take continuation bytes while they fit; a sequence cut short is replaced as one
    // unit and decoding resumes at the byte that broke it.
    char32_t code_point = lead & (0xFFu >> (length + 1));
    std::size_t taken = 1;
    while (taken < length && i + taken < text.size()) {
      const auto next = static_cast<std::uint8_t>(text[i + taken]);
      const bool allowed = taken == 1 ? second_byte_allowed(lead, next) : is_continuation(next);
      if (!allowed) {
        break;
      }
      code_point = (code_point << 6) | (next & 0x3Fu);
      ++taken;
    }
    append_utf16(out, taken == length ? code_point : kReplacement);
    i += taken;
  }
  return out;
}

std::string utf16_to_utf8(std::u16string_view text) {
  std::string out;
  out.reserve(text.size());
  std::size_t i = 0;
  while (i < text.size()) {
    const char16_t unit = text[i];
    if (is_high_surrogate(unit) && i + 1 < text.size() && is_low_surrogate(text[i + 1])) {
      const char32_t code_point =
          0x10000u + ((static_cast<char32_t>(unit) - 0xD800u) << 10) + (static_cast<char32_t>(text[i + 1]) - 0xDC00u);
      append_utf8(out, code_point);
      i += 2;
      continue;
    }
    // A surrogate without its partner names no character.
    append_utf8(out, is_high_surrogate(unit) || is_low_surrogate(unit) ? kReplacement : unit);
    ++i;
  }
  return out;
}

}  // namespace tovanel::uvc_stereo::detail
