#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tovanel::uvc_stereo::cli {

// Helpers over JSON text that the SDK has already validated and minified, so they scan
// tokens without re-validating; on malformed input they stop early but never read out of bounds.
// They work on the tokens as written rather than on a parsed document (nlohmann/json serves the
// tool's own --json output): a configuration may hold numbers that no double or 64-bit integer
// holds exactly, escapes the user chose, bytes that are not UTF-8 and repeated keys, and every one
// of them must be shown, compared and written back exactly as it stands. None of them recurses.

// How deep the tool lays out and compares documents: deeper nesting is still written to the
// camera as it is, but is neither indented further nor listed change by change.
inline constexpr std::size_t kMaxShownDepth = 512;

// The deepest nesting of arrays and objects in the text, found in one pass without recursion.
[[nodiscard]] std::size_t json_depth(std::string_view minified);

// The minified text laid out with two-space indentation, for people to read and edit;
// levels beyond kMaxShownDepth keep the indentation of that level, so the output stays
// linear in the input's size however deep it nests.
[[nodiscard]] std::string pretty_print_json(std::string_view minified);

// One scalar (or empty container) of a document and where it sits, as a JSON Pointer
// built from the keys as they are spelled ("/exposure/max_us", "/intrinsics/0").
struct JsonLeaf {
  std::string path;   ///< "" for a document that is a single scalar
  std::string value;  ///< the minified token, e.g. "8000", "\"auto\"", "[]"
};

[[nodiscard]] std::vector<JsonLeaf> flatten_json(std::string_view minified);

// Line and column (both from 1, columns in bytes) of a byte offset, to point at an error in a file.
struct TextPosition {
  std::size_t line = 1;
  std::size_t column = 1;
};
[[nodiscard]] TextPosition position_of_offset(std::string_view text, std::size_t offset);

// The byte offset at the end of an SDK JSON message ("... at offset 17"), if it has one.
[[nodiscard]] bool offset_in_message(std::string_view message, std::size_t& offset);

}  // namespace tovanel::uvc_stereo::cli
