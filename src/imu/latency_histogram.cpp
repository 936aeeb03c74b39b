#include "imu/latency_histogram.h"

#include <algorithm>
#include <cmath>

namespace tovanel::uvc_stereo::detail {
namespace {

unsigned highest_bit(std::uint64_t value) noexcept {
  unsigned bit = 0;
  while (value >>= 1) {
    ++bit;
  }
  return bit;
}

}  // namespace

// Values below 2^kSubBits have a bucket each; above, each power of two is split into 2^kSubBits equal buckets.
std::size_t LatencyHistogram::bucket_of(std::uint64_t ns) noexcept {
  if (ns < (std::uint64_t{1} << kSubBits)) {
    return static_cast<std::size_t>(ns);
  }
  const unsigned top = highest_bit(ns);
  const std::uint64_t sub = (ns >> (top - kSubBits)) & ((std::uint64_t{1} << kSubBits) - 1);
  return (static_cast<std::size_t>(top - kSubBits + 1) << kSubBits) + static_cast<std::size_t>(sub);
}

std::uint64_t LatencyHistogram::low_end_of(std::size_t bucket) noexcept {
  if (bucket < (std::size_t{1} << kSubBits)) {
    return bucket;
  }
  const unsigned top = static_cast<unsigned>(bucket >> kSubBits) + kSubBits - 1;
  const std::uint64_t sub = bucket & ((std::size_t{1} << kSubBits) - 1);
  return (std::uint64_t{1} << top) | (sub << (top - kSubBits));
}

void LatencyHistogram::record(std::uint64_t ns) noexcept {
  ++buckets_[bucket_of(ns)];
  min_ = count_ == 0 ? ns : std::min(min_, ns);
  max_ = std::max(max_, ns);
  ++count_;
}

std::uint64_t LatencyHistogram::quantile(double q) const noexcept {
  if (count_ == 0) {
    return 0;
  }
  const double clamped = std::clamp(q, 0.0, 1.0);
  // The rank of the wanted value, 1-based, as the nearest-rank definition takes it.
  const auto rank =
      std::max<std::uint64_t>(1, static_cast<std::uint64_t>(std::ceil(clamped * static_cast<double>(count_))));
  // The extremes are known exactly.
  if (rank == count_) {
    return max_;
  }
  if (rank == 1) {
    return min_;
  }
  std::uint64_t seen = 0;
  for (std::size_t bucket = 0; bucket < kBuckets; ++bucket) {
    seen += buckets_[bucket];
    if (seen >= rank) {
      const std::uint64_t low = low_end_of(bucket);
      const std::uint64_t high = bucket + 1 < kBuckets ? low_end_of(bucket + 1) : max_;
      return std::clamp(low + (high - low) / 2, min_, max_);
    }
  }
  return max_;
}

}  // namespace tovanel::uvc_stereo::detail
