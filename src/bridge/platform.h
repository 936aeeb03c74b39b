#pragma once

#include "bridge/platform_table.h"

// The one way to replace the platform under the SDK: the vendor library, the capture
// listings, the Windows system calls, the pauses, the JSON minifier's form and the Linux
// kernel interfaces (see PlatformTable for each entry's contract). The simulated
// rig installs itself this way, and so do tests and benchmarks:
//
//   PlatformTable replacements;
//   replacements.pause = &instant_pauses;
//   const PlatformOverride override(replacements);
//
// Null entries leave what is in force. Overrides stack and may end in any order: an
// entry comes from the newest live override that sets it, else from the platform.
namespace tovanel::uvc_stereo::detail::bridge {

// Tables that replace one entry, the shape most replacements take.
[[nodiscard]] inline PlatformTable replacing_vendor_backend(const VendorBackend& backend) noexcept {
  PlatformTable table;
  table.vendor_backend = &backend;
  return table;
}
[[nodiscard]] inline PlatformTable replacing_pauses(const PauseHook& hook) noexcept {
  PlatformTable table;
  table.pause = &hook;
  return table;
}

class PlatformOverride {
 public:
  // Puts `replacements` in force. Takes the vendor lock while it does, so no vendor
  // call is in flight when the backend changes; the objects named must outlive it.
  explicit PlatformOverride(const PlatformTable& replacements) noexcept;
  // Withdraws the replacements, under the vendor lock too.
  ~PlatformOverride();
  PlatformOverride(const PlatformOverride&) = delete;
  PlatformOverride& operator=(const PlatformOverride&) = delete;

 private:
  PlatformLayer layer_;
};

}  // namespace tovanel::uvc_stereo::detail::bridge
