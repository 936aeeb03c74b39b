#include "bridge/capability_probe.h"

#include <array>
#include <cstdint>
#include <exception>
#include <string>
#include <utility>

#include "bridge/device_resolution.h"
#include "bridge/device_selector.h"
#include "bridge/extension_unit.h"
#include "bridge/sonix_camera.h"
#include "bridge/vendor_session.h"
#include "bridge/vendor_status.h"
#include "core/guard.h"
#include "uvc_stereo/flash_config.h"

namespace tovanel::uvc_stereo::detail {
namespace {

constexpr std::uint8_t kCapabilityNodeId = 4;
constexpr std::uint8_t kCapabilitySelector = 11;

XuCapabilityProbeResult failed_probe(Status status) {
  XuCapabilityProbeResult result;
  result.status = std::move(status);
  return result;
}

// The body of the probe, inside an open session with the lock held; the caller closes the session.
XuCapabilityProbeResult read_capability_in_session(const DeviceInfo& device) {
  const FlashConfig config = make_device_selector_config(device);
  Result<win_detail::EnumeratedDevice> resolved = win_detail::resolve_device_with_active_runtime(config, false);
  if (!resolved.ok()) {
    return failed_probe(resolved.status());
  }
  SonixLib::scDevice_t handle = resolved.value().device;

  if (!SonixCam_SetNodeID(&handle, kCapabilityNodeId, vendor::kExtensionUnitGuid.data())) {
    return failed_probe(win_detail::make_vendor_status(ErrorCode::PlatformError, "SonixCam_SetNodeID", &handle));
  }
  // Zeroed first so that whatever the library leaves unwritten reads as absent, not as stale bytes.
  std::array<std::uint8_t, kCapabilityReportSize> buffer{};
  if (!SonixCam_XuRead(&handle, buffer.data(), static_cast<std::uint8_t>(buffer.size()), kCapabilitySelector,
                       kCapabilityNodeId)) {
    return failed_probe(win_detail::make_vendor_status(ErrorCode::PlatformError, "SonixCam_XuRead", &handle));
  }
  return interpret_xu_capability_bytes(buffer);
}

// The probe in a vendor session of its own, which is closed (and the lock released) before the result is handed
// back, and before an exception becomes a result, so that building the result can never leave either behind.
XuCapabilityProbeResult probe_in_session(const DeviceInfo& device) {
  vendor::VendorSession session;
  if (!session.start()) {
    return failed_probe(session.start_failure(ErrorCode::DeviceUnavailable));
  }
  XuCapabilityProbeResult result = read_capability_in_session(device);
  session.end();
  return result;
}

}  // namespace

XuCapabilityProbeResult probe_xu_capability(const DeviceInfo& device) {
  return catch_failures(
      [&] { return probe_in_session(device); },
      [](const std::exception* failure) {
        return failed_probe(guarded_failure(failure, "unknown exception during Windows capability XU read"));
      });
}

}  // namespace tovanel::uvc_stereo::detail
