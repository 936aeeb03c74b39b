#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace tovanel::uvc_stereo::detail {

// The uncertainty of a time the reads cannot bound yet: the first sample, before the sample period is known.
inline constexpr std::uint64_t kUnbounded = ~std::uint64_t{0};

// When a sample was taken on the host clock, as far as the reads tell.
struct SampleTimeEstimate {
  std::uint64_t time_ns = 0;         ///< best estimate on the host clock
  std::uint64_t uncertainty_ns = 0;  ///< the reads' bounds lie within time_ns plus or minus this; kUnbounded if none
};

// Fits the camera's sample clock to the host's clock from the reads themselves. A read
// that answered sample n between host times a and b brackets a moment at which n was the
// camera's newest sample, so sample n was taken at or before b and sample n + 1 after a.
// Every read, the repeated answers included, adds these two bounds; the fastest reads
// give the tightest. The bounds are kept per bin of consecutive samples (only the
// tightest of each bin), the middle of each bin's bounds is fitted with a weighted line
// over a sliding window of bins, and the line gives each sample's time. All bounds hold
// whatever a read's delay, so stalls loosen nothing; the sliding window follows drift.
// Pure: no clock, no device, nothing allocated after construction.
class SampleClockFit {
 public:
  static constexpr std::size_t kBinSamples = 128;  ///< consecutive samples whose reads share one bin
  static constexpr std::size_t kWindowBins = 64;   ///< bins the line is fitted over

  SampleClockFit() = default;

  // The camera restarted: samples are counted afresh, so the bounds are forgotten; the
  // period of its oscillator is kept.
  void start_segment() noexcept;
  // A read answered sample `n` of the current segment between host times `started_ns` and `finished_ns`.
  void add_read(std::uint64_t n, std::uint64_t started_ns, std::uint64_t finished_ns) noexcept;
  // When sample `n` of the current segment was taken. Needs at least one read in the segment.
  [[nodiscard]] SampleTimeEstimate estimate(std::uint64_t n) const noexcept;
  // The sample period on the host clock in nanoseconds; 0 until two samples were seen.
  [[nodiscard]] double period_ns() const noexcept { return period_ns_; }

 private:
  struct Bin {
    std::uint64_t number = 0;  ///< which bin of the segment (n / kBinSamples)
    bool used = false;
    double upper_n = 0.0;  ///< the sample with the tightest upper bound ...
    double upper_t = 0.0;  ///< ... taken at or before this time
    double lower_n = 0.0;  ///< the sample with the tightest lower bound ...
    double lower_t = 0.0;  ///< ... taken after this time
  };
  struct Line {
    double center_n = 0.0;
    double at_center = 0.0;
    double slope = 0.0;
    double slope_error = 0.0;  ///< standard error of the slope, from the scatter of the bins about the line
    std::size_t bins = 0;
  };

  [[nodiscard]] double reference_slope() const noexcept;
  // How far the slope used may be from the true period, per sample.
  [[nodiscard]] double slope_tolerance(const Line& line) const noexcept;
  // Bounds of bin `bin` moved to its centre along `slope`: the upper and the lower.
  [[nodiscard]] static double centre_of(const Bin& bin) noexcept;
  [[nodiscard]] Line fit(double slope) const noexcept;
  void refresh_period() noexcept;

  std::array<Bin, kWindowBins> bins_{};
  bool have_origin_ = false;
  std::uint64_t origin_ns_ = 0;  ///< host times are kept as offsets from the first read, in double precision
  std::uint64_t newest_bin_ = 0;
  bool segment_has_reads_ = false;
  // The first and the latest sample of the segment with the middle of their reads: the period before a fit.
  double first_n_ = 0.0;
  double first_mid_ = 0.0;
  double latest_n_ = 0.0;
  double latest_mid_ = 0.0;
  double latest_started_ = 0.0;
  double latest_finished_ = 0.0;
  double first_width_ = 0.0;  ///< how long the first read of the segment took
  double period_ns_ = 0.0;
  bool period_from_fit_ = false;
};

}  // namespace tovanel::uvc_stereo::detail
