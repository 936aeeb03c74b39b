#include "support/call_views.h"

namespace tovanel::uvc_stereo::test_support {

std::vector<sim::VendorCall> calls_named(const std::vector<sim::VendorCall>& calls, const std::string& name) {
  std::vector<sim::VendorCall> found;
  for (const sim::VendorCall& call : calls) {
    if (call.name == name) {
      found.push_back(call);
    }
  }
  return found;
}

std::vector<sim::VendorCall> calls_named(const sim::SimulatedRig& rig, const std::string& name) {
  return calls_named(rig.calls(), name);
}

std::size_t count_calls(const std::vector<sim::VendorCall>& calls, const std::string& name) {
  std::size_t count = 0;
  for (const sim::VendorCall& call : calls) {
    count += call.name == name ? 1 : 0;
  }
  return count;
}

std::vector<std::string> names_of(const std::vector<sim::VendorCall>& calls) {
  std::vector<std::string> names;
  names.reserve(calls.size());
  for (const sim::VendorCall& call : calls) {
    names.push_back(call.name);
  }
  return names;
}

std::vector<std::string> folded_call_names(const std::vector<sim::VendorCall>& calls) {
  std::vector<std::string> names;
  for (const sim::VendorCall& call : calls) {
    const bool lookup = call.name == "SonixCam_EnumCameras" || call.name == "SonixCam_GetDevDescriptor";
    if (!lookup) {
      names.push_back(call.name);
    } else if (names.empty() || names.back() != "<lookup>") {
      names.emplace_back("<lookup>");
    }
  }
  return names;
}

long session_balance(const std::vector<sim::VendorCall>& calls) {
  long balance = 0;
  for (const sim::VendorCall& call : calls) {
    if (call.name == "SonixCam_Init" && call.succeeded) {
      ++balance;
    } else if (call.name == "SonixCam_UnInit") {
      --balance;
    }
  }
  return balance;
}

std::size_t failed_uninits(const std::vector<sim::VendorCall>& calls) {
  std::size_t count = 0;
  for (const sim::VendorCall& call : calls) {
    count += call.name == "SonixCam_UnInit" && !call.succeeded ? 1 : 0;
  }
  return count;
}

std::vector<std::string> calls_without_lock(const std::vector<sim::VendorCall>& calls) {
  std::vector<std::string> names;
  for (const sim::VendorCall& call : calls) {
    if (!call.lock_held) {
      names.push_back(call.name);
    }
  }
  return names;
}

}  // namespace tovanel::uvc_stereo::test_support
