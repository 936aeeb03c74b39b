#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "core/cpu_features.h"
#include "uvc_stereo/json.h"
#include "uvc_stereo/result.h"

// The forms of minify_and_validate_json. The scalar scanner is the reference and the last word; a vectorised
// variant is a fast path that either vouches for a document (and then its output is exactly the scalar one) or
// hands it back, in which case the scalar scanner decides, so every variant gives identical results on every input.
namespace tovanel::uvc_stereo::detail {

[[nodiscard]] Result<std::string> minify_and_validate_json_scalar(std::string_view json);

// Where a vectorised variant writes the minified text, in order, a piece at a time.
void append_json_output(std::string& out, const char* bytes, std::size_t count);

// True when `json` (non-empty) is well-formed, with its minified text appended to `out`; false when the variant
// cannot vouch for it (ill-formed, or nested deeper than it tracks), with `out` left in any state.
using JsonFastPath = bool (*)(const char* json, std::size_t length, std::string& out);

struct JsonMinifierVariant {
  const char* name;
  JsonFastPath fast_path;  // null for the scalar reference itself
  bool (*supported)(const CpuFeatures& cpu) noexcept;
};

struct JsonMinifierVariantList {
  const JsonMinifierVariant* begin;
  const JsonMinifierVariant* end;
};

// Every form in this build, the scalar reference first. The one in use is the form chosen by
// choose_json_minifier_variant when one is, else the last one this processor supports.
[[nodiscard]] JsonMinifierVariantList json_minifier_variants() noexcept;
[[nodiscard]] const JsonMinifierVariant& active_json_minifier_variant() noexcept;

// Puts `variant` in use in place of the processor's choice; null gives the choice back. The platform table's
// json_minifier entry is handed on here whenever the table changes, so this layer never reads the table itself.
void choose_json_minifier_variant(const JsonMinifierVariant* variant) noexcept;

// minify_and_validate_json with a chosen form.
[[nodiscard]] Result<std::string> minify_and_validate_json_with(const JsonMinifierVariant& variant,
                                                                std::string_view json);

#if UVC_STEREO_X86_64
[[nodiscard]] bool minify_json_sse2(const char* json, std::size_t length, std::string& out);
[[nodiscard]] bool minify_json_avx2(const char* json, std::size_t length, std::string& out);
[[nodiscard]] bool minify_json_avx512(const char* json, std::size_t length, std::string& out);
[[nodiscard]] bool minify_json_avx512_indexed(const char* json, std::size_t length, std::string& out);
#endif

}  // namespace tovanel::uvc_stereo::detail
