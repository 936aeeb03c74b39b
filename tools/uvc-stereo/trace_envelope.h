#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tovanel::uvc_stereo::cli {

// The traces of a stream of any length, kept in a fixed amount of memory for plotting. Samples
// are gathered into at most `max_buckets` runs of consecutive samples; each run keeps its
// first and last time and, per channel, its first, lowest, highest and last value, so spikes
// survive however long the stream. When every run is in use, neighbouring runs are merged in
// pairs and each run from then on takes twice as many samples. A stream shorter than
// `max_buckets` samples is kept exactly. Where samples were missed is kept too, one mark per
// run at most, at the first sample after a gap.
class TraceEnvelope {
 public:
  // `channels` values per sample; `max_buckets` is rounded up to an even number of at least 2.
  TraceEnvelope(std::size_t channels, std::size_t max_buckets);

  // One sample: its time, `channels()` values, and how many samples were missed just before it.
  void add(double time_s, const double* values, std::uint64_t missed_before = 0) noexcept;

  [[nodiscard]] std::size_t channels() const noexcept { return channels_; }
  [[nodiscard]] std::uint64_t samples() const noexcept { return samples_; }
  // Samples each run takes now: 1 until the runs first fill, then doubling.
  [[nodiscard]] std::uint64_t samples_per_bucket() const noexcept { return samples_per_bucket_; }
  // Everything the envelope holds, in bytes; fixed when it is made, whatever is added.
  [[nodiscard]] std::size_t memory_bytes() const noexcept;

  // The points to draw, in time order: one time axis shared by every channel, with a run's
  // lowest and highest value placed between its first and last in the order they came.
  struct Points {
    std::vector<double> time_s;
    std::vector<std::vector<double>> values;  ///< one vector per channel, as long as time_s
    std::vector<double> missed_s;             ///< where samples were missed, in time order
  };
  [[nodiscard]] Points points() const;

 private:
  struct Bucket {
    double first_time = 0.0;
    double last_time = 0.0;
    std::uint64_t count = 0;
    double missed_time = 0.0;  ///< the first sample of the run with samples missed before it
    std::uint64_t missed = 0;  ///< samples missed within the run
  };
  struct Span {
    double first = 0.0;
    double last = 0.0;
    double low = 0.0;
    double high = 0.0;
    bool low_first = true;  ///< the lowest value came before the highest
  };

  void merge_pairs() noexcept;

  std::size_t channels_;
  std::size_t max_buckets_;
  std::vector<Bucket> buckets_;  ///< sized once; the first `used_` are in use
  std::vector<Span> spans_;      ///< `channels_` per bucket
  std::size_t used_ = 0;
  std::uint64_t samples_ = 0;
  std::uint64_t samples_per_bucket_ = 1;
};

}  // namespace tovanel::uvc_stereo::cli
