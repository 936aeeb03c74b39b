#pragma once

#include <cstdint>

namespace tovanel::uvc_stereo::cli {

// The camera numbers its IMU samples with a 20-bit counter that wraps to 0 after 0xFFFFF.
inline constexpr std::uint32_t kSampleCounterModulus = 1u << 20;

// How far the counter moved from `previous` to `current`, across a wrap: 0 when the same
// sample was read again, 1 for the next sample, n > 1 when n - 1 samples were missed.
[[nodiscard]] std::uint32_t sample_counter_step(std::uint32_t previous, std::uint32_t current) noexcept;

// Turns the wrapping 20-bit counter into one that keeps counting, and counts the samples
// that the gaps in the counter say were missed between reads.
class SampleCounterUnwrapper {
 public:
  struct Step {
    std::uint64_t counter = 0;  ///< the unwrapped counter of this sample
    std::uint32_t missed = 0;   ///< samples skipped just before this one
    bool repeated = false;      ///< the same sample as the previous read
  };

  // The next raw counter, in the order the samples were read.
  Step push(std::uint32_t raw_counter) noexcept;

  [[nodiscard]] std::uint64_t samples() const noexcept { return samples_; }
  [[nodiscard]] std::uint64_t missed() const noexcept { return missed_; }
  [[nodiscard]] std::uint64_t repeated() const noexcept { return repeated_; }
  [[nodiscard]] std::uint64_t first_counter() const noexcept { return first_; }
  [[nodiscard]] std::uint64_t last_counter() const noexcept { return unwrapped_; }

 private:
  std::uint64_t samples_ = 0;
  std::uint64_t missed_ = 0;
  std::uint64_t repeated_ = 0;
  std::uint32_t previous_raw_ = 0;
  std::uint64_t first_ = 0;
  std::uint64_t unwrapped_ = 0;
};

}  // namespace tovanel::uvc_stereo::cli
