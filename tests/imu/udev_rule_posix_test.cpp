#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "uvc_stereo/models.h"

namespace tovanel::uvc_stereo {
namespace {

// The value of `KEY=="VALUE"` in a udev rule line, or empty when the key is not there.
std::string match_value(const std::string& line, const std::string& key) {
  const std::string opening = key + "==\"";
  const std::size_t start = line.find(opening);
  if (start == std::string::npos) return {};
  const std::size_t value = start + opening.size();
  return line.substr(value, line.find('"', value) - value);
}

std::string hex4(std::uint16_t id) {
  char text[5];
  std::snprintf(text, sizeof(text), "%04x", id);
  return text;
}

TEST(UdevRule, OpensExactlyTheSupportedCameraModelsToTheVideoGroupAndTheSeat) {
  std::ifstream file(UVC_STEREO_UDEV_RULE_FILE);
  ASSERT_TRUE(file) << UVC_STEREO_UDEV_RULE_FILE;
  std::string rule;
  for (std::string line; std::getline(file, line);) {
    if (!line.empty() && line[0] != '#') {
      ASSERT_TRUE(rule.empty()) << "one rule line expected, also: " << line;
      rule = line;
    }
  }
  EXPECT_EQ(match_value(rule, "SUBSYSTEM"), "video4linux");
  EXPECT_NE(rule.find("MODE=\"0660\""), std::string::npos);
  EXPECT_NE(rule.find("GROUP=\"video\""), std::string::npos);
  EXPECT_NE(rule.find("TAG+=\"uaccess\""), std::string::npos);

  std::set<std::string> vendors;
  std::set<std::string> products;
  for (const CameraModelId& model : supported_camera_models()) {
    vendors.insert(hex4(model.vendor_id));
    products.insert(hex4(model.product_id));
  }
  ASSERT_EQ(vendors.size(), 1u) << "one vendor id per rule line";
  EXPECT_EQ(match_value(rule, "ATTRS{idVendor}"), *vendors.begin());
  std::set<std::string> listed;
  std::istringstream alternatives(match_value(rule, "ATTRS{idProduct}"));
  for (std::string id; std::getline(alternatives, id, '|');) listed.insert(id);
  EXPECT_EQ(listed, products);
}

}  // namespace
}  // namespace tovanel::uvc_stereo
