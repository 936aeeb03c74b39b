#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "uvc_stereo/simulated_rig.h"

namespace tovanel::uvc_stereo::sim {

// The faults armed on a rig, each counting the calls it watches from the moment it
// was added.
class FaultBook {
 public:
  void add(const VendorFault& fault);
  void clear() noexcept { armed_.clear(); }

  // Counts one call of `call` against every fault that watches it and returns the
  // first fault whose failing window this use falls in.
  [[nodiscard]] std::optional<VendorFault> on_call(std::string_view call);

 private:
  struct Armed {
    VendorFault fault;
    std::uint64_t uses = 0;
  };
  std::vector<Armed> armed_;
};

}  // namespace tovanel::uvc_stereo::sim
