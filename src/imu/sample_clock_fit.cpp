#include "imu/sample_clock_fit.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tovanel::uvc_stereo::detail {
namespace {

// A bin's bounds are never trusted to be tighter than this when weighting it: two bins
// whose bounds met by chance do not outweigh all the others.
constexpr double kTightestWidthNs = 10000.0;
// The slope of a fitted line is trusted to this share of itself at best (2 ppm): oscillators wander that much
// over a window.
constexpr double kSlopeFloor = 2e-6;
// Standard errors of the slope taken as its tolerance.
constexpr double kSlopeErrors = 3.0;
// Bins a fit needs before its scatter bounds its slope (else the reads' own widths do).
constexpr std::size_t kBinsForFitTolerance = 8;

// Host time `ns` as an offset from `origin_ns`; the host clock may be read before the origin was.
double offset_of(std::uint64_t ns, std::uint64_t origin_ns) noexcept {
  return ns >= origin_ns ? static_cast<double>(ns - origin_ns) : -static_cast<double>(origin_ns - ns);
}

std::uint64_t host_time_of(double offset, std::uint64_t origin_ns) noexcept {
  const double rounded = std::round(offset);
  if (rounded >= 0.0) {
    return origin_ns + static_cast<std::uint64_t>(rounded);
  }
  const auto before = static_cast<std::uint64_t>(-rounded);
  return before >= origin_ns ? 0 : origin_ns - before;
}

// The middle of a read, in whole nanoseconds rounded down as a read stamps its sample: a sample that only its own
// read places in time then gets the very stamp of that read, not one a nanosecond after it.
double middle_of(double started, double finished) noexcept { return started + std::floor((finished - started) / 2.0); }

std::uint64_t nanoseconds_of(double value) noexcept {
  return value <= 0.0 ? 0 : static_cast<std::uint64_t>(std::llround(value));
}

}  // namespace

void SampleClockFit::start_segment() noexcept {
  for (Bin& bin : bins_) {
    bin.used = false;
  }
  newest_bin_ = 0;
  segment_has_reads_ = false;
}

double SampleClockFit::reference_slope() const noexcept { return period_ns_ > 0.0 ? period_ns_ : 0.0; }

double SampleClockFit::centre_of(const Bin& bin) noexcept { return (bin.upper_n + bin.lower_n) / 2.0; }

void SampleClockFit::add_read(std::uint64_t n, std::uint64_t started_ns, std::uint64_t finished_ns) noexcept {
  if (!have_origin_) {
    origin_ns_ = started_ns;
    have_origin_ = true;
  }
  const double started = offset_of(started_ns, origin_ns_);
  const double finished = offset_of(std::max(started_ns, finished_ns), origin_ns_);
  const auto sample = static_cast<double>(n);
  const double slope = reference_slope();

  const std::uint64_t number = n / kBinSamples;
  Bin& bin = bins_[number % kWindowBins];
  const bool new_bin = !bin.used || bin.number != number;
  if (new_bin) {
    bin = Bin{number, true, sample, finished, sample + 1.0, started};
  } else {
    // Sample n was taken at or before `finished`; sample n + 1 after `started`. Keep the tightest of each.
    if (finished - slope * sample < bin.upper_t - slope * bin.upper_n) {
      bin.upper_n = sample;
      bin.upper_t = finished;
    }
    if (started - slope * (sample + 1.0) > bin.lower_t - slope * bin.lower_n) {
      bin.lower_n = sample + 1.0;
      bin.lower_t = started;
    }
  }

  const double middle = middle_of(started, finished);
  if (!segment_has_reads_) {
    segment_has_reads_ = true;
    first_n_ = sample;
    first_mid_ = middle;
    first_width_ = finished - started;
    newest_bin_ = number;
  }
  latest_n_ = sample;
  latest_mid_ = middle;
  latest_started_ = started;
  latest_finished_ = finished;
  const bool bin_completed = number > newest_bin_;
  newest_bin_ = std::max(newest_bin_, number);
  if (bin_completed || !period_from_fit_) {
    refresh_period();
  }
}

void SampleClockFit::refresh_period() noexcept {
  if (period_from_fit_ || period_ns_ > 0.0) {
    // The line through two or more bins tells the period far better than any pair of reads.
    const Line line = fit(reference_slope());
    if (line.bins >= 3 && line.slope > 0.0) {
      period_ns_ = line.slope;
      period_from_fit_ = true;
      return;
    }
  }
  if (!period_from_fit_ && latest_n_ > first_n_ && latest_mid_ > first_mid_) {
    period_ns_ = (latest_mid_ - first_mid_) / (latest_n_ - first_n_);
  }
}

