#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>

// Seeded generators of well-formed JSON documents (with every kind of token, escape and whitespace the grammar
// allows) and of byte-level mutations of them, for comparing minifiers on input nobody wrote by hand.
namespace tovanel::uvc_stereo::json_test {

// How the generated strings look: short ones with a little of everything, or the notes, names and paths people
// write in other languages, up to a few hundred bytes each, dense with escapes and multi-byte UTF-8.
enum class StringStyle : std::uint8_t { Short, Prose };

class RandomJson {
 public:
  explicit RandomJson(std::uint32_t seed, StringStyle style = StringStyle::Short) : rng_(seed), style_(style) {}

  // A well-formed document, possibly wrapped in whitespace.
  std::string document(int max_depth = 4) {
    std::string text;
    whitespace(text);
    value(text, max_depth);
    whitespace(text);
    return text;
  }

  // Applies between one and four random insertions, deletions, replacements, bit flips or truncations.
  std::string mutate(std::string text) {
    const int count = 1 + below(4);
    for (int i = 0; i < count; ++i) {
      const std::size_t size = text.size();
      const std::size_t at = size == 0 ? 0 : static_cast<std::size_t>(below(static_cast<int>(size)));
      switch (below(6)) {
        case 0:
          text.insert(at, 1, interesting_byte());
          break;
        case 1:
          text.insert(at, interesting_snippet());
          break;
        case 2:
          if (size > 0) text.erase(at, 1);
          break;
        case 3:
          if (size > 0) text[at] = interesting_byte();
          break;
        case 4:
          if (size > 0) text[at] = static_cast<char>(static_cast<unsigned char>(text[at]) ^ (1U << below(8)));
          break;
        default:
          text.resize(at);
          break;
      }
    }
    return text;
  }

  int below(int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(rng_); }

 private:
  bool chance(int percent) { return below(100) < percent; }

  void whitespace(std::string& text) {
    static constexpr char kWhitespace[] = {' ', '\t', '\n', '\r'};
    const int count = chance(50) ? 0 : 1 + below(3);
    for (int i = 0; i < count; ++i) text += kWhitespace[below(4)];
  }

  void value(std::string& text, int depth) {
    const int kinds = depth > 0 ? 8 : 6;
    switch (below(kinds)) {
      case 0:
        text += "null";
        break;
      case 1:
        text += chance(50) ? "true" : "false";
        break;
      case 2:
      case 3:
        number(text);
        break;
      case 4:
      case 5:
        string(text);
        break;
      case 6:
        array(text, depth - 1);
        break;
      default:
        object(text, depth - 1);
        break;
    }
  }

  void digits(std::string& text, int min_count) {
    const int count = min_count + below(4);
    for (int i = 0; i < count; ++i) text += static_cast<char>('0' + below(10));
  }

  void number(std::string& text) {
    if (chance(30)) text += '-';
    if (chance(25)) {
      text += '0';
    } else {
      text += static_cast<char>('1' + below(9));
      digits(text, 0);
    }
    if (chance(30)) {
      text += '.';
      digits(text, 1);
    }
    if (chance(25)) {
      text += chance(50) ? 'e' : 'E';
      const int sign = below(3);
      if (sign == 1) text += '+';
      if (sign == 2) text += '-';
      digits(text, 1);
    }
  }

  void hex_unit(std::string& text, unsigned unit) {
    static constexpr char kLower[] = "0123456789abcdef";
    static constexpr char kUpper[] = "0123456789ABCDEF";
    const char* digits = chance(50) ? kLower : kUpper;
    text += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4) text += digits[(unit >> shift) & 0xF];
  }

  void string(std::string& text) {
    if (style_ == StringStyle::Prose) {
      prose_string(text);
      return;
    }
    static constexpr char kSimpleEscapes[] = {'"', '/', '\\', 'b', 'f', 'n', 'r', 't'};
    text += '"';
    const int length = below(8);
    for (int i = 0; i < length; ++i) {
      const int kind = below(10);
      if (kind < 4) {
        char c = static_cast<char>(0x20 + below(0x5F));
        if (c == '"' || c == '\\') c = 'q';
        text += c;
      } else if (kind == 4) {
        text += static_cast<char>(0x80 + below(0x80));
      } else if (kind == 5) {
        text += ' ';
      } else if (kind == 6) {
        text += '\\';
        text += kSimpleEscapes[below(8)];
      } else if (kind == 7) {
        unsigned unit = static_cast<unsigned>(below(0x10000));
        if (unit >= 0xD800 && unit <= 0xDFFF) unit -= 0x1000;
        hex_unit(text, unit);
      } else {
        hex_unit(text, 0xD800 + static_cast<unsigned>(below(0x400)));
        hex_unit(text, 0xDC00 + static_cast<unsigned>(below(0x400)));
      }
    }
    text += '"';
  }

