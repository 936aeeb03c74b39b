#pragma once

#include <cstdint>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace tovanel::uvc_stereo::cli {

// Builds the tool's --json output as an nlohmann/json document, members in the order they are
// written, and serializes it (compactly or laid out) once the outermost value is complete. The output is valid
// UTF-8 JSON whatever bytes a camera reports: bytes that are not UTF-8 (in a name or a path)
// become U+FFFD, control characters and DEL are escaped.
class JsonWriter {
 public:
  JsonWriter();
  ~JsonWriter();
  JsonWriter(const JsonWriter&) = delete;
  JsonWriter& operator=(const JsonWriter&) = delete;

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
  // Rounded to `significant` digits and written in the shortest form that keeps them ("16.4",
  // "0.3333", "2048"); NaN and infinities (no JSON form) become null.
  JsonWriter& number(double value, int significant = 10);
  JsonWriter& boolean(bool value);
  JsonWriter& null();

  // The compact text of the document; empty until its outermost value is complete.
  [[nodiscard]] std::string text() const;
  // The same document laid out for people to read, two spaces a level; empty while `text` is.
  [[nodiscard]] std::string pretty_text() const;

 private:
  // Places `value` in the open container (under the pending key) or makes it the document.
  JsonWriter& add(nlohmann::ordered_json&& value);
  JsonWriter& close();
  [[nodiscard]] bool complete() const noexcept { return document_ && open_.empty(); }

  std::unique_ptr<nlohmann::ordered_json> document_;
  std::vector<nlohmann::ordered_json*> open_;
  std::string pending_key_;
};

// `text` as a JSON string literal, quotes included, escaped as the writer does.
[[nodiscard]] std::string json_quote(std::string_view text);

// A double in at most `significant` significant digits ("16.4", "0.000125", "2048").
[[nodiscard]] std::string format_decimal(double value, int significant);

}  // namespace tovanel::uvc_stereo::cli
