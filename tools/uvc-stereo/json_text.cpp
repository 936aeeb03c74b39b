#include "uvc-stereo/json_text.h"

#include <algorithm>

namespace tovanel::uvc_stereo::cli {
namespace {

// The end of the string token that starts at `pos` (one past its closing quote).
std::size_t string_end(std::string_view text, std::size_t pos) {
  std::size_t i = pos + 1;
  while (i < text.size() && text[i] != '"') {
    i += text[i] == '\\' ? 2 : 1;
  }
  return i < text.size() ? i + 1 : text.size();
}

// The end of the scalar token that starts at `pos`.
std::size_t scalar_end(std::string_view text, std::size_t pos) {
  if (pos < text.size() && text[pos] == '"') {
    return string_end(text, pos);
  }
  std::size_t i = pos;
  while (i < text.size() && text[i] != ',' && text[i] != ']' && text[i] != '}' && text[i] != ':') {
    ++i;
  }
  return i;
}

// A key as a JSON Pointer step: "~" and "/" inside it are written "~0" and "~1".
std::string pointer_step(std::string_view quoted_key) {
  std::string step;
  const std::string_view inner =
      quoted_key.size() >= 2 ? quoted_key.substr(1, quoted_key.size() - 2) : std::string_view();
  for (char c : inner) {
    if (c == '~') {
      step += "~0";
    } else if (c == '/') {
      step += "~1";
    } else {
      step += c;
    }
  }
  return step;
}

class Flattener {
 public:
  explicit Flattener(std::string_view text) : text_(text) {}

  std::vector<JsonLeaf> run() {
    value();
    return std::move(leaves_);
  }

 private:
  // The value at `pos_`, which sits at `path_`.
  void value() {
    if (pos_ >= text_.size()) {
      return;
    }
    const char c = text_[pos_];
    if (c == '{' || c == '[') {
      container(c == '{');
      return;
    }
    const std::size_t end = scalar_end(text_, pos_);
    leaves_.push_back(JsonLeaf{path_, std::string(text_.substr(pos_, end - pos_))});
    pos_ = end;
  }

  void container(bool object) {
    const char close = object ? '}' : ']';
    if (pos_ + 1 < text_.size() && text_[pos_ + 1] == close) {
      leaves_.push_back(JsonLeaf{path_, object ? "{}" : "[]"});
      pos_ += 2;
      return;
    }
    ++pos_;
    // Each element's step is appended to the one path being built and taken off again after it.
    const std::size_t base = path_.size();
    for (std::size_t index = 0; pos_ < text_.size(); ++index) {
      path_.resize(base);
      path_ += '/';
      if (object) {
        const std::size_t key_end = string_end(text_, pos_);
        path_ += pointer_step(text_.substr(pos_, key_end - pos_));
        pos_ = key_end;
        if (pos_ >= text_.size() || text_[pos_] != ':') {
          return;
        }
        ++pos_;
      } else {
        path_ += std::to_string(index);
      }
      const std::size_t before = pos_;
      value();
      path_.resize(base);
      if (pos_ >= text_.size() || pos_ == before) {
        return;
      }
      const char separator = text_[pos_++];
      if (separator != ',') {
        return;
      }
    }
  }

  std::string_view text_;
  std::size_t pos_ = 0;
  std::string path_;
  std::vector<JsonLeaf> leaves_;
};

void newline(std::string& out, int depth) {
  out += '\n';
  out.append(std::min(static_cast<std::size_t>(depth), kMaxShownDepth) * 2, ' ');
}

}  // namespace

std::vector<JsonLeaf> flatten_json(std::string_view minified) {
  // The flattener recurses once per level: deeper documents are not flattened at all.
  if (json_depth(minified) > kMaxShownDepth) {
    return {};
  }
  return Flattener(minified).run();
}

std::size_t json_depth(std::string_view minified) {
  std::size_t depth = 0;
  std::size_t deepest = 0;
  for (std::size_t i = 0; i < minified.size();) {
    const char c = minified[i];
    if (c == '"') {
      i = string_end(minified, i);
      continue;
    }
    if (c == '{' || c == '[') {
      deepest = std::max(deepest, ++depth);
    } else if ((c == '}' || c == ']') && depth > 0) {
      --depth;
    }
    ++i;
  }
  return deepest;
}

std::string pretty_print_json(std::string_view minified) {
  std::string out;
  out.reserve(minified.size() * 2);
  int depth = 0;
  std::size_t i = 0;
  while (i < minified.size()) {
    const char c = minified[i];
    if (c == '"') {
      const std::size_t end = string_end(minified, i);
      out.append(minified.substr(i, end - i));
      i = end;
      continue;
    }
    if ((c == '{' || c == '[') && i + 1 < minified.size() && (minified[i + 1] == '}' || minified[i + 1] == ']')) {
      out += c;
      out += minified[i + 1];
      i += 2;
      continue;
    }
    switch (c) {
      case '{':
      case '[':
        out += c;
        newline(out, ++depth);
        break;
      case '}':
      case ']':
        newline(out, depth > 0 ? --depth : 0);
        out += c;
        break;
      case ',':
        out += c;
        newline(out, depth);
        break;
      case ':':
        out += ": ";
        break;
      default:
        out += c;
    }
    ++i;
  }
  return out;
}

TextPosition position_of_offset(std::string_view text, std::size_t offset) {
  TextPosition position;
  const std::size_t limit = offset < text.size() ? offset : text.size();
  for (std::size_t i = 0; i < limit; ++i) {
    if (text[i] == '\n') {
      ++position.line;
      position.column = 1;
    } else {
      ++position.column;
    }
  }
  return position;
}

bool offset_in_message(std::string_view message, std::size_t& offset) {
  constexpr std::string_view kMarker = " at offset ";
  const std::size_t marker = message.rfind(kMarker);
  if (marker == std::string_view::npos) {
    return false;
  }
  const std::string_view digits = message.substr(marker + kMarker.size());
  if (digits.empty() || digits.size() > 18) {
    return false;
  }
  std::size_t value = 0;
  for (char c : digits) {
    if (c < '0' || c > '9') {
      return false;
    }
    value = value * 10 + static_cast<std::size_t>(c - '0');
  }
  offset = value;
  return true;
}

}  // namespace tovanel::uvc_stereo::cli
