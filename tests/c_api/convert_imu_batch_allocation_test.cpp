#include <gtest/gtest.h>

#include <cstddef>

#include "support/allocation_counter.h"
#include "support/rig_cameras.h"
#include "support/rig_checks.h"
#include "uvc_stereo/uvc_stereo_c.h"

// Converting a batch through the C interface allocates nothing: it touches no camera, so not even the simulated
// rig's call log grows.
namespace tovanel::uvc_stereo {
namespace {

using test_support::AllocationCount;

constexpr std::size_t kSamples = 500;

class CApiConvertImuBatchAllocations : public test_support::RigTest {
 protected:
  void SetUp() override {
    rig_.add_camera(test_support::supported_camera(1, "SN-C-CONVERT-ALLOC"));
    uvc_stereo_device_list_t* list = nullptr;
    ASSERT_EQ(uvc_stereo_scan_devices(nullptr, &list), UVC_STEREO_OK) << uvc_stereo_last_error_message();
    ASSERT_EQ(uvc_stereo_open_device(list, 0, nullptr, &device_), UVC_STEREO_OK) << uvc_stereo_last_error_message();
    uvc_stereo_device_list_free(list);
    ASSERT_EQ(uvc_stereo_device_open_imu(device_), UVC_STEREO_OK) << uvc_stereo_last_error_message();
    for (std::size_t i = 0; i < kSamples; ++i) {
      raw_[i].struct_size = sizeof(raw_[i]);
      converted_[i].struct_size = sizeof(converted_[i]);
    }
    std::size_t read = 0;
    ASSERT_EQ(uvc_stereo_device_read_imu_samples(device_, raw_, kSamples, &read), UVC_STEREO_OK);
  }

  void TearDown() override {
    if (device_ != nullptr) {
      EXPECT_EQ(uvc_stereo_device_close_imu(device_), UVC_STEREO_OK);
      uvc_stereo_device_close(device_);
    }
    test_support::RigTest::TearDown();
  }

  uvc_stereo_device_t* device_ = nullptr;
  uvc_stereo_imu_sample_t raw_[kSamples]{};
  uvc_stereo_imu_converted_t converted_[kSamples]{};
};

TEST_F(CApiConvertImuBatchAllocations, ABatchConversionAllocatesNothing) {
  std::size_t converted = 0;
  AllocationCount count;
  const uvc_stereo_error_t result =
      uvc_stereo_device_convert_imu_samples(device_, raw_, kSamples, converted_, &converted);
  const long allocations = count.stop();
  EXPECT_EQ(result, UVC_STEREO_OK) << uvc_stereo_last_error_message();
  EXPECT_EQ(converted, kSamples);
  EXPECT_NEAR(converted_[kSamples - 1].accel_g[2], 1.0, 0.1);
  EXPECT_EQ(allocations, 0);
}

// Guards the guard: a refused element's message is counted.
TEST_F(CApiConvertImuBatchAllocations, TheCountSeesTheMessageOfARefusedElement) {
  raw_[2].struct_size = 0;
  std::size_t converted = 0;
  AllocationCount count;
  const uvc_stereo_error_t result =
      uvc_stereo_device_convert_imu_samples(device_, raw_, kSamples, converted_, &converted);
  const long allocations = count.stop();
  EXPECT_EQ(result, UVC_STEREO_ERROR_INVALID_ARGUMENT);
  EXPECT_EQ(converted, 2u);
  EXPECT_GT(allocations, 0);
}

}  // namespace
}  // namespace tovanel::uvc_stereo
