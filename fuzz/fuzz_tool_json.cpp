#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz_check.h"
#include "fuzz_input.h"
#include "uvc-stereo/json_diff.h"
#include "uvc-stereo/json_text.h"
#include "uvc_stereo/json.h"

// The tool's own JSON handling (the change list, the flattening into paths, the pretty printer)
// on any pair of documents the SDK accepts: the input is two texts separated by the first newline.
namespace {

namespace cli = tovanel::uvc_stereo::cli;
using uvc_stereo_fuzz::escaped;
using uvc_stereo_fuzz::ExactText;

std::string minified_or_empty(std::string_view text) {
  auto minified = tovanel::uvc_stereo::minify_and_validate_json(text);
  return minified.ok() ? minified.value() : std::string();
}

void check_document(const std::string& document) {
  const std::string pretty = cli::pretty_print_json(document);
  FUZZ_CHECK(minified_or_empty(pretty) == document, "pretty printing changed " + escaped(document));
  FUZZ_CHECK(cli::json_depth(pretty) == cli::json_depth(document), "pretty printing changed the depth");
  const cli::JsonDiff same = cli::diff_json(document, document);
  FUZZ_CHECK(same.lines.empty(), "a document differs from itself: " + escaped(document));
  const cli::JsonDiff fresh = cli::diff_json("", document);
  const bool deep = cli::json_depth(document) > cli::kMaxShownDepth;
  FUZZ_CHECK(fresh.too_deep == deep, "the depth bound was not applied to " + escaped(document));
  if (!deep) {
    FUZZ_CHECK(fresh.added == cli::flatten_json(document).size() && fresh.lines.size() == fresh.added,
               "a first record does not list every leaf as added: " + escaped(document));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const ExactText input(data, size);
  const std::string_view text = input.view();
  const std::size_t split = text.find('\n');
  const std::string before = minified_or_empty(text.substr(0, split));
  const std::string after = split == std::string_view::npos ? std::string() : minified_or_empty(text.substr(split + 1));
  for (const std::string* document : {&before, &after}) {
    if (!document->empty()) {
      check_document(*document);
    }
  }
  if (!after.empty()) {
    const cli::JsonDiff diff = cli::diff_json(before, after);
    FUZZ_CHECK(diff.lines.size() == diff.changed + diff.added + diff.removed,
               "the counts do not match the listed changes");
  }
  return 0;
}
