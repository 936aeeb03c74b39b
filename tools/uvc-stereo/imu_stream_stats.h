#pragma once

#include <cstdint>
#include <string>

#include "uvc-stereo/sample_counter.h"

namespace tovanel::uvc_stereo::cli {

// Running figures of an IMU stream: how many samples, how fast they arrive, how many the
// counter says were missed, and how long each read took.
class ImuStreamStats {
 public:
  // One sample: its raw 20-bit counter, its host timestamp and how long its read took.
  SampleCounterUnwrapper::Step add(std::uint32_t raw_counter, std::uint64_t host_timestamp_ns,
                                   std::uint64_t read_latency_ns) noexcept;

  [[nodiscard]] std::uint64_t samples() const noexcept { return counter_.samples(); }
  [[nodiscard]] std::uint64_t missed() const noexcept { return counter_.missed(); }
  [[nodiscard]] std::uint64_t repeated() const noexcept { return counter_.repeated(); }
  [[nodiscard]] std::uint64_t last_counter() const noexcept { return counter_.last_counter(); }
  // Seconds from the first sample to the last, by host timestamps.
  [[nodiscard]] double span_s() const noexcept;
  // Samples per second between the first and the last sample; 0 until two samples span some time.
  [[nodiscard]] double sample_rate_hz() const noexcept;
  [[nodiscard]] double mean_latency_ms() const noexcept;
  [[nodiscard]] double max_latency_ms() const noexcept { return static_cast<double>(max_latency_ns_) / 1e6; }

  // The live line: "812 samples  201.3 Hz  missed 0  latency 0.05 ms (max 0.21 ms)  counter 4907".
  [[nodiscard]] std::string live_line() const;
  // The closing summary, one line.
  [[nodiscard]] std::string summary() const;

 private:
  SampleCounterUnwrapper counter_;
  std::uint64_t first_timestamp_ns_ = 0;
  std::uint64_t last_timestamp_ns_ = 0;
  std::uint64_t total_latency_ns_ = 0;
  std::uint64_t max_latency_ns_ = 0;
};

}  // namespace tovanel::uvc_stereo::cli
