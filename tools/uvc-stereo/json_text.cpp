#include "uvc-stereo/json_text.h"

#include <algorithm>
#include <charconv>

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

// Walks the document once with an explicit stack of open containers, so the thread's stack is
// never the limit, and builds one path that each element's step is appended to and trimmed from.
class Flattener {
 public:
  explicit Flattener(std::string_view text) : text_(text) {}

  std::vector<JsonLeaf> run() {
    while (take_value()) {
      if (!move_to_next_element()) {
        break;
      }
    }
    return std::move(leaves_);
  }

 private:
  struct Level {
    bool object = false;
    std::size_t next_index = 0;  ///< of the element after the current one
    std::size_t path_size = 0;   ///< of the container's own path
  };

  // The value at `pos_`: a scalar or an empty container becomes a leaf at `path_`; any other
  // container is opened down to its first leaf. False when the text ends or breaks off.
  bool take_value() {
    while (pos_ < text_.size() && (text_[pos_] == '{' || text_[pos_] == '[')) {
      const bool object = text_[pos_] == '{';
      if (pos_ + 1 < text_.size() && text_[pos_ + 1] == (object ? '}' : ']')) {
        leaves_.push_back(JsonLeaf{path_, object ? "{}" : "[]"});
        pos_ += 2;
        return true;
      }
      ++pos_;
      levels_.push_back(Level{object, 0, path_.size()});
      if (!begin_element(levels_.back())) {
        return false;
      }
    }
    const std::size_t end = pos_ < text_.size() ? scalar_end(text_, pos_) : pos_;
    if (end == pos_) {
      return false;
    }
    leaves_.push_back(JsonLeaf{path_, std::string(text_.substr(pos_, end - pos_))});
    pos_ = end;
    return true;
  }

  // After a value: closes every container that ends there and begins the next element. False
  // at the end of the document or where the text breaks off.
  bool move_to_next_element() {
    while (!levels_.empty() && pos_ < text_.size()) {
      Level& level = levels_.back();
      const char c = text_[pos_++];
      if (c == ',') {
        return begin_element(level);
      }
      if (c != (level.object ? '}' : ']')) {
        return false;
      }
      path_.resize(level.path_size);
      levels_.pop_back();
    }
    return false;
  }

  // Sets `path_` to the level's next element, reading its key in an object.
  bool begin_element(Level& level) {
    path_.resize(level.path_size);
    path_ += '/';
    if (level.object) {
      if (pos_ >= text_.size() || text_[pos_] != '"') {
        return false;
      }
      const std::size_t key_end = string_end(text_, pos_);
      path_ += pointer_step(text_.substr(pos_, key_end - pos_));
      pos_ = key_end;
      if (pos_ >= text_.size() || text_[pos_] != ':') {
        return false;
      }
      ++pos_;
    } else {
      path_ += std::to_string(level.next_index);
    }
    ++level.next_index;
    return true;
  }

  std::string_view text_;
  std::size_t pos_ = 0;
  std::string path_;
  std::vector<Level> levels_;
  std::vector<JsonLeaf> leaves_;
};

void newline(std::string& out, int depth) {
  out += '\n';
  out.append(std::min(static_cast<std::size_t>(depth), kMaxShownDepth) * 2, ' ');
}

}  // namespace

std::vector<JsonLeaf> flatten_json(std::string_view minified) {
  // Every leaf's path is as long as its nesting, so flattening deeper documents could take memory
  // growing with the square of their size: they are not flattened at all.
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
  const std::string_view before = text.substr(0, offset);
  const std::size_t line_start = before.rfind('\n') + 1;  // 0 on the first line: npos + 1 wraps to it
  return {static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n')) + 1, before.size() - line_start + 1};
}

bool offset_in_message(std::string_view message, std::size_t& offset) {
  constexpr std::string_view kMarker = " at offset ";
  const std::size_t marker = message.rfind(kMarker);
  if (marker == std::string_view::npos) {
    return false;
  }
  const std::string_view digits = message.substr(marker + kMarker.size());
  // Up to 18 digits, which every size_t holds; std::from_chars takes no sign and no spaces.
  std::size_t value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (digits.size() > 18 || error != std::errc() || end != digits.data() + digits.size()) {
    return false;
  }
  offset = value;
  return true;
}

}  // namespace tovanel::uvc_stereo::cli
