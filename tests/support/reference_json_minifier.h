#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// A second minifier, written as the plain recursive-descent scanner that the JSON rules describe, one function
// per production, so that the fuzzer and the differential tests can hold the SDK's stack-based scanner to it: same
// acceptance, same output, same failure position. It is deliberately naive and shares no code with the SDK.
namespace tovanel::uvc_stereo::test_support {

class ReferenceJsonMinifier {
 public:
  enum class Outcome { Minified, Empty, InvalidValue, TrailingCharacters, TooDeep };

  struct Answer {
    Outcome outcome = Outcome::Empty;
    std::string output;      // the minified text when outcome is Minified
    std::size_t offset = 0;  // where scanning stopped for InvalidValue and TrailingCharacters
  };

  // Recursion depth this reference allows itself before it gives up with TooDeep; the SDK scanner has no limit,
  // so deeper documents are only checked by the properties that do not need a second opinion.
  static constexpr std::size_t kMaxDepth = 1500;

  static Answer minify(std::string_view text) {
    ReferenceJsonMinifier scanner(text);
    return scanner.document();
  }

 private:
  explicit ReferenceJsonMinifier(std::string_view text) : text_(text) {}

  Answer document() {
    Answer answer;
    if (text_.empty()) {
      answer.outcome = Outcome::Empty;
      return answer;
    }
    skip_whitespace();
    if (!value()) {
      answer.outcome = too_deep_ ? Outcome::TooDeep : Outcome::InvalidValue;
      answer.offset = pos_;
      return answer;
    }
    skip_whitespace();
    if (pos_ != text_.size()) {
      answer.outcome = Outcome::TrailingCharacters;
      answer.offset = pos_;
      return answer;
    }
    answer.outcome = Outcome::Minified;
    answer.output = out_;
    return answer;
  }

  bool at_end() const { return pos_ >= text_.size(); }
  char byte() const { return text_[pos_]; }

