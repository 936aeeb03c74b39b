#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/cpu_features.h"
#include "flash/json_minifier_variants.h"
#include "fuzz_check.h"
#include "fuzz_input.h"
#include "support/reference_json_minifier.h"
#include "uvc_stereo/json.h"

namespace {

namespace sdk = tovanel::uvc_stereo;
using tovanel::uvc_stereo::test_support::ReferenceJsonMinifier;
using uvc_stereo_fuzz::escaped;

bool is_json_whitespace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// True when no whitespace byte lies outside a string; strings are followed through their escapes so that an
// escaped quote does not end one.
bool whitespace_only_inside_strings(std::string_view text) {
  bool in_string = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (in_string) {
      if (c == '\\') {
        ++i;
      } else if (c == '"') {
        in_string = false;
      }
    } else if (c == '"') {
      in_string = true;
    } else if (is_json_whitespace(c)) {
      return false;
    }
  }
  return true;
}

// Splits "<what> at offset <n>" into its outcome and offset; the number must be plain decimal without padding.
bool parse_failure_message(const std::string& message, ReferenceJsonMinifier::Outcome& outcome, std::size_t& offset) {
  static constexpr std::string_view kInvalid = "invalid JSON value at offset ";
  static constexpr std::string_view kTrailing = "unexpected trailing characters at offset ";
  std::string_view rest(message);
  if (rest.substr(0, kInvalid.size()) == kInvalid) {
    outcome = ReferenceJsonMinifier::Outcome::InvalidValue;
    rest.remove_prefix(kInvalid.size());
  } else if (rest.substr(0, kTrailing.size()) == kTrailing) {
    outcome = ReferenceJsonMinifier::Outcome::TrailingCharacters;
    rest.remove_prefix(kTrailing.size());
  } else {
    return false;
  }
  if (rest.empty() || rest.size() > 20 || (rest.size() > 1 && rest[0] == '0')) {
    return false;
  }
  offset = 0;
  for (const char c : rest) {
    if (c < '0' || c > '9') {
      return false;
    }
    offset = offset * 10 + static_cast<std::size_t>(c - '0');
  }
  return true;
}

// Every form of the minifier this processor runs (the scalar scanner and each vector fast path) must answer
// exactly as the one in use does: same verdict, same code and message, same output.
void check_variants_agree(std::string_view text, const sdk::Result<std::string>& active) {
  const auto variants = sdk::detail::json_minifier_variants();
  for (const auto* variant = variants.begin; variant != variants.end; ++variant) {
    if (!variant->supported(sdk::detail::cpu_features())) {
      continue;
    }
    const auto result = sdk::detail::minify_and_validate_json_with(*variant, text);
    FUZZ_CHECK(result.ok() == active.ok() && result.status().code() == active.status().code() &&
                   result.status().message() == active.status().message() &&
                   (!result.ok() || result.value() == active.value()),
               std::string("the ") + variant->name + " minifier answers '" + result.status().message() + "' / '" +
                   escaped(result.ok() ? result.value() : std::string()) + "' where the active one answers '" +
                   active.status().message() + "' for " + escaped(std::string(text)));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const uvc_stereo_fuzz::ExactText input(data, size);
  const std::string_view text = input.view();
  // Built only when a property fails, so the escaping costs nothing on the fuzzing path.
  const auto shown = [&text] { return escaped(std::string(text)); };

  const auto result = sdk::minify_and_validate_json(text);
  const auto reference = ReferenceJsonMinifier::minify(text);
  check_variants_agree(text, result);
  // The same text moved to another position in the vector forms' 64-byte blocks, so that each of its escapes and
  // multi-byte characters also meets the block boundaries somewhere else. Leading whitespace changes neither the
  // verdict nor the output, and moves an error offset by its length.
  if (!text.empty()) {
    const std::size_t shift = 1 + static_cast<unsigned char>(text[0]) % 63;
    const uvc_stereo_fuzz::ExactText shifted_input(std::string(shift, ' ') + std::string(text));
    const std::string_view shifted = shifted_input.view();
    const auto moved = sdk::minify_and_validate_json(shifted);
    check_variants_agree(shifted, moved);
    bool same = moved.ok() == result.ok();
    if (same && result.ok()) {
      same = moved.value() == result.value();
    } else if (same) {
      ReferenceJsonMinifier::Outcome outcome = ReferenceJsonMinifier::Outcome::Empty;
      ReferenceJsonMinifier::Outcome moved_outcome = ReferenceJsonMinifier::Outcome::Empty;
      std::size_t offset = 0;
      std::size_t moved_offset = 0;
      same = parse_failure_message(result.status().message(), outcome, offset) &&
             parse_failure_message(moved.status().message(), moved_outcome, moved_offset) && moved_outcome == outcome &&
             moved_offset == offset + shift;
    }
    FUZZ_CHECK(same, "after " + std::to_string(shift) + " spaces the answer is '" + moved.status().message() +
                         "' instead of '" + result.status().message() + "' for " + shown());
  }

  if (result.ok()) {
    const std::string& output = result.value();
    FUZZ_CHECK(result.status().message().empty(), "success carries a message for input " + shown());
    FUZZ_CHECK(output.size() <= text.size(), "output longer than input for " + shown());
    FUZZ_CHECK(whitespace_only_inside_strings(output), "whitespace outside strings in " + escaped(output));
    const auto again = sdk::minify_and_validate_json(output);
    FUZZ_CHECK(again.ok() && again.value() == output, "minifying the output changes it: " + escaped(output));
    if (reference.outcome != ReferenceJsonMinifier::Outcome::TooDeep) {
      FUZZ_CHECK(reference.outcome == ReferenceJsonMinifier::Outcome::Minified,
                 "accepted, but the reference refuses at offset " + std::to_string(reference.offset) + ": " + shown());
      FUZZ_CHECK(reference.output == output,
                 "outputs differ: sdk " + escaped(output) + " reference " + escaped(reference.output));
    }
    return 0;
  }

  const auto& status = result.status();
  FUZZ_CHECK(status.code() == sdk::ErrorCode::InvalidJson, "failure with code " +
                                                               std::to_string(static_cast<int>(status.code())) + " (" +
                                                               status.message() + ") for " + shown());
  if (text.empty()) {
    FUZZ_CHECK(status.message() == "json text is empty", "empty input gives " + status.message());
    FUZZ_CHECK(reference.outcome == ReferenceJsonMinifier::Outcome::Empty, "reference disagrees on empty input");
    return 0;
  }
  ReferenceJsonMinifier::Outcome outcome = ReferenceJsonMinifier::Outcome::Empty;
  std::size_t offset = 0;
  FUZZ_CHECK(parse_failure_message(status.message(), outcome, offset),
             "unexpected message '" + status.message() + "' for " + shown());
  FUZZ_CHECK(offset <= text.size(),
             status.message() + " lies beyond the " + std::to_string(text.size()) + "-byte input " + shown());
  if (reference.outcome != ReferenceJsonMinifier::Outcome::TooDeep) {
    FUZZ_CHECK(reference.outcome == outcome && reference.offset == offset,
               "sdk says '" + status.message() + "', reference outcome " +
                   std::to_string(static_cast<int>(reference.outcome)) + " at offset " +
                   std::to_string(reference.offset) + " for " + shown());
  }
  return 0;
}
