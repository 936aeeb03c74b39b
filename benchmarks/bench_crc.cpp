// The SDK's checksums through their public functions and through each kernel this processor can run.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "bench_documents.h"
#include "core/cpu_features.h"
#include "core/crc32_kernels.h"
#include "uvc_stereo/checksum.h"

namespace {

namespace sdk = tovanel::uvc_stereo;
namespace bench = tovanel::uvc_stereo::bench;

void Crc32Ieee(benchmark::State& state) {
  const std::vector<std::uint8_t> data = bench::random_payload(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(sdk::crc32_ieee(data));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}

void Crc32c(benchmark::State& state) {
  const std::vector<std::uint8_t> data = bench::random_payload(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(sdk::detail::crc32c(data.data(), data.size()));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}

void CrcKernel(benchmark::State& state, const sdk::detail::CrcKernelInfo* kernel) {
  const std::vector<std::uint8_t> data = bench::random_payload(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(kernel->run(0, data.data(), data.size()));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}

void sizes(benchmark::internal::Benchmark* b) {
  for (const std::size_t size : bench::comparison_sizes()) {
    b->Arg(static_cast<std::int64_t>(size));
  }
}

BENCHMARK(Crc32Ieee)->Apply(sizes);
BENCHMARK(Crc32c)->Apply(sizes);

// Kernels the processor cannot run are not registered: they cannot be measured here.
const bool kRegistered = [] {
  const sdk::detail::CrcKernelList kernels = sdk::detail::crc_kernels();
  for (const sdk::detail::CrcKernelInfo* k = kernels.begin; k != kernels.end; ++k) {
    if (!k->supported(sdk::detail::cpu_features())) {
      continue;
    }
    const std::string name =
        std::string("CrcKernel/") + k->name + (k->polynomial == sdk::detail::CrcPolynomial::Ieee ? "/ieee" : "/crc32c");
    benchmark::RegisterBenchmark(name.c_str(), CrcKernel, k)->Apply(sizes);
  }
  return true;
}();

}  // namespace
