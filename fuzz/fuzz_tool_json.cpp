#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz_check.h"
#include "fuzz_input.h"
#include "uvc-stereo/json_diff.h"
#include "uvc-stereo/json_text.h"
#include "uvc-stereo/json_writer.h"
#include "uvc_stereo/json.h"

// The tool's own JSON handling (the change list, the flattening into paths, the pretty printer, the
// --json writer) on any pair of documents the SDK accepts: the input is two texts separated by the
// first newline. nlohmann/json serves as the independent reader the results are checked against,
// and only ever sees documents no deeper than the tool shows, as in the tool itself.
namespace {

namespace cli = tovanel::uvc_stereo::cli;
// Members in the order they are written, as the tool lists them.
using Json = nlohmann::ordered_json;
using uvc_stereo_fuzz::escaped;
using uvc_stereo_fuzz::ExactText;

std::string minified_or_empty(std::string_view text) {
  auto minified = tovanel::uvc_stereo::minify_and_validate_json(text);
  return minified.ok() ? minified.value() : std::string();
}

// Finds whether any object repeats a key: the library keeps only the last of them.
class RepeatedKeyFinder : public nlohmann::json_sax<Json> {
 public:
  bool repeated = false;

  bool null() override { return true; }
  bool boolean(bool /*value*/) override { return true; }
  bool number_integer(number_integer_t /*value*/) override { return true; }
  bool number_unsigned(number_unsigned_t /*value*/) override { return true; }
  bool number_float(number_float_t /*value*/, const string_t& /*text*/) override { return true; }
  bool string(string_t& /*value*/) override { return true; }
  bool binary(binary_t& /*value*/) override { return true; }
  bool start_object(std::size_t /*size*/) override {
    keys_.emplace_back();
    return true;
  }
  bool key(string_t& name) override {
    repeated = repeated || !keys_.back().insert(name).second;
    return true;
  }
  bool end_object() override {
    keys_.pop_back();
    return true;
  }
  bool start_array(std::size_t /*size*/) override {
    keys_.emplace_back();
    return true;
  }
  bool end_array() override {
    keys_.pop_back();
    return true;
  }
  bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                   const nlohmann::detail::exception& /*error*/) override {
    return false;
  }

 private:
  std::vector<std::set<std::string>> keys_;
};

// The document as the library reads it, or a discarded value when the tool's results cannot be
// compared with it: nested deeper than shown, not UTF-8 (the SDK keeps any bytes), or a key repeated.
Json library_view(const std::string& document) {
  if (document.empty() || cli::json_depth(document) > cli::kMaxShownDepth) {
    return Json(Json::value_t::discarded);
  }
  RepeatedKeyFinder finder;
  if (!Json::sax_parse(document, &finder) || finder.repeated) {
    return Json(Json::value_t::discarded);
  }
  return Json::parse(document, nullptr, false);
}

// A leaf's path as the library spells it: each step of ours is a key as written in the document
// (escapes and all), which the library decodes before escaping "~" and "/" again.
std::string library_path(const std::string& path) {
  std::string result;
  std::size_t start = 1;
  while (start <= path.size() && !path.empty()) {
    const std::size_t end = std::min(path.find('/', start), path.size());
    std::string spelled = path.substr(start, end - start);
    for (std::size_t i = 0; (i = spelled.find("~1", i)) != std::string::npos;) {
      spelled.replace(i, 2, "/");
    }
    for (std::size_t i = 0; (i = spelled.find("~0", i)) != std::string::npos; ++i) {
      spelled.replace(i, 2, "~");
    }
    const Json key = Json::parse("\"" + spelled + "\"", nullptr, false);
    FUZZ_CHECK(key.is_string(), "a path step is no key as written: " + escaped(path));
    result += (Json::json_pointer() / key.get<std::string>()).to_string();
    start = end + 1;
  }
  return result;
}

// Every leaf the tool lists is a leaf of the library's reading, in the same order, and no other.
void check_leaves(const std::string& document, const Json& library) {
  const std::vector<cli::JsonLeaf> leaves = cli::flatten_json(document);
  const Json expected = library.flatten();
  // The library flattens a document that is a single scalar to one leaf at "".
  FUZZ_CHECK(leaves.size() == expected.size(), "the leaves are not the document's: " + escaped(document));
  auto next = expected.begin();
  for (const cli::JsonLeaf& leaf : leaves) {
    FUZZ_CHECK(library_path(leaf.path) == next.key(),
               "leaf " + escaped(leaf.path) + " misplaced in " + escaped(document));
    // The library flattens an empty container to null; the tool keeps it as it is written.
    const Json value =
        leaf.value == "[]" || leaf.value == "{}" ? Json(nullptr) : Json::parse(leaf.value, nullptr, false);
    FUZZ_CHECK(value == next.value(), "leaf " + escaped(leaf.path) + " has the wrong value in " + escaped(document));
    ++next;
  }
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
  const Json library = library_view(document);
  if (!library.is_discarded()) {
    check_leaves(document, library);
  }
}

// Whatever bytes go into the writer, its output is strict UTF-8 JSON holding the same string
// wherever the bytes were UTF-8 already.
void check_writer(std::string_view bytes) {
  cli::JsonWriter writer;
  writer.begin_object().key(bytes).string(bytes).end_object();
  const Json written = Json::parse(writer.text(), nullptr, false);
  FUZZ_CHECK(written.is_object() && written.size() == 1, "the writer's output is no JSON: " + escaped(writer.text()));
  const Json as_string = Json::parse(cli::json_quote(bytes), nullptr, false);
  FUZZ_CHECK(as_string.is_string(), "a quoted text is no JSON string: " + escaped(std::string(bytes)));
  const Json utf8 = Json::parse("\"" + std::string(bytes) + "\"", nullptr, false);
  if (utf8.is_string() && bytes.find_first_of("\"\\") == std::string_view::npos) {
    FUZZ_CHECK(as_string == utf8 && written.begin().key() == utf8.get<std::string>(),
               "the writer changed UTF-8 text: " + escaped(std::string(bytes)));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const ExactText input(data, size);
  const std::string_view text = input.view();
  const std::size_t split = text.find('\n');
  check_writer(text.substr(0, split));
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
    // Compared as the library does, whatever the order of the members.
    if (!library_view(before).is_discarded() && !library_view(after).is_discarded()) {
      FUZZ_CHECK(!diff.empty() || nlohmann::json::parse(before) == nlohmann::json::parse(after),
                 "no change listed between different documents: " + escaped(before) + " / " + escaped(after));
    }
  }
  return 0;
}
