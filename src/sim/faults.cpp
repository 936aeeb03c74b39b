#include "sim/faults.h"

namespace tovanel::uvc_stereo::sim {

void FaultBook::add(const VendorFault& fault) {
  Armed armed{fault, 0};
  // Uses are counted from 1, so "the 0th use" can only mean the next one.
  if (armed.fault.nth == 0) {
    armed.fault.nth = 1;
  }
  armed_.push_back(armed);
}

std::optional<VendorFault> FaultBook::on_call(std::string_view call) {
  std::optional<VendorFault> firing;
  for (Armed& armed : armed_) {
    if (armed.fault.call != "*" && armed.fault.call != call) {
      continue;
    }
    ++armed.uses;
    const std::uint64_t first = armed.fault.nth;
    const bool in_window = armed.uses >= first && (armed.fault.times == 0 || armed.uses < first + armed.fault.times);
    if (in_window && !firing) {
      firing = armed.fault;
    }
  }
  return firing;
}

}  // namespace tovanel::uvc_stereo::sim
