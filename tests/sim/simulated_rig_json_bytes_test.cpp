#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "simulated_rig_fixture.h"
#include "support/scanned_device.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/simulated_rig.h"

// The configuration record holds the bytes it is given: text read from a camera goes back in
// byte for byte, whatever its encoding.
namespace tovanel::uvc_stereo::sim {
namespace {

constexpr std::uint32_t kUserSpace = 0x51000;
constexpr std::uint32_t kUserSpaceSize = 0x10000;

class ConfigurationBytesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    camera_ = rig_.add_camera(rig_testing::supported_camera("JB1"));
    Result<Device> opened = open_device(test_support::scanned_device("JB1"), OpenDeviceOptions{});
    ASSERT_TRUE(opened.ok()) << opened.status().message();
    device_ = std::make_unique<Device>(std::move(opened).value());
  }

  void TearDown() override {
    device_.reset();
    EXPECT_TRUE(rig_.violations().empty()) << ::testing::PrintToString(rig_.violations());
    EXPECT_EQ(rig_.open_sessions(), 0);
  }

  SimulatedRig rig_;
  int camera_ = -1;
  std::unique_ptr<Device> device_;
};

TEST_F(ConfigurationBytesTest, EveryByteAbove0x7fInsideAStringReadsBackAsWritten) {
  std::string high;
  for (unsigned value = 0x80; value <= 0xFF; ++value) {
    high.push_back(static_cast<char>(value));
  }
  const std::string written = "{\"bytes\":\"" + high + "\",\"name\":\"caf\xe9\"}";
  ASSERT_TRUE(device_->write_json(written).ok());
  const Result<ReadJsonResult> read = device_->read_json();
  ASSERT_TRUE(read.ok()) << read.status().message();
  ASSERT_EQ(read.value().json.size(), written.size());
  for (std::size_t i = 0; i < written.size(); ++i) {
    EXPECT_EQ(static_cast<unsigned char>(read.value().json[i]), static_cast<unsigned char>(written[i])) << "byte " << i;
  }
}

TEST_F(ConfigurationBytesTest, WritingBackWhatWasReadLeavesTheRecordAsItWas) {
  std::string text = "{\"a\":\"";
  for (unsigned value = 0x80; value <= 0xFF; ++value) {
    text.push_back(static_cast<char>(value));
    text.push_back(' ');
  }
  text += "\"}";
  ASSERT_TRUE(device_->write_json(text).ok());
  const std::vector<std::uint8_t> before = rig_.flash(camera_, kUserSpace, kUserSpaceSize);
  const Result<ReadJsonResult> read = device_->read_json();
  ASSERT_TRUE(read.ok()) << read.status().message();
  ASSERT_TRUE(device_->write_json(read.value().json).ok());
  EXPECT_EQ(rig_.flash(camera_, kUserSpace, kUserSpaceSize), before);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::sim
