#include "imu/model_table.h"
#include "uvc_stereo/models.h"

namespace tovanel::uvc_stereo {

std::vector<CameraModelId> supported_camera_models() {
  std::vector<CameraModelId> models;
  models.reserve(detail::supported_models().size());
  for (const detail::SupportedModel& model : detail::supported_models()) {
    models.push_back(CameraModelId{model.vendor_id, model.product_id});
  }
  return models;
}

}  // namespace tovanel::uvc_stereo
