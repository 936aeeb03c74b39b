#include "imu/sample_timeline.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tovanel::uvc_stereo::detail {
namespace {

constexpr std::uint32_t kCounterRange = 1u << 20;
constexpr std::uint32_t kCounterMask = kCounterRange - 1;
// Before the period is known, a counter that moved forward by less than half its range continues the count.
constexpr std::uint64_t kAllowedWithoutPeriod = kCounterRange / 2;
// Room for a period estimate that is still rough, and for the sample taken as the read ended.
constexpr double kPeriodSlack = 1.25;
constexpr std::uint64_t kSampleSlack = 2;
// The output data rates IMUs offer; the clock error is measured against the nearest.
constexpr std::array<double, 16> kUsualRatesHz = {10,  25,  50,  100, 104,  200,  208,  400,
                                                  416, 500, 800, 833, 1000, 1600, 1666, 2000};

}  // namespace

ImuSampleTimeline::ImuSampleTimeline(double nominal_rate_hz) noexcept
    : nominal_rate_hz_(nominal_rate_hz > 0.0 ? nominal_rate_hz : 0.0) {}

double ImuSampleTimeline::rate_hz() const noexcept {
  const double period = fit_.period_ns();
  return period > 0.0 ? 1e9 / period : 0.0;
}

double ImuSampleTimeline::nominal_rate_hz() const noexcept {
  if (nominal_rate_hz_ > 0.0) {
    return nominal_rate_hz_;
  }
  const double measured = rate_hz();
  if (measured <= 0.0) {
    return 0.0;
  }
  double nearest = kUsualRatesHz.front();
  for (const double rate : kUsualRatesHz) {
    if (std::fabs(rate - measured) < std::fabs(nearest - measured)) {
      nearest = rate;
    }
  }
  // Far from every usual rate, the measured rate rounded to whole hertz is the best guess.
  return std::fabs(nearest - measured) <= 0.05 * nearest ? nearest : std::max(1.0, std::round(measured));
}

double ImuSampleTimeline::clock_error_ppm() const noexcept {
  const double nominal = nominal_rate_hz();
  const double measured = rate_hz();
  return nominal > 0.0 && measured > 0.0 ? (measured / nominal - 1.0) * 1e6 : 0.0;
}

std::uint64_t ImuSampleTimeline::samples_allowed(std::uint64_t finished_ns) const noexcept {
  const double period = fit_.period_ns();
  if (period <= 0.0) {
    return kAllowedWithoutPeriod;
  }
  const double elapsed = finished_ns > last_seen_ns_ ? static_cast<double>(finished_ns - last_seen_ns_) : 0.0;
  const double allowed = elapsed / period * kPeriodSlack;
  return allowed >= static_cast<double>(kAllowedWithoutPeriod) ? kAllowedWithoutPeriod
                                                               : static_cast<std::uint64_t>(allowed) + kSampleSlack;
}

bool ImuSampleTimeline::on_read(std::uint32_t counter, std::uint64_t started_ns, std::uint64_t finished_ns,
                                TimelineSample& out) noexcept {
  counter &= kCounterMask;
  if (started_ && counter == last_counter_) {
    // The same sample again: no news for the caller, but one more bracket for the clock.
    ++duplicates_;
    last_seen_ns_ = started_ns;
    fit_.add_read(last_index_ - segment_base_, started_ns, finished_ns);
    return false;
  }

  out = TimelineSample{};
  if (!started_) {
    started_ = true;
    segment_base_ = 0;
    last_index_ = counter;
  } else {
    const std::uint64_t forward = (counter - last_counter_) & kCounterMask;
    if (forward <= samples_allowed(finished_ns)) {
      out.missed_before = forward - 1;
      // Across a wrap too: the index keeps counting where the 20-bit counter starts again.
      last_index_ += forward;
    } else {
      // A new count: the samples before this one in it were missed, those after the last one seen are unknown.
      ++restarts_;
      ++segment_;
      out.restarted = true;
      out.missed_before = counter;
      segment_base_ = last_index_ + 1;
      last_index_ = segment_base_ + counter;
      fit_.start_segment();
    }
  }
  last_counter_ = counter;
  last_seen_ns_ = started_ns;
  missed_ += out.missed_before;
  ++delivered_;

  fit_.add_read(last_index_ - segment_base_, started_ns, finished_ns);
  const SampleTimeEstimate estimate = fit_.estimate(last_index_ - segment_base_);
  // Never backwards, and never closer to the previous sample than half a period, whatever a young fit says.
  const double period = fit_.period_ns();
  const std::uint64_t min_step = period > 2.0 ? static_cast<std::uint64_t>(period / 2.0) : 1;
  std::uint64_t time = estimate.time_ns;
  if (delivered_ > 1 && time < last_time_ns_ + min_step) {
    time = last_time_ns_ + min_step;
  }
  last_time_ns_ = time;

  out.sample_index = last_index_;
  out.segment = segment_;
  out.host_time_ns = time;
  out.uncertainty_ns = estimate.uncertainty_ns == kUnbounded
                           ? kUnbounded
                           : std::max(estimate.uncertainty_ns, time - std::min(time, estimate.time_ns));
  return true;
}

}  // namespace tovanel::uvc_stereo::detail
