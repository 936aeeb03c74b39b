#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace tovanel::uvc_stereo::detail {

// Durations in nanoseconds, counted in buckets about 3% wide (32 per power of two), so that the median and the
// 99th percentile of any number of reads come from a fixed 15 KiB, exact to within a bucket; the least and the
// greatest are kept exactly. Pure; allocates nothing.
class LatencyHistogram {
 public:
  void record(std::uint64_t ns) noexcept;
  [[nodiscard]] std::uint64_t count() const noexcept { return count_; }
  [[nodiscard]] std::uint64_t min() const noexcept { return count_ == 0 ? 0 : min_; }
  [[nodiscard]] std::uint64_t max() const noexcept { return max_; }
  // The duration below which the share `q` (0 to 1) of the recorded ones lie: the middle of its bucket, held
  // within [min, max] (the extremes themselves for the first and the last rank). 0 when nothing was recorded.
  [[nodiscard]] std::uint64_t quantile(double q) const noexcept;

 private:
  static constexpr unsigned kSubBits = 5;
  static constexpr std::size_t kBuckets = (64 - kSubBits + 1) << kSubBits;

  [[nodiscard]] static std::size_t bucket_of(std::uint64_t ns) noexcept;
  [[nodiscard]] static std::uint64_t low_end_of(std::size_t bucket) noexcept;

  std::array<std::uint64_t, kBuckets> buckets_{};
  std::uint64_t count_ = 0;
  std::uint64_t min_ = 0;
  std::uint64_t max_ = 0;
};

}  // namespace tovanel::uvc_stereo::detail
