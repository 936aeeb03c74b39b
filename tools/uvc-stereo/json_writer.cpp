#include "uvc-stereo/json_writer.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <utility>

namespace tovanel::uvc_stereo::cli {
namespace {

using Json = nlohmann::ordered_json;

// UTF-8 text of `value`, compact or indented by `indent` spaces a level. Bytes that are not UTF-8 become U+FFFD rather
// than failing the output; DEL, which the library passes through, is escaped too, so that no control character reaches
// a terminal that shows the output.
std::string serialize(const Json& value, int indent = -1) {
  const std::string dumped = value.dump(indent, ' ', false, Json::error_handler_t::replace);
  std::string text;
  text.reserve(dumped.size());
  for (const char c : dumped) {
    if (c == '\x7f') {
      text += "\\u007f";
    } else {
      text += c;
    }
  }
  return text;
}

// Integers that a double holds exactly are written without a fraction ("2048", not "2048.0").
constexpr double kExactIntegerLimit = 9007199254740992.0;  // 2^53

// People read the output with two spaces a level, as `config get --pretty` lays out a configuration.
constexpr int kPrettyIndent = 2;

}  // namespace

std::string json_quote(std::string_view text) { return serialize(Json(std::string(text))); }

std::string format_decimal(double value, int significant) {
  char buffer[64];
  std::snprintf(buffer, sizeof(buffer), "%.*g", significant, value);
  return buffer;
}

JsonWriter::JsonWriter() = default;
JsonWriter::~JsonWriter() = default;

JsonWriter& JsonWriter::add(Json&& value) {
  if (open_.empty()) {
    document_ = std::make_unique<Json>(std::move(value));
    if (document_->is_structured()) {
      open_.push_back(document_.get());
    }
    return *this;
  }
  Json& parent = *open_.back();
  Json* child = nullptr;
  if (parent.is_object()) {
    child = &(parent[pending_key_] = std::move(value));
  } else {
    parent.push_back(std::move(value));
    child = &parent.back();
  }
  // A container stays open until it is ended; its parent takes nothing else meanwhile, so the
  // pointer to it stays valid.
  if (child->is_structured()) {
    open_.push_back(child);
  }
  return *this;
}

// Serialized only when asked for, in the one form the caller wants.
std::string JsonWriter::text() const { return complete() ? serialize(*document_) : std::string(); }

std::string JsonWriter::pretty_text() const {
  return complete() ? serialize(*document_, kPrettyIndent) : std::string();
}

JsonWriter& JsonWriter::close() {
  open_.pop_back();
  return *this;
}

JsonWriter& JsonWriter::begin_object() { return add(Json::object()); }
JsonWriter& JsonWriter::end_object() { return close(); }
JsonWriter& JsonWriter::begin_array() { return add(Json::array()); }
JsonWriter& JsonWriter::end_array() { return close(); }

JsonWriter& JsonWriter::key(std::string_view name) {
  pending_key_.assign(name.data(), name.size());
  return *this;
}

JsonWriter& JsonWriter::string(std::string_view text) { return add(Json(std::string(text))); }
JsonWriter& JsonWriter::number(std::int64_t value) { return add(Json(value)); }
JsonWriter& JsonWriter::number(std::uint64_t value) { return add(Json(value)); }
JsonWriter& JsonWriter::boolean(bool value) { return add(Json(value)); }
JsonWriter& JsonWriter::null() { return add(Json(nullptr)); }

JsonWriter& JsonWriter::number(double value, int significant) {
  if (!std::isfinite(value)) {
    return null();
  }
  // The library writes the shortest text that reads back as the same double, so a value rounded
  // to `significant` digits (up to 15) is written with exactly those digits.
  const double rounded = std::strtod(format_decimal(value, significant).c_str(), nullptr);
  if (std::fabs(rounded) < kExactIntegerLimit && std::trunc(rounded) == rounded) {
    return add(Json(static_cast<std::int64_t>(rounded)));
  }
  return add(Json(rounded));
}

}  // namespace tovanel::uvc_stereo::cli
