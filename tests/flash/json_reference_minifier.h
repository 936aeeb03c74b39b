#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// A second, deliberately naive minifier: plain recursive descent with one function per production, written
// independently of the library's scanner so that the two can be compared on arbitrary input. Its recursion depth
// equals the nesting depth, so it is only fed shallow documents.
namespace tovanel::uvc_stereo::json_test {

struct ReferenceOutcome {
  bool ok = false;
  std::string output;   // the minified text when ok
  std::string message;  // the failure text when not ok
};

class ReferenceMinifier {
 public:
  static ReferenceOutcome run(std::string_view text) {
    ReferenceOutcome outcome;
    if (text.empty()) {
      outcome.message = "json text is empty";
      return outcome;
    }
    ReferenceMinifier m(text);
    m.skip_ws();
    if (!m.value()) {
      outcome.message = "invalid JSON value at offset " + std::to_string(m.cur_ - m.begin_);
      return outcome;
    }
    m.skip_ws();
    if (m.cur_ != m.end_) {
      outcome.message = "unexpected trailing characters at offset " + std::to_string(m.cur_ - m.begin_);
      return outcome;
    }
    outcome.ok = true;
    outcome.output = m.out_;
    return outcome;
  }

 private:
  explicit ReferenceMinifier(std::string_view text)
      : begin_(text.data()), cur_(text.data()), end_(text.data() + text.size()) {}

  bool done() const { return cur_ >= end_; }

  void skip_ws() {
    while (cur_ < end_ && (*cur_ == ' ' || *cur_ == '\t' || *cur_ == '\n' || *cur_ == '\r')) ++cur_;
  }

  void take() { out_ += *cur_++; }

  bool value() {
    if (done()) return false;
    const char c = *cur_;
    if (c == '"') return string();
    if (c == '[') return array();
    if (c == '{') return object();
    if (c == 't') return literal("true");
    if (c == 'f') return literal("false");
    if (c == 'n') return literal("null");
    if (c == '-' || (c >= '0' && c <= '9')) return number();
    return false;
  }

  bool literal(const char* word) {
    for (; *word != '\0'; ++word) {
      if (done() || *cur_ != *word) return false;
      take();
    }
    return true;
  }

  static bool digit(char c) { return c >= '0' && c <= '9'; }

  bool number() {
    const char* start = cur_;
    if (*cur_ == '-') {
      ++cur_;
      if (done()) return false;
    }
    if (*cur_ == '0') {
      ++cur_;
    } else {
      if (*cur_ < '1' || *cur_ > '9') return false;
      while (!done() && digit(*cur_)) ++cur_;
    }
    if (!done() && *cur_ == '.') {
      ++cur_;
      if (done()) return false;
      if (!digit(*cur_)) return false;
      while (!done() && digit(*cur_)) ++cur_;
    }
    if (!done() && (*cur_ == 'e' || *cur_ == 'E')) {
      ++cur_;
      if (!done() && (*cur_ == '+' || *cur_ == '-')) ++cur_;
      if (done()) return false;
      if (!digit(*cur_)) return false;
      while (!done() && digit(*cur_)) ++cur_;
    }
    out_.append(start, cur_);
    return true;
  }

  // Reads four hex digits without consuming them; the unit is returned through `unit`.
  bool hex4(long& unit) {
    unit = 0;
    for (int i = 0; i < 4; ++i) {
      const char h = cur_[i];
      long v;
      if (h >= '0' && h <= '9') {
        v = h - '0';
      } else if (h >= 'a' && h <= 'f') {
        v = h - 'a' + 10;
      } else if (h >= 'A' && h <= 'F') {
        v = h - 'A' + 10;
      } else {
        return false;
      }
      unit = unit * 16 + v;
    }
    return true;
  }

  bool unicode_escape() {
    out_ += 'u';
    if (end_ - cur_ < 4) return false;
    long unit = 0;
    if (!hex4(unit)) return false;
    out_.append(cur_, 4);
    cur_ += 4;
    if (unit >= 0xD800 && unit <= 0xDBFF) {
      if (end_ - cur_ < 6 || cur_[0] != '\\' || cur_[1] != 'u') return false;
      out_ += "\\u";
      cur_ += 2;
      long low = 0;
      if (!hex4(low)) return false;
      if (low < 0xDC00 || low > 0xDFFF) return false;
      out_.append(cur_, 4);
      cur_ += 4;
    } else if (unit >= 0xDC00 && unit <= 0xDFFF) {
      return false;
    }
    return true;
  }

  bool string() {
    if (done() || *cur_ != '"') return false;
    take();
    if (done()) return false;
    while (true) {
      const char c = *cur_++;
      if (c == '"') {
        out_ += c;
        return true;
      }
      if (static_cast<unsigned char>(c) < 0x20) return false;
      if (c != '\\') {
        out_ += c;
      } else {
        if (done()) return false;
        out_ += '\\';
        const char e = *cur_++;
        if (e == '"' || e == '/' || e == '\\' || e == 'b' || e == 'f' || e == 'n' || e == 'r' || e == 't') {
          out_ += e;
        } else if (e == 'u') {
          if (!unicode_escape()) return false;
        } else {
          return false;
        }
      }
      if (done()) return false;
    }
  }

  bool array() {
    take();
    if (done()) return false;
    skip_ws();
    if (done()) return false;
    if (*cur_ == ']') {
      take();
      return true;
    }
    while (true) {
      if (!value()) return false;
      if (done()) return false;
      skip_ws();
      if (done()) return false;
      if (*cur_ == ']') {
        take();
        return true;
      }
      if (*cur_ != ',') return false;
      take();
      if (done()) return false;
      skip_ws();
      if (done()) return false;
    }
  }

  bool object() {
    take();
    skip_ws();
    if (done()) return false;
    if (*cur_ == '}') {
      take();
      return true;
    }
    while (true) {
      if (!string()) return false;
      if (done()) return false;
      skip_ws();
      if (done() || *cur_ != ':') return false;
      take();
      skip_ws();
      if (!value()) return false;
      if (done()) return false;
      skip_ws();
      if (done()) return false;
      if (*cur_ == '}') {
        take();
        return true;
      }
      if (*cur_ != ',') return false;
      take();
      if (done()) return false;
      skip_ws();
      if (done()) return false;
    }
  }

  const char* begin_;
  const char* cur_;
  const char* end_;
  std::string out_;
};

}  // namespace tovanel::uvc_stereo::json_test
