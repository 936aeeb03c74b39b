#pragma once

#include <benchmark/benchmark.h>

#include <string>

namespace tovanel::uvc_stereo::bench {

// Skips the benchmark when its set-up failed (`failure` says why; empty when it did not). True when skipped.
inline bool skipped_for(benchmark::State& state, const std::string& failure) {
  if (failure.empty()) {
    return false;
  }
  state.SkipWithError(failure.c_str());
  return true;
}

// Reports `total` (allocations, system calls) spread over the benchmark's iterations as the counter `name`.
inline void report_per_iteration(benchmark::State& state, const char* name, long total) {
  state.counters[name] = benchmark::Counter(static_cast<double>(total) / static_cast<double>(state.iterations()));
}

}  // namespace tovanel::uvc_stereo::bench
