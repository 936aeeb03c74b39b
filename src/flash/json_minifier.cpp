#include <cstddef>
#include <exception>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "flash/json_minifier_variants.h"

namespace tovanel::uvc_stereo {
namespace {

constexpr bool is_json_whitespace(char c) noexcept { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

constexpr bool is_digit(char c) noexcept { return c >= '0' && c <= '9'; }

// Value of one hexadecimal digit, or -1 when the byte is not one.
constexpr int hex_digit_value(char c) noexcept {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// One pass over the text that copies every accepted token to `out_` and stops at the first byte that breaks the
// grammar. Nesting is tracked on an explicit stack rather than by recursion, so the depth of a configuration
// document is bounded by memory, not by the caller's thread stack; every refusal still leaves `cur_` exactly where
// a recursive-descent scanner would.
class JsonScanner {
 public:
  explicit JsonScanner(std::string_view json) : begin_(json.data()), cur_(json.data()), end_(begin_ + json.size()) {
    out_.reserve(json.size());
  }

  [[nodiscard]] Result<std::string> scan_document() {
    skip_whitespace();
    if (!scan_value()) {
      return failure("invalid JSON value");
    }
    skip_whitespace();
    if (cur_ != end_) {
      return failure("unexpected trailing characters");
    }
    return std::move(out_);
  }

 private:
  static constexpr bool kArrayLevel = false;
  static constexpr bool kObjectLevel = true;

  [[nodiscard]] Status failure(const char* what) const {
    std::string message(what);
    message += " at offset ";
    message += std::to_string(static_cast<std::size_t>(cur_ - begin_));
    return Status(ErrorCode::InvalidJson, std::move(message));
  }

  [[nodiscard]] bool at_end() const noexcept { return cur_ >= end_; }

  void skip_whitespace() noexcept {
    while (cur_ < end_ && is_json_whitespace(*cur_)) {
      ++cur_;
    }
  }

  // Skips whitespace; false when the text ends before more of the document.
  [[nodiscard]] bool skip_whitespace_to_more() noexcept {
    skip_whitespace();
    return !at_end();
  }

  void copy_byte() {
    out_.push_back(*cur_);
    ++cur_;
  }

  // One whole value, nested containers included. Opening a non-empty container moves the scanner down a level to
  // its first element; each finished value is then closed out against the innermost open container until one
  // expects another element.
  [[nodiscard]] bool scan_value() {
    for (;;) {
      bool opened = false;
      if (!scan_value_start(opened)) {
        return false;
      }
      if (opened) {
        continue;
      }
      bool next_element = false;
      while (!next_element && !open_.empty()) {
        if (!scan_after_element(next_element)) {
          return false;
        }
      }
      if (!next_element) {
        return true;
      }
    }
  }

  // Scans a scalar or an empty container entirely; a non-empty container is opened instead (`opened` set) and
  // `cur_` left at its first element.
  [[nodiscard]] bool scan_value_start(bool& opened) {
    if (at_end()) {
      return false;
    }
    switch (*cur_) {
      case '"':
        return scan_string();
      case '[':
        return open_array(opened);
      case '{':
        return open_object(opened);
      case 't':
        return match_literal("true");
      case 'f':
        return match_literal("false");
      case 'n':
        return match_literal("null");
      default:
        if (*cur_ == '-' || is_digit(*cur_)) {
          return scan_number();
        }
        return false;
    }
  }

  [[nodiscard]] bool open_array(bool& opened) {
    copy_byte();
    if (!skip_whitespace_to_more()) {
      return false;
    }
    if (*cur_ == ']') {
      copy_byte();
      return true;
    }
    open_.push_back(kArrayLevel);
    opened = true;
    return true;
  }

  [[nodiscard]] bool open_object(bool& opened) {
    copy_byte();
    if (!skip_whitespace_to_more()) {
      return false;
    }
    if (*cur_ == '}') {
      copy_byte();
      return true;
    }
    if (!scan_key_and_colon()) {
      return false;
    }
    open_.push_back(kObjectLevel);
    opened = true;
    return true;
  }

  // Key, colon and the whitespace before the member's value.
  [[nodiscard]] bool scan_key_and_colon() {
    if (!scan_string()) {
      return false;
    }
    if (at_end()) {
      return false;
    }
    skip_whitespace();
    if (at_end() || *cur_ != ':') {
      return false;
    }
    copy_byte();
    skip_whitespace();
    return true;
  }

  // Runs after an element of the innermost open container: either closes that container (which completes a value
  // one level up) or consumes the separating comma and sets `next_element`.
  [[nodiscard]] bool scan_after_element(bool& next_element) {
    if (!skip_whitespace_to_more()) {
      return false;
    }
    const bool in_object = open_.back() == kObjectLevel;
    if (*cur_ == (in_object ? '}' : ']')) {
      copy_byte();
      open_.pop_back();
      return true;
    }
    if (*cur_ != ',') {
      return false;
    }
    copy_byte();
    if (!skip_whitespace_to_more()) {
      return false;
    }
    if (in_object && !scan_key_and_colon()) {
      return false;
    }
    next_element = true;
    return true;
  }

  [[nodiscard]] bool match_literal(std::string_view word) {
    for (const char expected : word) {
      if (at_end() || *cur_ != expected) {
        return false;
      }
      copy_byte();
    }
    return true;
  }

  void skip_digits() noexcept {
    while (cur_ < end_ && is_digit(*cur_)) {
      ++cur_;
    }
  }

  // Checks the number's shape only; its digits go to the output exactly as written.
  [[nodiscard]] bool scan_number() {
    const char* const start = cur_;
    if (*cur_ == '-') {
      ++cur_;
      if (at_end()) {
        return false;
      }
    }
    if (*cur_ == '0') {
      ++cur_;
    } else if (*cur_ >= '1' && *cur_ <= '9') {
      skip_digits();
    } else {
      return false;
    }
    if (cur_ < end_ && *cur_ == '.') {
      ++cur_;
      if (at_end() || !is_digit(*cur_)) {
        return false;
      }
      skip_digits();
    }
    if (cur_ < end_ && (*cur_ == 'e' || *cur_ == 'E')) {
      ++cur_;
      if (cur_ < end_ && (*cur_ == '+' || *cur_ == '-')) {
        ++cur_;
      }
      if (at_end() || !is_digit(*cur_)) {
        return false;
      }
      skip_digits();
    }
    out_.append(start, static_cast<std::size_t>(cur_ - start));
    return true;
  }

  // Reads four hex digits at `cur_` without moving it; false leaves `cur_` at the first of them.
  [[nodiscard]] bool peek_code_unit(unsigned& unit) const noexcept {
    if (end_ - cur_ < 4) {
      return false;
    }
    unit = 0;
    for (int i = 0; i < 4; ++i) {
      const int digit = hex_digit_value(cur_[i]);
      if (digit < 0) {
        return false;
      }
      unit = unit * 16 + static_cast<unsigned>(digit);
    }
    return true;
  }

  void copy_code_unit() {
    out_.append(cur_, 4);
    cur_ += 4;
  }

  // The `u` of a \u escape has been copied; a high surrogate must be followed by its low half in the next escape.
  [[nodiscard]] bool scan_unicode_escape() {
    unsigned unit = 0;
    if (!peek_code_unit(unit)) {
      return false;
    }
    copy_code_unit();
    if (unit >= 0xD800 && unit <= 0xDBFF) {
      if (end_ - cur_ < 6 || cur_[0] != '\\' || cur_[1] != 'u') {
        return false;
      }
      out_.append(cur_, 2);
      cur_ += 2;
      unsigned low = 0;
      if (!peek_code_unit(low) || low < 0xDC00 || low > 0xDFFF) {
        return false;
      }
      copy_code_unit();
      return true;
    }
    return unit < 0xDC00 || unit > 0xDFFF;
  }

  // Escapes are validated, never decoded, so the stored text spells them exactly as the caller did.
  [[nodiscard]] bool scan_string() {
    if (at_end() || *cur_ != '"') {
      return false;
    }
    copy_byte();
    if (at_end()) {
      return false;
    }
    for (;;) {
      const char c = *cur_++;
      if (c == '"') {
        out_.push_back(c);
        return true;
      }
      if (static_cast<unsigned char>(c) < 0x20) {
        return false;
      }
      if (c != '\\') {
        out_.push_back(c);
      } else {
        if (at_end()) {
          return false;
        }
        out_.push_back(c);
        const char escape = *cur_++;
        switch (escape) {
          case '"':
          case '/':
          case '\\':
          case 'b':
          case 'f':
          case 'n':
          case 'r':
          case 't':
            out_.push_back(escape);
            break;
          case 'u':
            out_.push_back(escape);
            if (!scan_unicode_escape()) {
              return false;
            }
            break;
          default:
            return false;
        }
      }
      if (at_end()) {
        return false;
      }
    }
  }

  const char* begin_;
  const char* cur_;
  const char* end_;
  std::string out_;
  // Kind of each open container, innermost last; one bit per level keeps deep nesting cheap.
  std::vector<bool> open_;
};

}  // namespace

namespace detail {

// The reference form: every vectorised variant must agree with it on every input, and it gives the verdict and
// the error offset whenever a variant cannot vouch for a document.
Result<std::string> minify_and_validate_json_scalar(std::string_view json) {
  if (json.empty()) {
    return Status(ErrorCode::InvalidJson, "json text is empty");
  }
  try {
    JsonScanner scanner(json);
    return scanner.scan_document();
  } catch (const std::exception& e) {
    // Only memory exhaustion can get here: the output buffer or the nesting stack could not grow.
    return Status(ErrorCode::InternalError, e.what());
  }
}

}  // namespace detail
}  // namespace tovanel::uvc_stereo
