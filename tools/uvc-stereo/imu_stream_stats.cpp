#include "uvc-stereo/imu_stream_stats.h"

#include <cstdio>

namespace tovanel::uvc_stereo::cli {

SampleCounterUnwrapper::Step ImuStreamStats::add(std::uint32_t raw_counter, std::uint64_t host_timestamp_ns,
                                                 std::uint64_t read_latency_ns) noexcept {
  if (counter_.samples() == 0) {
    first_timestamp_ns_ = host_timestamp_ns;
  }
  last_timestamp_ns_ = host_timestamp_ns;
  total_latency_ns_ += read_latency_ns;
  if (read_latency_ns > max_latency_ns_) {
    max_latency_ns_ = read_latency_ns;
  }
  return counter_.push(raw_counter);
}

double ImuStreamStats::span_s() const noexcept {
  if (last_timestamp_ns_ <= first_timestamp_ns_) {
    return 0.0;
  }
  return static_cast<double>(last_timestamp_ns_ - first_timestamp_ns_) / 1e9;
}

double ImuStreamStats::sample_rate_hz() const noexcept {
  const double span = span_s();
  if (counter_.samples() < 2 || span <= 0.0) {
    return 0.0;
  }
  return static_cast<double>(counter_.samples() - 1) / span;
}

double ImuStreamStats::mean_latency_ms() const noexcept {
  if (counter_.samples() == 0) {
    return 0.0;
  }
  return static_cast<double>(total_latency_ns_) / static_cast<double>(counter_.samples()) / 1e6;
}

std::string ImuStreamStats::live_line() const {
  char line[200];
  std::snprintf(line, sizeof(line), "%llu samples  %.1f Hz  missed %llu  latency %.2f ms (max %.2f ms)  counter %llu",
                static_cast<unsigned long long>(samples()), sample_rate_hz(), static_cast<unsigned long long>(missed()),
                mean_latency_ms(), max_latency_ms(), static_cast<unsigned long long>(last_counter()));
  return line;
}

std::string ImuStreamStats::summary() const {
  char line[300];
  std::snprintf(line, sizeof(line),
                "read %llu samples in %.2f s (%.1f Hz); missed %llu, repeated %llu; read latency mean %.3f ms, "
                "max %.3f ms",
                static_cast<unsigned long long>(samples()), span_s(), sample_rate_hz(),
                static_cast<unsigned long long>(missed()), static_cast<unsigned long long>(repeated()),
                mean_latency_ms(), max_latency_ms());
  return line;
}

}  // namespace tovanel::uvc_stereo::cli
