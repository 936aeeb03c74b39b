#include <atomic>
#include <cstddef>
#include <exception>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

#include "core/cpu_features.h"
#include "flash/json_minifier_variants.h"
#include "uvc_stereo/json.h"

namespace tovanel::uvc_stereo {
namespace detail {
namespace {

bool any_processor(const CpuFeatures&) noexcept { return true; }

#if UVC_STEREO_X86_64
bool has_avx2(const CpuFeatures& cpu) noexcept { return cpu.avx2 && cpu.bmi1 && cpu.popcnt && cpu.pclmul; }
bool has_avx512(const CpuFeatures& cpu) noexcept {
  return has_avx2(cpu) && cpu.avx512f && cpu.avx512bw && cpu.avx512vl && cpu.avx512vbmi2;
}
#endif

constexpr JsonMinifierVariant kVariants[] = {
    {"scalar", nullptr, any_processor},
#if UVC_STEREO_X86_64
    {"sse2", minify_json_sse2, any_processor},
    {"avx2", minify_json_avx2, has_avx2},
    {"avx512", minify_json_avx512, has_avx512},
    // Two stages: the masks, escapes and output of every block first, then the grammar over the list of tokens
    // they give. Faster than the one-pass form above on every kind of text of a few kilobytes and more, and most on
    // text in other languages and on escapes, where the one-pass form's branches follow the text. The benchmark
    // comparison times every form (--forms).
    {"avx512_indexed", minify_json_avx512_indexed, has_avx512},
#endif
};

const JsonMinifierVariant& choose() noexcept {
  const JsonMinifierVariant* chosen = &kVariants[0];
  for (const JsonMinifierVariant& variant : kVariants) {
    if (variant.supported(cpu_features())) {
      chosen = &variant;
    }
  }
  return *chosen;
}

// Chosen while the library loads; a call from another library's static initialiser before that chooses for itself.
std::atomic<const JsonMinifierVariant*> g_active{&choose()};

// The form a test or benchmark put in use; null while the processor's choice applies.
std::atomic<const JsonMinifierVariant*> g_chosen{nullptr};

}  // namespace

void append_json_output(std::string& out, const char* bytes, std::size_t count) { out.append(bytes, count); }

JsonMinifierVariantList json_minifier_variants() noexcept {
  return JsonMinifierVariantList{std::begin(kVariants), std::end(kVariants)};
}

const JsonMinifierVariant& active_json_minifier_variant() noexcept {
  if (const JsonMinifierVariant* chosen = g_chosen.load(std::memory_order_acquire); chosen != nullptr) {
    return *chosen;
  }
  const JsonMinifierVariant* active = g_active.load(std::memory_order_relaxed);
  return active != nullptr ? *active : choose();
}

void choose_json_minifier_variant(const JsonMinifierVariant* variant) noexcept {
  g_chosen.store(variant, std::memory_order_release);
}

Result<std::string> minify_and_validate_json_with(const JsonMinifierVariant& variant, std::string_view json) {
  if (variant.fast_path == nullptr || json.empty()) {
    return minify_and_validate_json_scalar(json);
  }
  try {
    std::string out;
    out.reserve(json.size());
    if (variant.fast_path(json.data(), json.size(), out)) {
      return Result<std::string>(std::move(out));
    }
  } catch (const std::exception& e) {
    // Only memory exhaustion can get here, as in the scalar scanner.
    return Status(ErrorCode::InternalError, e.what());
  }
  // Ill-formed, or beyond what the fast path tracks: the scalar scanner gives the verdict and the offset.
  return minify_and_validate_json_scalar(json);
}

}  // namespace detail

Result<std::string> minify_and_validate_json(std::string_view json) {
  return detail::minify_and_validate_json_with(detail::active_json_minifier_variant(), json);
}

}  // namespace tovanel::uvc_stereo
