#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// A small JSON reader for checking the tool's --json output: it parses a document into
// values that the tests can walk, and throws on anything that is not exactly one valid value.
namespace tovanel::uvc_stereo::tool_testing {

class JsonValue {
 public:
  enum class Kind { Null, Boolean, Number, String, Array, Object };

  [[nodiscard]] Kind kind() const noexcept { return kind_; }
  [[nodiscard]] bool is_null() const noexcept { return kind_ == Kind::Null; }
  [[nodiscard]] bool boolean() const { return expect(Kind::Boolean).boolean_; }
  [[nodiscard]] double number() const { return expect(Kind::Number).number_; }
  [[nodiscard]] const std::string& string() const { return expect(Kind::String).string_; }
  [[nodiscard]] const std::vector<JsonValue>& array() const { return expect(Kind::Array).array_; }
  [[nodiscard]] const std::map<std::string, JsonValue>& object() const { return expect(Kind::Object).object_; }
  [[nodiscard]] bool has(const std::string& key) const { return object().count(key) != 0; }
  [[nodiscard]] const JsonValue& operator[](const std::string& key) const {
    const auto found = object().find(key);
    if (found == object().end()) {
      throw std::runtime_error("no key '" + key + "'");
    }
    return found->second;
  }
  [[nodiscard]] const JsonValue& operator[](std::size_t index) const { return array().at(index); }

  // Parses exactly one JSON value, surrounded by optional whitespace.
  static JsonValue parse(std::string_view text) {
    Parser parser{text, 0};
    parser.skip_space();
    JsonValue value = parser.value();
    parser.skip_space();
    if (parser.pos != text.size()) {
      throw std::runtime_error("trailing text at " + std::to_string(parser.pos));
    }
    return value;
  }

 private:
  const JsonValue& expect(Kind kind) const {
    if (kind_ != kind) {
      throw std::runtime_error("JSON value has another kind");
    }
    return *this;
  }

  struct Parser {
    std::string_view text;
    std::size_t pos;

    [[noreturn]] void fail(const char* what) const {
      throw std::runtime_error(std::string(what) + " at " + std::to_string(pos));
    }
    void skip_space() {
      while (pos < text.size() && (text[pos] == ' ' || text[pos] == '\n' || text[pos] == '\r' || text[pos] == '\t')) {
        ++pos;
      }
    }
    char peek() const { return pos < text.size() ? text[pos] : '\0'; }
    void take(char c) {
      if (peek() != c) {
        fail("unexpected character");
      }
      ++pos;
    }
    JsonValue value() {
      JsonValue v;
      const char c = peek();
      if (c == '{') {
        v.kind_ = Kind::Object;
        take('{');
        skip_space();
        if (peek() == '}') {
          take('}');
          return v;
        }
        for (;;) {
          skip_space();
          const std::string key = string_token();
          skip_space();
          take(':');
          skip_space();
          v.object_[key] = value();
          skip_space();
          if (peek() == '}') {
            take('}');
            return v;
          }
          take(',');
        }
      }
      if (c == '[') {
        v.kind_ = Kind::Array;
        take('[');
        skip_space();
        if (peek() == ']') {
          take(']');
          return v;
        }
        for (;;) {
          skip_space();
          v.array_.push_back(value());
          skip_space();
          if (peek() == ']') {
            take(']');
            return v;
          }
          take(',');
        }
      }
      if (c == '"') {
        v.kind_ = Kind::String;
        v.string_ = string_token();
        return v;
      }
      if (text.substr(pos, 4) == "true" || text.substr(pos, 5) == "false") {
        v.kind_ = Kind::Boolean;
        v.boolean_ = c == 't';
        pos += v.boolean_ ? 4 : 5;
        return v;
      }
      if (text.substr(pos, 4) == "null") {
        pos += 4;
        return v;
      }
      const std::size_t start = pos;
      while (pos < text.size() && std::string_view("+-0123456789.eE").find(text[pos]) != std::string_view::npos) {
        ++pos;
      }
      if (start == pos) {
        fail("no value");
      }
      const std::string number(text.substr(start, pos - start));
      std::size_t used = 0;
      v.kind_ = Kind::Number;
      v.number_ = std::stod(number, &used);
      if (used != number.size()) {
        fail("bad number");
      }
      return v;
    }
    std::string string_token() {
      take('"');
      std::string out;
      for (;;) {
        if (pos >= text.size()) {
          fail("unterminated string");
        }
        const char c = text[pos++];
        if (c == '"') {
          return out;
        }
        if (static_cast<unsigned char>(c) < 0x20) {
          fail("control character in string");
        }
        if (c != '\\') {
          out += c;
          continue;
        }
        const char e = peek();
        ++pos;
        switch (e) {
          case '"':
          case '\\':
          case '/':
            out += e;
            break;
          case 'n':
            out += '\n';
            break;
          case 't':
            out += '\t';
            break;
          case 'r':
            out += '\r';
            break;
          case 'b':
            out += '\b';
            break;
          case 'f':
            out += '\f';
            break;
          case 'u': {
            if (pos + 4 > text.size()) {
              fail("short \\u escape");
            }
            const unsigned code = static_cast<unsigned>(std::stoul(std::string(text.substr(pos, 4)), nullptr, 16));
            pos += 4;
            if (code >= 0x80) {
              fail("the tool escapes only control characters");
            }
            out += static_cast<char>(code);
            break;
          }
          default:
            fail("bad escape");
        }
      }
    }
  };

  Kind kind_ = Kind::Null;
  bool boolean_ = false;
  double number_ = 0.0;
  std::string string_;
  std::vector<JsonValue> array_;
  std::map<std::string, JsonValue> object_;
};

}  // namespace tovanel::uvc_stereo::tool_testing
