#include "imu/model_table.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <set>

namespace tovanel::uvc_stereo {
namespace {

using detail::find_supported_model;
using detail::supported_models;

TEST(ModelTable, HasFiveModelsAllUnderTheChipMakersVendorId) {
  ASSERT_EQ(supported_models().size(), 5u);
  for (const detail::SupportedModel& model : supported_models()) {
    EXPECT_EQ(model.vendor_id, 0x0C45);
    EXPECT_NE(model.product_id, 0);
  }
}

TEST(ModelTable, ProductIdsAreDistinct) {
  std::set<std::uint16_t> product_ids;
  for (const detail::SupportedModel& model : supported_models()) {
    product_ids.insert(model.product_id);
  }
  EXPECT_EQ(product_ids.size(), supported_models().size());
}

TEST(ModelTable, OnlyTheFirstTwoRowsCarryDisablingVersions) {
  const auto& models = supported_models();
  EXPECT_EQ(models[0].disabling_version, "260416");
  EXPECT_EQ(models[1].disabling_version, "260408");
  EXPECT_TRUE(models[2].disabling_version.empty());
  EXPECT_TRUE(models[3].disabling_version.empty());
  EXPECT_TRUE(models[4].disabling_version.empty());
}

TEST(ModelTable, NoRowRequiresAVersion) {
  for (const detail::SupportedModel& model : supported_models()) {
    EXPECT_TRUE(model.required_version.empty());
  }
}

TEST(ModelTable, LookupFindsEachRowItself) {
  const auto& models = supported_models();
  for (std::size_t row = 0; row < models.size(); ++row) {
    SCOPED_TRACE(row);
    EXPECT_EQ(find_supported_model(models[row].vendor_id, models[row].product_id), &models[row]);
  }
}

TEST(ModelTable, LookupOfRowOneGivesItsDisablingVersion) {
  const detail::SupportedModel* model = find_supported_model(0x0C45, supported_models()[0].product_id);
  ASSERT_NE(model, nullptr);
  EXPECT_EQ(model->disabling_version, "260416");
}

TEST(ModelTable, UnknownVendorIsNotSupported) {
  EXPECT_EQ(find_supported_model(0x1234, supported_models()[0].product_id), nullptr);
  EXPECT_EQ(find_supported_model(0x1234, 0x5678), nullptr);
}

TEST(ModelTable, UnknownProductOfTheChipMakerIsNotSupported) {
  std::set<std::uint16_t> product_ids;
  for (const detail::SupportedModel& model : supported_models()) {
    product_ids.insert(model.product_id);
  }
  std::uint16_t unknown = 0x0001;
  while (product_ids.count(unknown) != 0) {
    ++unknown;
  }
  EXPECT_EQ(find_supported_model(0x0C45, unknown), nullptr);
  EXPECT_EQ(find_supported_model(0x0C45, 0), nullptr);
}

TEST(ModelTable, BothIdsMustMatchSoSwappedIdsAreNotSupported) {
  const detail::SupportedModel& first = supported_models()[0];
  EXPECT_EQ(find_supported_model(first.product_id, first.vendor_id), nullptr);
  EXPECT_EQ(find_supported_model(0, 0), nullptr);
}

}  // namespace
}  // namespace tovanel::uvc_stereo
