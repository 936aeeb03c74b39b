#include "sim/imu_timing.h"

#include <algorithm>
#include <cmath>

namespace tovanel::uvc_stereo::sim {
namespace {

constexpr std::uint32_t kCounterMask = (1u << 20) - 1;
constexpr double kNanosecondsPerSecond = 1e9;
// The truth a rig keeps when nobody takes it (a rig left streaming in real time for days): the newest samples only.
constexpr std::size_t kTruthKept = std::size_t{1} << 20;

}  // namespace

TimedImu::TimedImu(const SimulatedImuTiming& timing, std::uint32_t first_counter)
    : timing_(timing),
      first_counter_(first_counter & kCounterMask),
      // A positive clock error means the camera's oscillator runs fast: its period, seen from the host, is shorter.
      period_ns_(kNanosecondsPerSecond / (std::max(timing.rate_hz, 1e-3) * (1.0 + timing.clock_error_ppm * 1e-6))),
      random_state_(0x243F6A8885A308D3ull ^ timing.seed) {
  power_up(0);
}

void TimedImu::power_up(std::uint64_t now_ns) {
  segment_starts_.assign(1, now_ns);
  std::vector<double> restarts = timing_.restart_after_s;
  std::sort(restarts.begin(), restarts.end());
  for (const double after_s : restarts) {
    if (after_s > 0.0) {
      segment_starts_.push_back(now_ns + static_cast<std::uint64_t>(std::llround(after_s * kNanosecondsPerSecond)));
    }
  }
  answered_any_ = false;
}

void TimedImu::restart(std::uint64_t now_ns) {
  // Restarts planned for later than now come after this one; a restart cannot precede the latest start.
  auto later = std::upper_bound(segment_starts_.begin(), segment_starts_.end(), now_ns);
  if (later == segment_starts_.begin()) {
    ++later;
  }
  segment_starts_.insert(later, std::max(now_ns, segment_starts_.front()));
}

TimedImu::Newest TimedImu::newest_at(std::uint64_t host_ns) const {
  auto after = std::upper_bound(segment_starts_.begin(), segment_starts_.end(), host_ns);
  if (after == segment_starts_.begin()) {
    // Before the camera started: its first sample is the one that will be taken at the start.
    return Newest{0, 0, segment_starts_.front()};
  }
  const auto segment = static_cast<std::uint32_t>(after - segment_starts_.begin() - 1);
  const std::uint64_t start = segment_starts_[segment];
  const auto number = static_cast<std::uint64_t>(std::floor(static_cast<double>(host_ns - start) / period_ns_));
  // Rounding of the product may put the sample a nanosecond after the moment asked about; step back then.
  std::uint64_t taken = start + static_cast<std::uint64_t>(std::llround(static_cast<double>(number) * period_ns_));
  if (taken > host_ns && number > 0) {
    return Newest{segment, number - 1,
                  start + static_cast<std::uint64_t>(std::llround(static_cast<double>(number - 1) * period_ns_))};
  }
  taken = std::min(taken, host_ns);
  return Newest{segment, number, taken};
}

std::uint32_t TimedImu::counter_of(std::uint32_t segment, std::uint64_t number) const noexcept {
  const std::uint64_t first = segment == 0 ? first_counter_ : 0;
  return static_cast<std::uint32_t>((first + number) & kCounterMask);
}

double TimedImu::uniform() noexcept {
  // splitmix64: the same sequence for a seed on every platform and standard library.
  random_state_ += 0x9E3779B97F4A7C15ull;
  std::uint64_t z = random_state_;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
  z ^= z >> 31;
  return static_cast<double>(z >> 11) * (1.0 / 9007199254740992.0);
}

std::uint64_t TimedImu::between(std::uint64_t low, std::uint64_t high) noexcept {
  if (high <= low) {
    return low;
  }
  return low + static_cast<std::uint64_t>(uniform() * static_cast<double>(high - low));
}

TimedImuAnswer TimedImu::read(std::uint64_t issued_ns) {
  std::uint64_t transfer = between(timing_.latency_min_ns, timing_.latency_max_ns);
  if (timing_.stall_probability > 0.0 && uniform() < timing_.stall_probability) {
    transfer += between(timing_.stall_min_ns, timing_.stall_max_ns);
  }
  // The request reaches the camera somewhere inside the transfer; the rest is the answer's way back.
  const auto outbound = static_cast<std::uint64_t>(uniform() * static_cast<double>(transfer));
  const Newest newest = newest_at(issued_ns + outbound);
  return TimedImuAnswer{counter_of(newest.segment, newest.number), newest.segment, newest.number, newest.taken_ns,
                        transfer};
}

void TimedImu::delivered(const TimedImuAnswer& answer) {
  if (answered_any_ && answer.segment == last_segment_ && answer.sample_number == last_number_) {
    return;
  }
  if (truth_.size() >= kTruthKept) {
    truth_.erase(truth_.begin(), truth_.begin() + static_cast<std::ptrdiff_t>(kTruthKept / 2));
  }
  truth_.push_back(SimulatedImuSampleTruth{answer.counter, answer.segment, answer.sample_number, answer.taken_ns});
  answered_any_ = true;
  last_segment_ = answer.segment;
  last_number_ = answer.sample_number;
}

std::uint32_t TimedImu::newest_counter(std::uint64_t now_ns) const {
  const Newest newest = newest_at(now_ns);
  return counter_of(newest.segment, newest.number);
}

std::vector<SimulatedImuSampleTruth> TimedImu::take_truth() {
  std::vector<SimulatedImuSampleTruth> taken;
  taken.swap(truth_);
  return taken;
}

}  // namespace tovanel::uvc_stereo::sim
