#include "uvc-stereo/trace_envelope.h"

#include <algorithm>

namespace tovanel::uvc_stereo::cli {

TraceEnvelope::TraceEnvelope(std::size_t channels, std::size_t max_buckets)
    : channels_(channels),
      max_buckets_(std::max<std::size_t>(2, max_buckets + (max_buckets % 2))),
      buckets_(max_buckets_),
      spans_(max_buckets_ * channels) {}

std::size_t TraceEnvelope::memory_bytes() const noexcept {
  return sizeof(*this) + buckets_.capacity() * sizeof(Bucket) + spans_.capacity() * sizeof(Span);
}

void TraceEnvelope::add(double time_s, const double* values, std::uint64_t missed_before) noexcept {
  if (used_ == 0 || buckets_[used_ - 1].count == samples_per_bucket_) {
    if (used_ == max_buckets_) {
      merge_pairs();
    }
    buckets_[used_] = Bucket{time_s, time_s, 0, 0.0, 0};
    ++used_;
  }
  Bucket& bucket = buckets_[used_ - 1];
  Span* spans = &spans_[(used_ - 1) * channels_];
  if (bucket.count == 0) {
    for (std::size_t c = 0; c < channels_; ++c) {
      spans[c] = Span{values[c], values[c], values[c], values[c], true};
    }
  } else {
    for (std::size_t c = 0; c < channels_; ++c) {
      Span& span = spans[c];
      const double value = values[c];
      span.last = value;
      if (value < span.low) {
        span.low = value;
        span.low_first = false;
      } else if (value > span.high) {
        span.high = value;
        span.low_first = true;
      }
    }
  }
  if (missed_before != 0 && bucket.missed == 0) {
    bucket.missed_time = time_s;
  }
  bucket.missed += missed_before;
  bucket.last_time = time_s;
  ++bucket.count;
  ++samples_;
}

void TraceEnvelope::merge_pairs() noexcept {
  for (std::size_t i = 0; i < used_ / 2; ++i) {
    const Bucket& a = buckets_[2 * i];
    const Bucket& b = buckets_[2 * i + 1];
    buckets_[i] = Bucket{a.first_time, b.last_time, a.count + b.count, a.missed != 0 ? a.missed_time : b.missed_time,
                         a.missed + b.missed};
    for (std::size_t c = 0; c < channels_; ++c) {
      const Span& x = spans_[2 * i * channels_ + c];
      const Span& y = spans_[(2 * i + 1) * channels_ + c];
      Span merged;
      merged.first = x.first;
      merged.last = y.last;
      // On a tie the earlier run holds the extreme, as it was seen first.
      const bool low_in_x = !(y.low < x.low);
      const bool high_in_x = !(y.high > x.high);
      merged.low = low_in_x ? x.low : y.low;
      merged.high = high_in_x ? x.high : y.high;
      if (low_in_x == high_in_x) {
        merged.low_first = low_in_x ? x.low_first : y.low_first;
      } else {
        merged.low_first = low_in_x;
      }
      spans_[i * channels_ + c] = merged;
    }
  }
  used_ /= 2;
  samples_per_bucket_ *= 2;
}

TraceEnvelope::Points TraceEnvelope::points() const {
  Points points;
  points.values.resize(channels_);
  const auto push = [&points](double time, std::size_t channel, double value) {
    if (channel == 0) {
      points.time_s.push_back(time);
    }
    points.values[channel].push_back(value);
  };
  for (std::size_t i = 0; i < used_; ++i) {
    const Bucket& bucket = buckets_[i];
    const double span_s = bucket.last_time - bucket.first_time;
    if (bucket.missed != 0) {
      points.missed_s.push_back(bucket.missed_time);
    }
    for (std::size_t c = 0; c < channels_; ++c) {
      const Span& span = spans_[i * channels_ + c];
      push(bucket.first_time, c, span.first);
      if (bucket.count >= 3) {
        // A run is narrower than a pixel column, so where inside it the extremes fall does not show.
        push(bucket.first_time + span_s / 3.0, c, span.low_first ? span.low : span.high);
        push(bucket.first_time + span_s * 2.0 / 3.0, c, span.low_first ? span.high : span.low);
      }
      if (bucket.count >= 2) {
        push(bucket.last_time, c, span.last);
      }
    }
  }
  return points;
}

}  // namespace tovanel::uvc_stereo::cli
