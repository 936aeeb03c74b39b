// The JSON minifier through its public function and through each form this processor can run, on the
// pretty-printed configuration the flash record holds, on the same text already minified, and on configurations
// whose notes are UTF-8-heavy or escape-heavy.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "bench_documents.h"
#include "core/cpu_features.h"
#include "flash/json_minifier_variants.h"
#include "uvc_stereo/json.h"

namespace {

namespace sdk = tovanel::uvc_stereo;
namespace bench = tovanel::uvc_stereo::bench;

void run(benchmark::State& state, const sdk::detail::JsonMinifierVariant* variant, const std::string& text) {
  if (!sdk::detail::minify_and_validate_json_with(*variant, text).ok()) {
    state.SkipWithError("document refused");
    return;
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(sdk::detail::minify_and_validate_json_with(*variant, text).value().size());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

void MinifyPretty(benchmark::State& state) {
  const std::string text = bench::configuration_document(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(sdk::minify_and_validate_json(text).value().size());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

void sizes(benchmark::internal::Benchmark* b) {
  for (const std::size_t size : bench::comparison_sizes()) {
    b->Arg(static_cast<std::int64_t>(size));
  }
}

BENCHMARK(MinifyPretty)->Apply(sizes);

const bool kRegistered = [] {
  const sdk::detail::JsonMinifierVariantList variants = sdk::detail::json_minifier_variants();
  for (const sdk::detail::JsonMinifierVariant* v = variants.begin; v != variants.end; ++v) {
    if (!v->supported(sdk::detail::cpu_features())) {
      continue;
    }
    const std::pair<const char*, std::string (*)(std::size_t)> kinds[] = {
        {"pretty", bench::configuration_document},
        {"dense", bench::minified_configuration_document},
        {"utf8", bench::utf8_heavy_document},
        {"escapes", bench::escape_heavy_document},
    };
    for (const std::size_t size : bench::comparison_sizes()) {
      for (const auto& [kind, make] : kinds) {
        const std::string name = std::string("MinifyVariant/") + v->name + "/" + kind + "/" + std::to_string(size);
        const std::string text = make(size);
        benchmark::RegisterBenchmark(name.c_str(), [v, text](benchmark::State& state) { run(state, v, text); });
      }
    }
  }
  return true;
}();

}  // namespace
