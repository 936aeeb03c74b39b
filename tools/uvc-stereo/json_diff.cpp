#include "uvc-stereo/json_diff.h"

#include <functional>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "uvc-stereo/json_text.h"

namespace tovanel::uvc_stereo::cli {
namespace {

// A leaf's identity: its path and, for keys that repeat in one object, which repetition. The
// path is viewed in the flattened leaves, which outlive every key.
using LeafKey = std::pair<std::string_view, std::size_t>;

struct LeafKeyHash {
  std::size_t operator()(const LeafKey& key) const noexcept {
    const std::size_t path = std::hash<std::string_view>{}(key.first);
    return path ^ (key.second + 0x9e3779b9U + (path << 6) + (path >> 2));
  }
};

template <typename Value>
using LeafKeyMap = std::unordered_map<LeafKey, Value, LeafKeyHash>;

std::vector<LeafKey> keys_of(const std::vector<JsonLeaf>& leaves) {
  std::unordered_map<std::string_view, std::size_t> seen;
  seen.reserve(leaves.size());
  std::vector<LeafKey> keys;
  keys.reserve(leaves.size());
  for (const JsonLeaf& leaf : leaves) {
    keys.emplace_back(leaf.path, seen[leaf.path]++);
  }
  return keys;
}

std::string shown_path(const std::string& path) { return path.empty() ? "(whole document)" : path; }

// A JSON number as sign, significant digits and decimal exponent, so that 60, 60.0 and 6e1 compare
// equal exactly, with no rounding through a binary double.
struct DecimalValue {
  bool negative = false;
  std::string digits;      ///< no leading or trailing zeros; empty for zero
  long long exponent = 0;  ///< value = digits * 10^exponent
  friend bool operator==(const DecimalValue& a, const DecimalValue& b) {
    return a.negative == b.negative && a.digits == b.digits && a.exponent == b.exponent;
  }
};

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// Exponents up to 10^15 stay exact in a long long together with the shift by the digits' count.
constexpr std::size_t kMaxExponentDigits = 15;

// The value of a minified JSON number; false for any other leaf (strings, literals, containers).
bool decimal_value(const std::string& text, DecimalValue& value) {
  std::size_t i = 0;
  value = DecimalValue{};
  if (i < text.size() && text[i] == '-') {
    value.negative = true;
    ++i;
  }
  if (i >= text.size() || !is_digit(text[i])) {
    return false;
  }
  std::string digits;
  long long fraction_digits = 0;
  for (; i < text.size() && is_digit(text[i]); ++i) {
    digits += text[i];
  }
  if (i < text.size() && text[i] == '.') {
    for (++i; i < text.size() && is_digit(text[i]); ++i) {
      digits += text[i];
      ++fraction_digits;
    }
  }
  long long exponent = 0;
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
    ++i;
    bool exponent_negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
      exponent_negative = text[i] == '-';
      ++i;
    }
    std::size_t exponent_digits = 0;
    for (; i < text.size() && is_digit(text[i]); ++i) {
      if (exponent != 0 || text[i] != '0') {
        ++exponent_digits;
      }
      exponent = exponent * 10 + (text[i] - '0');
      // An exponent of more digits is not compared at all: saying two different values are the
      // same would be worse than not noticing that two spellings are.
      if (exponent_digits > kMaxExponentDigits) {
        return false;
      }
    }
    exponent = exponent_negative ? -exponent : exponent;
  }
  if (i != text.size()) {
    return false;
  }
  const std::size_t first = digits.find_first_not_of('0');
  if (first == std::string::npos) {
    value.negative = false;  // -0 and 0 are the same value
    return true;
  }
  const std::size_t last = digits.find_last_not_of('0');
  value.digits = digits.substr(first, last - first + 1);
  value.exponent = exponent - fraction_digits + static_cast<long long>(digits.size() - 1 - last);
  return true;
}

// True when two different texts are numbers of the same value (60.0 and 60).
bool same_number(const std::string& a, const std::string& b) {
  DecimalValue x;
  DecimalValue y;
  return decimal_value(a, x) && decimal_value(b, y) && x == y;
}

}  // namespace

std::string JsonDiff::summary() const {
  if (too_deep) {
    return "changes not listed (nested deeper than " + std::to_string(kMaxShownDepth) + " levels)";
  }
  if (empty()) {
    return "no change";
  }
  return std::to_string(changed) + " changed, " + std::to_string(added) + " added, " + std::to_string(removed) +
         " removed";
}

JsonDiff diff_json(std::string_view before, std::string_view after) {
  if (json_depth(before) > kMaxShownDepth || json_depth(after) > kMaxShownDepth) {
    JsonDiff diff;
    diff.too_deep = true;
    return diff;
  }
  const std::vector<JsonLeaf> old_leaves = before.empty() ? std::vector<JsonLeaf>() : flatten_json(before);
  const std::vector<JsonLeaf> new_leaves = flatten_json(after);
  const std::vector<LeafKey> old_keys = keys_of(old_leaves);
  const std::vector<LeafKey> new_keys = keys_of(new_leaves);
  LeafKeyMap<std::size_t> old_index;
  old_index.reserve(old_keys.size());
  for (std::size_t i = 0; i < old_keys.size(); ++i) {
    old_index[old_keys[i]] = i;
  }
  std::vector<bool> old_matched(old_leaves.size(), false);
  for (const LeafKey& key : new_keys) {
    if (const auto found = old_index.find(key); found != old_index.end()) {
      old_matched[found->second] = true;
    }
  }

  JsonDiff diff;
  // Removed leaves are listed where they stood, just before the next leaf that is kept.
  std::size_t next_old = 0;
  const auto flush_removed_before = [&](std::size_t limit) {
    for (; next_old < limit; ++next_old) {
      if (!old_matched[next_old]) {
        diff.lines.push_back("- " + shown_path(old_leaves[next_old].path) + ": " + old_leaves[next_old].value);
        ++diff.removed;
      }
    }
  };
  for (std::size_t i = 0; i < new_leaves.size(); ++i) {
    const auto found = old_index.find(new_keys[i]);
    if (found == old_index.end()) {
      diff.lines.push_back("+ " + shown_path(new_leaves[i].path) + ": " + new_leaves[i].value);
      ++diff.added;
      continue;
    }
    const std::size_t j = found->second;
    if (j >= next_old) {
      flush_removed_before(j);
      next_old = j + 1;
    }
    if (old_leaves[j].value != new_leaves[i].value) {
      diff.lines.push_back(
          "~ " + shown_path(new_leaves[i].path) + ": " + old_leaves[j].value + " -> " + new_leaves[i].value +
          (same_number(old_leaves[j].value, new_leaves[i].value) ? " (the same value; only its text differs)" : ""));
      ++diff.changed;
    }
  }
  flush_removed_before(old_leaves.size());
  return diff;
}

}  // namespace tovanel::uvc_stereo::cli
