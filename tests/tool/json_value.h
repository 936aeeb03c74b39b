#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// A JSON reader (nlohmann/json underneath) for checking the tool's --json output: it parses a document into
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

  // Parses exactly one JSON value, surrounded by optional whitespace, as a strict reader does:
  // text that is not UTF-8 is refused too. The tool escapes control characters only, so any
  // other \u escape is refused as well.
  static JsonValue parse(std::string_view text) {
    refuse_escapes_beyond_control_characters(text);
    try {
      return from(nlohmann::json::parse(text.begin(), text.end()));
    } catch (const nlohmann::json::exception& error) {
      throw std::runtime_error(error.what());
    }
  }

 private:
  const JsonValue& expect(Kind kind) const {
    if (kind_ != kind) {
      throw std::runtime_error("JSON value has another kind");
    }
    return *this;
  }

  static JsonValue from(const nlohmann::json& parsed) {
    JsonValue v;
    switch (parsed.type()) {
      case nlohmann::json::value_t::null:
        break;
      case nlohmann::json::value_t::boolean:
        v.kind_ = Kind::Boolean;
        v.boolean_ = parsed.get<bool>();
        break;
      case nlohmann::json::value_t::string:
        v.kind_ = Kind::String;
        v.string_ = parsed.get<std::string>();
        break;
      case nlohmann::json::value_t::array:
        v.kind_ = Kind::Array;
        for (const nlohmann::json& element : parsed) {
          v.array_.push_back(from(element));
        }
        break;
      case nlohmann::json::value_t::object:
        v.kind_ = Kind::Object;
        for (const auto& [key, member] : parsed.items()) {
          v.object_[key] = from(member);
        }
        break;
      case nlohmann::json::value_t::number_integer:
      case nlohmann::json::value_t::number_unsigned:
      case nlohmann::json::value_t::number_float:
        v.kind_ = Kind::Number;
        v.number_ = parsed.get<double>();
        break;
      default:
        throw std::runtime_error("not a JSON value");
    }
    return v;
  }

  static void refuse_escapes_beyond_control_characters(std::string_view text) {
    for (std::size_t i = 0; i + 1 < text.size(); ++i) {
      if (text[i] != '\\') {
        continue;
      }
      if (text[i + 1] == 'u' && (text.substr(i + 2, 2) != "00" || text.substr(i + 4, 1) > "1")) {
        if (text.substr(i + 2, 4) != "007f") {
          throw std::runtime_error("the tool escapes only control characters, at " + std::to_string(i));
        }
      }
      ++i;  // the escaped character, which may itself be a backslash
    }
  }

  Kind kind_ = Kind::Null;
  bool boolean_ = false;
  double number_ = 0.0;
  std::string string_;
  std::vector<JsonValue> array_;
  std::map<std::string, JsonValue> object_;
};

}  // namespace tovanel::uvc_stereo::tool_testing
