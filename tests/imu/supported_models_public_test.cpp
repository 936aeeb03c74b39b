#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "imu/model_table.h"
#include "uvc_stereo/models.h"

namespace tovanel::uvc_stereo {
namespace {

TEST(SupportedCameraModels, ListsEveryRowOfTheModelTableInItsOrder) {
  const std::vector<CameraModelId> models = supported_camera_models();
  ASSERT_EQ(models.size(), detail::supported_models().size());
  for (std::size_t i = 0; i < models.size(); ++i) {
    EXPECT_EQ(models[i].vendor_id, detail::supported_models()[i].vendor_id) << i;
    EXPECT_EQ(models[i].product_id, detail::supported_models()[i].product_id) << i;
  }
}

TEST(SupportedCameraModels, EachIsFoundByTheWhitelistLookup) {
  for (const CameraModelId& model : supported_camera_models()) {
    EXPECT_NE(detail::find_supported_model(model.vendor_id, model.product_id), nullptr);
  }
}

}  // namespace
}  // namespace tovanel::uvc_stereo
