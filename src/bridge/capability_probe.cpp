#include "bridge/capability_probe.h"

#include <array>
#include <cstdint>
#include <exception>
#include <string>
#include <utility>

#include "bridge/camera_session.h"
#include "bridge/sonix_camera.h"
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

// The body of the probe: opens `camera` on `device` and reads its capability report; the caller closes the session.
XuCapabilityProbeResult read_capability(bridge::CameraSession& camera, const DeviceInfo& device) {
  Status opened = camera.open(device);
  if (!opened.ok()) {
    return failed_probe(std::move(opened));
  }
  Status selected = camera.select_extension_unit(kCapabilityNodeId);
  if (!selected.ok()) {
    return failed_probe(std::move(selected));
  }
  // Zeroed first so that whatever the library leaves unwritten reads as absent, not as stale bytes.
  std::array<std::uint8_t, kCapabilityReportSize> buffer{};
  if (!SonixCam_XuRead(&camera.device(), buffer.data(), static_cast<std::uint8_t>(buffer.size()), kCapabilitySelector,
                       kCapabilityNodeId)) {
    return failed_probe(win_detail::make_vendor_status(ErrorCode::PlatformError, "SonixCam_XuRead", &camera.device()));
  }
  return interpret_xu_capability_bytes(buffer);
}

// The probe in a camera session of its own, which is closed (and the lock released) before the result is handed
// back, and before an exception becomes a result, so that building the result can never leave either behind.
XuCapabilityProbeResult probe_in_session(const DeviceInfo& device) {
  bridge::CameraSession camera;
  XuCapabilityProbeResult result = read_capability(camera, device);
  camera.end();
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
