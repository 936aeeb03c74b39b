#include "device/firmware_gate.h"

#include <chrono>
#include <string>

#include "bridge/flash_transport.h"
#include "bridge/os/camera_lock.h"
#include "bridge/os/pause.h"
#include "imu/firmware_gate.h"

namespace tovanel::uvc_stereo::detail {
namespace {

constexpr std::chrono::milliseconds kSettleAfterVersionRead{200};

}  // namespace

Status ensure_imu_supported_by_firmware(const DeviceInfo& device, const FlashConfig& config) {
  const ImuFirmwareRule rule = imu_firmware_rule(device.vendor_id, device.product_id);
  if (!rule.needs_version()) {
    return Status();
  }
  const Result<std::string> firmware = bridge::read_firmware_version_for_imu(config);
  if (!firmware.ok() && bridge::is_camera_busy(firmware.status())) {
    // Not a verdict on the firmware: the caller learns who holds the camera.
    return firmware.status();
  }
  // The camera needs the pause after the version read whatever it answered, before its IMU is addressed.
  bridge::pause_for(kSettleAfterVersionRead);
  return judge_imu_firmware(rule.required, rule.disabling, firmware);
}

}  // namespace tovanel::uvc_stereo::detail
