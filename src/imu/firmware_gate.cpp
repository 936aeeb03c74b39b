#include "imu/firmware_gate.h"

#include "imu/firmware_version.h"
#include "imu/model_table.h"

namespace tovanel::uvc_stereo::detail {
namespace {

Status imu_refused() { return Status(ErrorCode::NotSupported, "IMU is not supported on this device"); }

}  // namespace

ImuFirmwareRule imu_firmware_rule(std::uint16_t vendor_id, std::uint16_t product_id) noexcept {
  if (const SupportedModel* model = find_supported_model(vendor_id, product_id)) {
    return ImuFirmwareRule{model->required_version, model->disabling_version};
  }
  return ImuFirmwareRule{};
}

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

}  // namespace tovanel::uvc_stereo::detail
