#pragma once

#include <cstdint>
#include <vector>

#include "uvc_stereo/simulated_rig.h"

namespace tovanel::uvc_stereo::sim {

// What a timed IMU answers one read with.
struct TimedImuAnswer {
  std::uint32_t counter = 0;        ///< the 20-bit counter of the newest sample when the request arrived
  std::uint32_t segment = 0;        ///< restarts before that sample
  std::uint64_t sample_number = 0;  ///< samples taken in its segment before it
  std::uint64_t taken_ns = 0;       ///< when the camera took that sample, on the host clock
  std::uint64_t transfer_ns = 0;    ///< how long the whole read takes, request out and answer back
};

// The clockwork of one timed IMU: which sample is the newest at any host time, how long
// each read takes, and the truth of every sample it answered with.
class TimedImu {
 public:
  TimedImu(const SimulatedImuTiming& timing, std::uint32_t first_counter);

  // The camera powers up at `now_ns`: its first sample is taken then and the configured
  // restarts count from then; restarts asked for before are forgotten.
  void power_up(std::uint64_t now_ns);
  // The camera restarts at `now_ns` (not before its latest start).
  void restart(std::uint64_t now_ns);
  // The answer to a read issued at `issued_ns`: the newest sample when the request
  // reaches the camera, part of the way through the transfer.
  [[nodiscard]] TimedImuAnswer read(std::uint64_t issued_ns);
  // The read's sample reached the host (no status byte took its place): it joins the truth.
  void delivered(const TimedImuAnswer& answer);
  // The counter of the newest sample at `now_ns`.
  [[nodiscard]] std::uint32_t newest_counter(std::uint64_t now_ns) const;
  // The samples answered since the last call (the newest million at most), once each, in order; forgets them.
  [[nodiscard]] std::vector<SimulatedImuSampleTruth> take_truth();

 private:
  struct Newest {
    std::uint32_t segment;
    std::uint64_t number;
    std::uint64_t taken_ns;
  };
  [[nodiscard]] Newest newest_at(std::uint64_t host_ns) const;
  [[nodiscard]] std::uint32_t counter_of(std::uint32_t segment, std::uint64_t number) const noexcept;
  [[nodiscard]] double uniform() noexcept;
  [[nodiscard]] std::uint64_t between(std::uint64_t low, std::uint64_t high) noexcept;

  SimulatedImuTiming timing_;
  std::uint32_t first_counter_;
  double period_ns_;                           ///< one sample period of the camera's oscillator, on the host clock
  std::vector<std::uint64_t> segment_starts_;  ///< host times the camera (re)started, in order
  std::uint64_t random_state_;
  std::vector<SimulatedImuSampleTruth> truth_;
  bool answered_any_ = false;
  std::uint32_t last_segment_ = 0;
  std::uint64_t last_number_ = 0;
};

}  // namespace tovanel::uvc_stereo::sim
