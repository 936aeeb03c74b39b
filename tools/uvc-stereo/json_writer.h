#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tovanel::uvc_stereo::cli {

// Builds compact JSON text for the tool's --json output. Strings are escaped so that any
// bytes a camera reports (names, paths) still give valid JSON; commas are placed by the writer.
class JsonWriter {
 public:
  JsonWriter& begin_object();
  JsonWriter& end_object();
  JsonWriter& begin_array();
  JsonWriter& end_array();
  JsonWriter& key(std::string_view name);

  JsonWriter& string(std::string_view text);
  JsonWriter& number(std::int64_t value);
  JsonWriter& number(std::uint64_t value);
  JsonWriter& number(int value) { return number(static_cast<std::int64_t>(value)); }
  JsonWriter& number(unsigned value) { return number(static_cast<std::uint64_t>(value)); }
  // Up to `significant` digits, shortest form; NaN and infinities (no JSON form) become null.
  JsonWriter& number(double value, int significant = 10);
  JsonWriter& boolean(bool value);
  JsonWriter& null();

  [[nodiscard]] const std::string& text() const noexcept { return text_; }

 private:
  void before_value();

  std::string text_;
  // One entry per open container: whether it already holds an element.
  std::vector<bool> has_element_;
  bool after_key_ = false;
};

// `text` as a JSON string literal, quotes included.
[[nodiscard]] std::string json_quote(std::string_view text);

// A double in at most `significant` significant digits ("16.4", "0.000125", "2048").
[[nodiscard]] std::string format_decimal(double value, int significant);

}  // namespace tovanel::uvc_stereo::cli
