#include "imu/model_table.h"

namespace tovanel::uvc_stereo::detail {
namespace {

// The camera chip maker's USB vendor id, under which every supported model enumerates.
constexpr std::uint16_t kChipVendorId = 0x0C45;

// The product ids are the product's configuration: the models this release is qualified for. The first two refuse
// the IMU on firmware builds whose version text contains the one named. Scans whitelist exactly these rows.
constexpr std::array<SupportedModel, kSupportedModelCount> kSupportedModels = {{
    {kChipVendorId, 0x6366, "", "260416"},
    {kChipVendorId, 0x6367, "", "260408"},
    {kChipVendorId, 0x6368, "", ""},
    {kChipVendorId, 0x6369, "", ""},
    {kChipVendorId, 0x636A, "", ""},
}};

}  // namespace

const std::array<SupportedModel, kSupportedModelCount>& supported_models() noexcept { return kSupportedModels; }

const SupportedModel* find_supported_model(std::uint16_t vendor_id, std::uint16_t product_id) noexcept {
  for (const SupportedModel& model : kSupportedModels) {
    if (model.vendor_id == vendor_id && model.product_id == product_id) {
      return &model;
    }
  }
  return nullptr;
}

}  // namespace tovanel::uvc_stereo::detail
