#include "uvc-stereo/json_diff.h"

#include <map>
#include <utility>

#include "uvc-stereo/json_text.h"

namespace tovanel::uvc_stereo::cli {
namespace {

// A leaf's identity: its path and, for keys that repeat in one object, which repetition.
using LeafKey = std::pair<std::string, std::size_t>;

std::vector<LeafKey> keys_of(const std::vector<JsonLeaf>& leaves) {
  std::map<std::string, std::size_t> seen;
  std::vector<LeafKey> keys;
  keys.reserve(leaves.size());
  for (const JsonLeaf& leaf : leaves) {
    keys.emplace_back(leaf.path, seen[leaf.path]++);
  }
  return keys;
}

std::string shown_path(const std::string& path) { return path.empty() ? "(whole document)" : path; }

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
  std::map<LeafKey, std::size_t> old_index;
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
      diff.lines.push_back("~ " + shown_path(new_leaves[i].path) + ": " + old_leaves[j].value + " -> " +
                           new_leaves[i].value);
      ++diff.changed;
    }
  }
  flush_removed_before(old_leaves.size());
  return diff;
}

}  // namespace tovanel::uvc_stereo::cli
