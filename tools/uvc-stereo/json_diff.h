#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tovanel::uvc_stereo::cli {

// What writing a new configuration would change, leaf by leaf:
//   "~ /exposure/mode: \"auto\" -> \"manual\""   a value that changes
//   "+ /exposure/gain: 2"                       a value that appears
//   "- /exposure/max_us: 8000"                  a value that disappears
// Both texts are minified JSON; an empty `before` (no record yet) makes every leaf an addition.
struct JsonDiff {
  std::vector<std::string> lines;
  std::size_t changed = 0;
  std::size_t added = 0;
  std::size_t removed = 0;
  // True when a document nests deeper than kMaxShownDepth: the changes are then not listed.
  bool too_deep = false;

  [[nodiscard]] bool empty() const noexcept { return !too_deep && changed == 0 && added == 0 && removed == 0; }
  // "no change", or e.g. "1 changed, 2 added, 0 removed".
  [[nodiscard]] std::string summary() const;
};

[[nodiscard]] JsonDiff diff_json(std::string_view before, std::string_view after);

}  // namespace tovanel::uvc_stereo::cli
