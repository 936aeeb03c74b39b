#pragma once

#include <cstdint>

#include "imu/sample_clock_fit.h"

namespace tovanel::uvc_stereo::detail {

// Where a new sample stands in the stream.
struct TimelineSample {
  std::uint64_t sample_index = 0;    ///< continuous across counter wraps; grows by 1 + missed_before
  std::uint32_t segment = 0;         ///< restarts of the camera seen before this sample
  bool restarted = false;            ///< the first sample after a restart
  std::uint64_t missed_before = 0;   ///< samples the camera took, just before this one, that no read saw
  std::uint64_t host_time_ns = 0;    ///< when it was taken, on the host clock; strictly increasing
  std::uint64_t uncertainty_ns = 0;  ///< the reads' bounds on that time lie within plus or minus this (kUnbounded:
                                     ///< none yet, for the first sample before the period is known)
};

// Turns the raw answers of IMU reads (a 20-bit counter between two host times) into a
// timeline: each new sample once, in order, with a 64-bit index continuous across the
// counter's wraps, the samples missed before it, restarts of the camera as new segments,
// and the time it was taken from the fit of the camera's clock to the host's.
//
// A counter that moved forward by no more than the time since the previous sample
// allows is a continuation (a wrap included); one that moved backwards or further
// than time allows is a restart. A restart that happens to land within that allowance
// of the old count cannot be told from missed samples by the counter alone.
// Pure: no clock, no device, nothing allocated after construction.
class ImuSampleTimeline {
 public:
  // `nominal_rate_hz` is the rate the camera's IMU runs at by its own clock, for the clock error; 0 to take the
  // usual rate nearest to the one measured.
  explicit ImuSampleTimeline(double nominal_rate_hz = 0.0) noexcept;

  // One read answered `counter` between host times `started_ns` and `finished_ns`. True with `out` filled when the
  // answer is a new sample; false when it repeats the previous one (a duplicate read).
  [[nodiscard]] bool on_read(std::uint32_t counter, std::uint64_t started_ns, std::uint64_t finished_ns,
                             TimelineSample& out) noexcept;

  [[nodiscard]] std::uint64_t delivered() const noexcept { return delivered_; }
  [[nodiscard]] std::uint64_t duplicates() const noexcept { return duplicates_; }
  [[nodiscard]] std::uint64_t missed() const noexcept { return missed_; }
  [[nodiscard]] std::uint64_t restarts() const noexcept { return restarts_; }
  // The sample period on the host clock in nanoseconds; 0 until two samples were seen.
  [[nodiscard]] double period_ns() const noexcept { return fit_.period_ns(); }
  // Samples per second by the host's clock; 0 until known.
  [[nodiscard]] double rate_hz() const noexcept;
  // How much faster (positive) the camera's clock runs than the host's, in parts per million of the nominal rate.
  [[nodiscard]] double clock_error_ppm() const noexcept;
  // The rate the clock error is measured against: the one given, else the usual rate nearest to the measured one.
  [[nodiscard]] double nominal_rate_hz() const noexcept;

 private:
  // Samples the camera may have taken between the previous new sample's last read and `finished_ns`.
  [[nodiscard]] std::uint64_t samples_allowed(std::uint64_t finished_ns) const noexcept;

  SampleClockFit fit_;
  double nominal_rate_hz_;
  bool started_ = false;
  std::uint32_t last_counter_ = 0;
  std::uint64_t last_index_ = 0;
  std::uint64_t segment_base_ = 0;  ///< sample_index of the current segment's counter 0
  std::uint64_t last_seen_ns_ = 0;  ///< start of the latest read that still answered the previous sample
  std::uint64_t last_time_ns_ = 0;  ///< the latest host_time_ns handed out
  std::uint32_t segment_ = 0;
  std::uint64_t delivered_ = 0;
  std::uint64_t duplicates_ = 0;
  std::uint64_t missed_ = 0;
  std::uint64_t restarts_ = 0;
};

}  // namespace tovanel::uvc_stereo::detail
