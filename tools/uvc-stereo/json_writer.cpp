#include "uvc-stereo/json_writer.h"

#include <cmath>
#include <cstdio>

namespace tovanel::uvc_stereo::cli {

std::string json_quote(std::string_view text) {
  std::string quoted;
  quoted.reserve(text.size() + 2);
  quoted += '"';
  for (char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    switch (c) {
      case '"':
        quoted += "\\\"";
        break;
      case '\\':
        quoted += "\\\\";
        break;
      case '\n':
        quoted += "\\n";
        break;
      case '\r':
        quoted += "\\r";
        break;
      case '\t':
        quoted += "\\t";
        break;
      default:
        if (byte < 0x20 || byte == 0x7F) {
          char escaped[8];
          std::snprintf(escaped, sizeof(escaped), "\\u%04x", static_cast<unsigned>(byte));
          quoted += escaped;
        } else {
          quoted += c;
        }
    }
  }
  quoted += '"';
  return quoted;
}

std::string format_decimal(double value, int significant) {
  char buffer[64];
  std::snprintf(buffer, sizeof(buffer), "%.*g", significant, value);
  return buffer;
}

void JsonWriter::before_value() {
  if (after_key_) {
    after_key_ = false;
    return;
  }
  if (!has_element_.empty()) {
    if (has_element_.back()) {
      text_ += ',';
    }
    has_element_.back() = true;
  }
}

JsonWriter& JsonWriter::begin_object() {
  before_value();
  text_ += '{';
  has_element_.push_back(false);
  return *this;
}

JsonWriter& JsonWriter::end_object() {
  text_ += '}';
  has_element_.pop_back();
  return *this;
}

JsonWriter& JsonWriter::begin_array() {
  before_value();
  text_ += '[';
  has_element_.push_back(false);
  return *this;
}

JsonWriter& JsonWriter::end_array() {
  text_ += ']';
  has_element_.pop_back();
  return *this;
}

JsonWriter& JsonWriter::key(std::string_view name) {
  before_value();
  text_ += json_quote(name);
  text_ += ':';
  after_key_ = true;
  return *this;
}

JsonWriter& JsonWriter::string(std::string_view text) {
  before_value();
  text_ += json_quote(text);
  return *this;
}

JsonWriter& JsonWriter::number(std::int64_t value) {
  before_value();
  text_ += std::to_string(value);
  return *this;
}

JsonWriter& JsonWriter::number(std::uint64_t value) {
  before_value();
  text_ += std::to_string(value);
  return *this;
}

JsonWriter& JsonWriter::number(double value, int significant) {
  before_value();
  text_ += std::isfinite(value) ? format_decimal(value, significant) : "null";
  return *this;
}

JsonWriter& JsonWriter::boolean(bool value) {
  before_value();
  text_ += value ? "true" : "false";
  return *this;
}

JsonWriter& JsonWriter::null() {
  before_value();
  text_ += "null";
  return *this;
}

}  // namespace tovanel::uvc_stereo::cli
