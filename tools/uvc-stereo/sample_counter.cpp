#include "uvc-stereo/sample_counter.h"

namespace tovanel::uvc_stereo::cli {

std::uint32_t sample_counter_step(std::uint32_t previous, std::uint32_t current) noexcept {
  return (current - previous) & (kSampleCounterModulus - 1);
}

SampleCounterUnwrapper::Step SampleCounterUnwrapper::push(std::uint32_t raw_counter) noexcept {
  const std::uint32_t raw = raw_counter & (kSampleCounterModulus - 1);
  Step step;
  if (samples_ == 0) {
    first_ = raw;
    unwrapped_ = raw;
  } else {
    const std::uint32_t delta = sample_counter_step(previous_raw_, raw);
    if (delta == 0) {
      step.repeated = true;
      ++repeated_;
    } else {
      step.missed = delta - 1;
      missed_ += step.missed;
      unwrapped_ += delta;
    }
  }
  previous_raw_ = raw;
  ++samples_;
  step.counter = unwrapped_;
  return step;
}

}  // namespace tovanel::uvc_stereo::cli
