#include "imu/firmware_gate.h"

#include <chrono>

#include "bridge/os/camera_lock.h"
#include "core/pause.h"
#include "flash/flash_transport.h"
#include "imu/firmware_version.h"
#include "imu/model_table.h"

namespace tovanel::uvc_stereo::detail {
namespace {

constexpr std::chrono::milliseconds kSettleAfterVersionRead{200};

Status imu_refused() { return Status(ErrorCode::NotSupported, "IMU is not supported on this device"); }

}  // namespace

Status judge_imu_firmware(std::string_view required, std::string_view disabling, const Result<std::string>& firmware) {
  if (!firmware.ok()) {
    // An unreadable version cannot prove an exact requirement, but it must not lock out a model whose only rule
    // is a disabling build.
    return required.empty() ? Status() : imu_refused();
  }
  const std::string& text = firmware.value();
  if (firmware_version_disables_imu(disabling, text)) {
    return imu_refused();
  }
  if (!firmware_version_allows_imu(required, text)) {
    return imu_refused();
  }
  return Status();
}

Status ensure_imu_supported_by_firmware(const DeviceInfo& device, const FlashConfig& config) {
  std::string_view required;
  std::string_view disabling;
  if (const SupportedModel* model = find_supported_model(device.vendor_id, device.product_id)) {
    required = model->required_version;
    disabling = model->disabling_version;
  }
  if (required.empty() && disabling.empty()) {
    return Status();
  }

  const Result<std::string> firmware = read_firmware_version_for_imu(config);
  if (!firmware.ok() && vendor::is_camera_busy(firmware.status())) {
    // Not a verdict on the firmware: the caller learns who holds the camera.
    return firmware.status();
  }
  // The camera needs the pause after the version read whatever it answered, before its IMU is addressed.
  pause_for(kSettleAfterVersionRead);
  return judge_imu_firmware(required, disabling, firmware);
}

}  // namespace tovanel::uvc_stereo::detail