SampleClockFit::Line SampleClockFit::fit(double slope) const noexcept {
  // Each bin of the window as one point: the middle of its bounds carried to its centre along `slope`, weighted by
  // how tight those bounds are.
  struct Point {
    double n;
    double t;
    double weight;
  };
  std::array<Point, kWindowBins> points{};
  std::size_t count = 0;
  for (const Bin& bin : bins_) {
    if (!bin.used || bin.number + kWindowBins <= newest_bin_) {
      continue;
    }
    const double centre = centre_of(bin);
    const double upper = bin.upper_t + slope * (centre - bin.upper_n);
    const double lower = bin.lower_t + slope * (centre - bin.lower_n);
    const double width = std::max(std::fabs(upper - lower), kTightestWidthNs);
    points[count++] = Point{centre, (upper + lower) / 2.0, 1.0 / (width * width)};
  }
  Line line;
  line.bins = count;
  line.slope = slope;
  if (count == 0) {
    return line;
  }
  // Weighted means first, then the spread about them, so that long offsets lose no precision.
  double weight_sum = 0.0;
  double n_sum = 0.0;
  double t_sum = 0.0;
  for (std::size_t i = 0; i < count; ++i) {
    weight_sum += points[i].weight;
    n_sum += points[i].weight * points[i].n;
    t_sum += points[i].weight * points[i].t;
  }
  line.center_n = n_sum / weight_sum;
  line.at_center = t_sum / weight_sum;
  if (count < 2) {
    return line;
  }
  double nn = 0.0;
  double nt = 0.0;
  for (std::size_t i = 0; i < count; ++i) {
    const double dn = points[i].n - line.center_n;
    nn += points[i].weight * dn * dn;
    nt += points[i].weight * dn * (points[i].t - line.at_center);
  }
  if (nn <= 0.0) {
    return line;
  }
  line.slope = nt / nn;
  if (count > 2) {
    double residuals = 0.0;
    for (std::size_t i = 0; i < count; ++i) {
      const double r = points[i].t - (line.at_center + line.slope * (points[i].n - line.center_n));
      residuals += points[i].weight * r * r;
    }
    line.slope_error = std::sqrt(residuals / static_cast<double>(count - 2) / nn);
  }
  return line;
}

double SampleClockFit::slope_tolerance(const Line& line) const noexcept {
  // The fit's own scatter says how far its slope may be off only once it rests on enough bins: with two or three
  // degrees of freedom the scatter itself is a guess, and a bound built on it is too tight.
  if (!period_from_fit_ || line.bins < kBinsForFitTolerance) {
    // A period from two reads alone is as rough as those reads are long.
    const double span = latest_n_ - first_n_;
    return span > 0.0 ? (first_width_ + (latest_finished_ - latest_started_)) / span : line.slope;
  }
  return kSlopeFloor * line.slope + kSlopeErrors * line.slope_error;
}

SampleTimeEstimate SampleClockFit::estimate(std::uint64_t n) const noexcept {
  const double slope = reference_slope();
  if (slope <= 0.0 || !segment_has_reads_) {
    // One sample seen so far: it was newest somewhere inside its read, but it may have been taken any time in the
    // period before, which no read has told yet.
    return SampleTimeEstimate{host_time_of(latest_mid_, origin_ns_), kUnbounded};
  }
  const Line line = fit(slope);
  const auto sample = static_cast<double>(n);
  const double time = line.at_center + line.slope * (sample - line.center_n);
  // The tightest bounds of the window carried to this sample along the line, loosened by how far the line's slope
  // may be off over the distance carried.
  const double tolerance = slope_tolerance(line);
  double upper = time;
  double lower = time;
  bool first = true;
  for (const Bin& bin : bins_) {
    if (!bin.used || bin.number + kWindowBins <= newest_bin_) {
      continue;
    }
    const double u = bin.upper_t + line.slope * (sample - bin.upper_n) + tolerance * std::fabs(sample - bin.upper_n);
    const double l = bin.lower_t + line.slope * (sample - bin.lower_n) - tolerance * std::fabs(sample - bin.lower_n);
    upper = first ? u : std::min(upper, u);
    lower = first ? l : std::max(lower, l);
    first = false;
  }
  const double spread = std::max({upper - time, time - lower, 0.0});
  return SampleTimeEstimate{host_time_of(time, origin_ns_), nanoseconds_of(spread)};
}

}  // namespace tovanel::uvc_stereo::detail
