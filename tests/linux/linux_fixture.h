#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "bridge/backends/linux_backend.h"
#include "bridge/platform.h"
#include "bridge/process_lock.h"
#include "linux/fake_cameras.h"
#include "linux/fake_kernel.h"
#include "linux/fake_kernel_platform.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/diagnostics.h"
#include "uvc_stereo/simulated_rig.h"

// The Linux backend on a fake kernel, with every vendor call audited by the rules the simulated rig checks: made
// with the vendor lock held, and, apart from SonixCam_Init and SonixCam_GetErrorCode, inside an open session.
namespace tovanel::uvc_stereo::linux_testing {

struct AuditedCall {
  std::string name;
  bool lock_held = false;
  int open_sessions = 0;  ///< sessions open when the call was made
  bool succeeded = false;
};

// The Linux backend's operations, each recorded on its way through.
[[nodiscard]] const detail::bridge::VendorBackend& audited_linux_backend() noexcept;
[[nodiscard]] std::vector<AuditedCall> audited_calls();
void clear_audited_calls();
// Runs `action` once, just before the backend receives the next call named `name` (to change the camera at that
// moment, say).
void before_next_call(const std::string& name, std::function<void()> action);
// Broken rules among the calls so far; empty when all was well.
[[nodiscard]] std::vector<std::string> audit_violations();

class LinuxBackendTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Diagnostic lines written so far.
  [[nodiscard]] std::vector<std::string> diagnostics() const;
  // Whether some diagnostic line so far holds both `a` and `b`.
  [[nodiscard]] bool diagnosed(const std::string& a, const std::string& b) const;
  // The names of the vendor calls made so far.
  [[nodiscard]] std::vector<std::string> call_names() const;
  // The one camera a scan finds; a failed scan, or one that finds none or several, fails the test and gives an
  // empty record, which no camera answers to.
  [[nodiscard]] static DeviceInfo only_camera();

  FakeKernel kernel_;

 private:
  static void collect(const char* text, void* context);

  std::optional<detail::bridge::PlatformOverride> override_;
  mutable std::mutex diagnostics_mutex_;
  std::string diagnostic_text_;
};

}  // namespace tovanel::uvc_stereo::linux_testing
