#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>

#include "c_api/handles.h"
#include "support/allocation_counter.h"
#include "support/rig_cameras.h"
#include "support/rig_checks.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/uvc_stereo_c.h"

// A read through the C interface allocates nothing beyond the C++ read it wraps, which itself allocates nothing
// (the device suite proves that). Both counts include what the simulated rig allocates to log each call, which is
// the same for both paths, so the two counts must be equal.
namespace tovanel::uvc_stereo {
namespace {

using test_support::AllocationCount;

constexpr int kReads = 200;

class CApiReadImuAllocations : public test_support::RigTest {
 protected:
  void SetUp() override {
    rig_.add_camera(test_support::supported_camera(2, "SN-C-IMU-ALLOC"));
    uvc_stereo_device_list_t* list = nullptr;
    ASSERT_EQ(uvc_stereo_scan_devices(nullptr, &list), UVC_STEREO_OK) << uvc_stereo_last_error_message();
    ASSERT_EQ(uvc_stereo_open_device(list, 0, nullptr, &device_), UVC_STEREO_OK) << uvc_stereo_last_error_message();
    uvc_stereo_device_list_free(list);
    ASSERT_EQ(uvc_stereo_device_open_imu(device_), UVC_STEREO_OK) << uvc_stereo_last_error_message();
    sample_.struct_size = sizeof(sample_);
    // Warm up, then empty the call log: it keeps its capacity, so neither counted run pays for its growth.
    for (int i = 0; i < 2 * kReads; ++i) {
      ASSERT_EQ(uvc_stereo_device_read_imu(device_, &sample_), UVC_STEREO_OK);
    }
  }

  void TearDown() override {
    if (device_ != nullptr) {
      EXPECT_EQ(uvc_stereo_device_close_imu(device_), UVC_STEREO_OK);
      uvc_stereo_device_close(device_);
    }
    test_support::RigTest::TearDown();
  }

  long count_cpp_reads() {
    rig_.clear_calls();
    int successes = 0;
    AllocationCount count;
    for (int i = 0; i < kReads; ++i) {
      const Result<ReadImuResult> read = device_->device.read_imu();
      successes += read.ok() ? 1 : 0;
    }
    const long allocations = count.stop();
    EXPECT_EQ(successes, kReads);
    return allocations;
  }

  long count_c_reads() {
    rig_.clear_calls();
    int successes = 0;
    AllocationCount count;
    for (int i = 0; i < kReads; ++i) {
      successes += uvc_stereo_device_read_imu(device_, &sample_) == UVC_STEREO_OK ? 1 : 0;
    }
    const long allocations = count.stop();
    EXPECT_EQ(successes, kReads);
    return allocations;
  }

  long count_c_batch() {
    rig_.clear_calls();
    static uvc_stereo_imu_sample_t samples[kReads];
    for (uvc_stereo_imu_sample_t& sample : samples) {
      sample.struct_size = sizeof(sample);
    }
    std::size_t read = 0;
    AllocationCount count;
    const uvc_stereo_error_t result = uvc_stereo_device_read_imu_samples(device_, samples, kReads, &read);
    const long allocations = count.stop();
    EXPECT_EQ(result, UVC_STEREO_OK);
    EXPECT_EQ(read, static_cast<std::size_t>(kReads));
    return allocations;
  }

  uvc_stereo_device_t* device_ = nullptr;
  uvc_stereo_imu_sample_t sample_{};
};

TEST_F(CApiReadImuAllocations, OneSampleAtATimeAllocatesNoMoreThanTheCppRead) {
  const long cpp = count_cpp_reads();
  const long c = count_c_reads();
  EXPECT_EQ(c, cpp);
}

TEST_F(CApiReadImuAllocations, ABatchAllocatesNoMoreThanTheCppReads) {
  const long cpp = count_cpp_reads();
  const long batch = count_c_batch();
  EXPECT_EQ(batch, cpp);
}

// Guards the guard: the count does see what the C layer allocates, here the text of a refused read, too long to
// live inside the string object.
TEST_F(CApiReadImuAllocations, TheCountSeesTheMessageOfARefusedRead) {
  uvc_stereo_clear_last_error();
  rig_.clear_calls();
  AllocationCount count;
  const uvc_stereo_error_t refused = uvc_stereo_device_read_imu(device_, nullptr);
  const long allocations = count.stop();
  EXPECT_EQ(refused, UVC_STEREO_ERROR_INVALID_ARGUMENT);
  EXPECT_STREQ(uvc_stereo_last_error_message(), "uvc_stereo_device_read_imu: sample is null");
  EXPECT_GT(allocations, 0);
}

}  // namespace
}  // namespace tovanel::uvc_stereo