  // One well-formed UTF-8 character of `bytes` bytes (2, 3 or 4), surrogates excluded as UTF-8 requires.
  void utf8_character(std::string& text, int bytes) {
    unsigned code = 0;
    if (bytes == 2) {
      code = 0x80 + static_cast<unsigned>(below(0x800 - 0x80));
      text += static_cast<char>(0xC0 | (code >> 6));
    } else if (bytes == 3) {
      code = 0x800 + static_cast<unsigned>(below(0x10000 - 0x800));
      if (code >= 0xD800 && code <= 0xDFFF) code -= 0x800;
      text += static_cast<char>(0xE0 | (code >> 12));
      text += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    } else {
      code = 0x10000 + static_cast<unsigned>(below(0x110000 - 0x10000));
      text += static_cast<char>(0xF0 | (code >> 18));
      text += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
      text += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    }
    text += static_cast<char>(0x80 | (code & 0x3F));
  }

  // Runs of one script (CJK, accented Latin, emoji) broken by escapes, quoted words and path separators, so that
  // characters and escapes fall across every 16, 32 and 64-byte boundary.
  void prose_string(std::string& text) {
    static constexpr std::string_view kEscapes[] = {"\\\"", "\\\\", "\\n", "\\t", "\\r", "\\/", "\\b", "\\f"};
    text += '"';
    const int pieces = below(40);
    for (int i = 0; i < pieces; ++i) {
      const int kind = below(12);
      const int run = 1 + below(12);
      if (kind < 3) {
        for (int k = 0; k < run; ++k) utf8_character(text, 3);
      } else if (kind == 3) {
        for (int k = 0; k < run; ++k) utf8_character(text, 2);
      } else if (kind == 4) {
        utf8_character(text, 4);
      } else if (kind == 5) {
        // Bytes above 0x7F that form no character: the minifier passes them unchecked.
        text += static_cast<char>(0x80 + below(0x80));
      } else if (kind == 6) {
        text += kEscapes[below(static_cast<int>(sizeof(kEscapes) / sizeof(kEscapes[0])))];
      } else if (kind == 7) {
        unsigned unit = 0x80 + static_cast<unsigned>(below(0x10000 - 0x80));
        if (unit >= 0xD800 && unit <= 0xDFFF) unit -= 0x1000;
        hex_unit(text, unit);
      } else if (kind == 8) {
        hex_unit(text, 0xD800 + static_cast<unsigned>(below(0x400)));
        hex_unit(text, 0xDC00 + static_cast<unsigned>(below(0x400)));
      } else if (kind == 9) {
        text += "C:\\\\Users\\\\";
        utf8_character(text, 3);
        text += "\\\\";
      } else {
        for (int k = 0; k < run; ++k) {
          char c = static_cast<char>(0x20 + below(0x5F));
          if (c == '"' || c == '\\') c = ' ';
          text += c;
        }
      }
    }
    text += '"';
  }

  void array(std::string& text, int depth) {
    text += '[';
    whitespace(text);
    const int count = below(4);
    for (int i = 0; i < count; ++i) {
      if (i > 0) {
        text += ',';
        whitespace(text);
      }
      value(text, depth);
      whitespace(text);
    }
    text += ']';
  }

  void object(std::string& text, int depth) {
    text += '{';
    whitespace(text);
    const int count = below(4);
    for (int i = 0; i < count; ++i) {
      if (i > 0) {
        text += ',';
        whitespace(text);
      }
      string(text);
      whitespace(text);
      text += ':';
      whitespace(text);
      value(text, depth);
      whitespace(text);
    }
    text += '}';
  }

  char interesting_byte() {
    // Embedded NUL included, so the size comes from the array rather than from the first terminator.
    static constexpr char kBytes[] =
        "{}[],:\"\\ \t\n\r0123456789-+.eEtrufalsnxuUdDcCbB/"
        "\x00\x01\x0b\x0c\x1f\x7f\x80\xc3\xff";
    return kBytes[below(static_cast<int>(sizeof(kBytes) - 1))];
  }

  std::string_view interesting_snippet() {
    static constexpr std::string_view kSnippets[] = {
        "\\u",
        "\\ud800",
        "\\udbff",
        "\\udc00",
        "\\udfff",
        "\\u00e9",
        "\\uD83D\\uDE00",
        "\xe4\xb8\xad",
        "\xf0\x9f\x98\x80",
        "\xe4\xb8",
        "\\\\",
        "\\ud83d\\u0041",
        "true",
        "null",
        "false",
        "\"",
        "\\",
        "-0",
        "1e",
        ".5",
        "[",
        "]",
        "{\"k\":",
        "}",
        ",,",
        " \t\r\n",
    };
    return kSnippets[below(static_cast<int>(sizeof(kSnippets) / sizeof(kSnippets[0])))];
  }

  std::mt19937 rng_;
  StringStyle style_;
};

// Removes the four whitespace bytes wherever they stand outside a string, tracking only quotes and backslashes;
// for a well-formed document this is its minified form.
inline std::string strip_whitespace_outside_strings(std::string_view text) {
  std::string stripped;
  bool in_string = false;
  bool escaped = false;
  for (const char c : text) {
    if (in_string) {
      if (escaped) {
        escaped = false;
      } else if (c == '\\') {
        escaped = true;
      } else if (c == '"') {
        in_string = false;
      }
      stripped += c;
    } else if (c != ' ' && c != '\t' && c != '\n' && c != '\r') {
      in_string = c == '"';
      stripped += c;
    }
  }
  return stripped;
}

}  // namespace tovanel::uvc_stereo::json_test
