#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "uvc_stereo/simulated_rig.h"

// Views of the vendor calls the rig recorded, for tests that check call sequences, their arguments and the session
// and lock rules.
namespace tovanel::uvc_stereo::test_support {

// The calls of one name, in the order the rig saw them.
[[nodiscard]] std::vector<sim::VendorCall> calls_named(const std::vector<sim::VendorCall>& calls,
                                                       const std::string& name);
[[nodiscard]] std::vector<sim::VendorCall> calls_named(const sim::SimulatedRig& rig, const std::string& name);

[[nodiscard]] std::size_t count_calls(const std::vector<sim::VendorCall>& calls, const std::string& name);

// The names of the calls, in order.
[[nodiscard]] std::vector<std::string> names_of(const std::vector<sim::VendorCall>& calls);

// The names of the calls, with the camera lookup (enumeration and descriptor reads, which belong to device
// resolution) folded into one "<lookup>" entry so that the steps around it can be compared exactly.
[[nodiscard]] std::vector<std::string> folded_call_names(const std::vector<sim::VendorCall>& calls);

// Library sessions that the calls opened and did not close: successful SonixCam_Init calls minus SonixCam_UnInit
// calls (a failed UnInit still counts as the caller's attempt to close).
[[nodiscard]] long session_balance(const std::vector<sim::VendorCall>& calls);

// SonixCam_UnInit calls that failed; the rig keeps those sessions open.
[[nodiscard]] std::size_t failed_uninits(const std::vector<sim::VendorCall>& calls);

// Names of the calls made without the vendor lock held by the calling thread.
[[nodiscard]] std::vector<std::string> calls_without_lock(const std::vector<sim::VendorCall>& calls);

}  // namespace tovanel::uvc_stereo::test_support