  static bool is_whitespace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
  static bool is_digit(char c) { return c >= '0' && c <= '9'; }
  static bool is_hex(char c) { return is_digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

  void skip_whitespace() {
    while (!at_end() && is_whitespace(byte())) {
      ++pos_;
    }
  }

  // Appends the byte under the cursor and steps over it.
  void take() {
    out_.push_back(byte());
    ++pos_;
  }

  bool value() {
    if (at_end()) {
      return false;
    }
    const char c = byte();
    if (c == '"') return string();
    if (c == '[') return nested(&ReferenceJsonMinifier::array);
    if (c == '{') return nested(&ReferenceJsonMinifier::object);
    if (c == 't') return literal("true");
    if (c == 'f') return literal("false");
    if (c == 'n') return literal("null");
    if (c == '-' || is_digit(c)) return number();
    return false;
  }

  bool nested(bool (ReferenceJsonMinifier::*production)()) {
    if (depth_ >= kMaxDepth) {
      too_deep_ = true;
      return false;
    }
    ++depth_;
    const bool parsed = (this->*production)();
    --depth_;
    return parsed;
  }

  bool literal(std::string_view word) {
    for (const char expected : word) {
      if (at_end() || byte() != expected) {
        return false;
      }
      take();
    }
    return true;
  }

  void skip_digits() {
    while (!at_end() && is_digit(byte())) {
      ++pos_;
    }
  }

  bool number() {
    const std::size_t start = pos_;
    if (byte() == '-') {
      ++pos_;
      if (at_end()) return false;
    }
    if (byte() == '0') {
      ++pos_;
    } else if (byte() >= '1' && byte() <= '9') {
      skip_digits();
    } else {
      return false;
    }
    if (!at_end() && byte() == '.') {
      ++pos_;
      if (at_end() || !is_digit(byte())) return false;
      skip_digits();
    }
    if (!at_end() && (byte() == 'e' || byte() == 'E')) {
      ++pos_;
      if (!at_end() && (byte() == '+' || byte() == '-')) ++pos_;
      if (at_end() || !is_digit(byte())) return false;
      skip_digits();
    }
    out_.append(text_.substr(start, pos_ - start));
    return true;
  }

  // Reads four hex digits at the cursor without moving it, so a failure leaves the cursor on the first of them.
  bool peek_hex4(unsigned& unit) const {
    if (text_.size() - pos_ < 4) return false;
    unit = 0;
    for (std::size_t i = 0; i < 4; ++i) {
      const char c = text_[pos_ + i];
      if (!is_hex(c)) return false;
      const unsigned digit =
          is_digit(c) ? static_cast<unsigned>(c - '0') : static_cast<unsigned>((c | 0x20) - 'a' + 10);
      unit = unit * 16 + digit;
    }
    return true;
  }

  // Appends the four digits just read, spelled as the input spelled them.
  void take_hex4() {
    out_.append(text_.substr(pos_, 4));
    pos_ += 4;
  }

  // The cursor is just past the u of a unicode escape.
  bool unicode_escape() {
    unsigned unit = 0;
    if (!peek_hex4(unit)) return false;
    take_hex4();
    if (unit >= 0xD800 && unit <= 0xDBFF) {
      if (text_.size() - pos_ < 6 || text_[pos_] != '\\' || text_[pos_ + 1] != 'u') return false;
      out_.append("\\u");
      pos_ += 2;
      unsigned low = 0;
      if (!peek_hex4(low) || low < 0xDC00 || low > 0xDFFF) return false;
      take_hex4();
      return true;
    }
    return !(unit >= 0xDC00 && unit <= 0xDFFF);
  }

  bool string() {
    if (at_end() || byte() != '"') return false;
    take();
    if (at_end()) return false;
    for (;;) {
      const char c = byte();
      ++pos_;
      if (c == '"') {
        out_.push_back(c);
        return true;
      }
      if (static_cast<unsigned char>(c) < 0x20) return false;
      if (c != '\\') {
        out_.push_back(c);
      } else {
        if (at_end()) return false;
        out_.push_back('\\');
        const char e = byte();
        ++pos_;
        if (e == '"' || e == '/' || e == '\\' || e == 'b' || e == 'f' || e == 'n' || e == 'r' || e == 't') {
          out_.push_back(e);
        } else if (e == 'u') {
          out_.push_back('u');
          if (!unicode_escape()) return false;
        } else {
          return false;
        }
      }
      if (at_end()) return false;
    }
  }

  bool array() {
    take();
    if (at_end()) return false;
    skip_whitespace();
    if (at_end()) return false;
    if (byte() == ']') {
      take();
      return true;
    }
    for (;;) {
      if (!value()) return false;
      if (at_end()) return false;
      skip_whitespace();
      if (at_end()) return false;
      if (byte() == ']') {
        take();
        return true;
      }
      if (byte() != ',') return false;
      take();
      if (at_end()) return false;
      skip_whitespace();
      if (at_end()) return false;
    }
  }

  bool object() {
    take();
    skip_whitespace();
    if (at_end()) return false;
    if (byte() == '}') {
      take();
      return true;
    }
    for (;;) {
      if (!string()) return false;
      if (at_end()) return false;
      skip_whitespace();
      if (at_end() || byte() != ':') return false;
      take();
      skip_whitespace();
      if (!value()) return false;
      if (at_end()) return false;
      skip_whitespace();
      if (at_end()) return false;
      if (byte() == '}') {
        take();
        return true;
      }
      if (byte() != ',') return false;
      take();
      if (at_end()) return false;
      skip_whitespace();
      if (at_end()) return false;
    }
  }

  std::string_view text_;
  std::size_t pos_ = 0;
  std::string out_;
  std::size_t depth_ = 0;
  bool too_deep_ = false;
};

}  // namespace tovanel::uvc_stereo::test_support
