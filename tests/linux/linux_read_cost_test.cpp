// What one IMU read costs on the Linux backend: no allocation and exactly one system call, the control query.
#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <string>
#include <vector>

#include "linux/linux_fixture.h"
#include "linux/system_call_count.h"
#include "support/allocation_counter.h"
#include "uvc_stereo/device.h"

namespace tovanel::uvc_stereo::linux_testing {
namespace {

constexpr long kReads = 50;

class LinuxReadCost : public LinuxBackendTest {
 protected:
  // A camera on 1-2 opened with its IMU reader started and one sample read, so only the reads themselves remain.
  void open_streaming_camera() {
    kernel_.add_camera(supported_camera("SN-A", "1-2", 0));
    Result<Device> opened = open_device(only_camera());
    ASSERT_TRUE(opened.ok()) << opened.status().message();
    device_.emplace(std::move(opened.value()));
    ASSERT_TRUE(device_->open_imu().ok());
    ASSERT_TRUE(device_->read_imu().ok());
  }
  void TearDown() override {
    if (device_.has_value()) {
      EXPECT_TRUE(device_->close_imu().ok());
      device_.reset();
    }
    LinuxBackendTest::TearDown();
  }

  std::optional<Device> device_;
};

std::string names_of(const std::vector<long>& numbers) {
  std::string text;
  for (const long number : numbers) {
    text += std::to_string(number) + " ";
  }
  return text;
}

TEST_F(LinuxReadCost, AReadAllocatesNothing) {
  open_streaming_camera();
  ASSERT_TRUE(device_.has_value());
  kernel_.log_accesses(false);
  const long queries_before = kernel_.control_queries();
  test_support::AllocationCount count;
  bool all_read = true;
  for (long i = 0; i < kReads; ++i) {
    all_read = device_->read_imu().ok() && all_read;
  }
  EXPECT_EQ(count.stop(), 0);
  EXPECT_TRUE(all_read);
  EXPECT_EQ(kernel_.control_queries() - queries_before, kReads);
  kernel_.log_accesses(true);
}

TEST_F(LinuxReadCost, AReadMakesOneControlQueryAndNoOtherSystemCall) {
  open_streaming_camera();
  ASSERT_TRUE(device_.has_value());
  kernel_.log_accesses(false);
  const SystemCallCount traced = count_system_calls([this] {
    const long queries_before = kernel_.control_queries();
    long read = 0;
    for (long i = 0; i < kReads; ++i) {
      read += device_->read_imu().ok() ? 1 : 0;
    }
    return std::vector<long>{read, kernel_.control_queries() - queries_before};
  });
  ASSERT_TRUE(traced.traced) << traced.problem;
  // The fake kernel answers the control query in this process, so the query is its one call per read and the
  // process itself asks the real kernel for nothing: no stat, no open, no read of sysfs.
  EXPECT_EQ(traced.system_calls, std::vector<long>{}) << "system calls made: " << names_of(traced.system_calls);
  EXPECT_EQ(traced.body_results, (std::vector<long>{kReads, kReads}));
  kernel_.log_accesses(true);
}

TEST_F(LinuxReadCost, TheSystemCallCountSeesACallTheCodeMakes) {
  // The count is not blind: a file looked at inside the counted code shows up.
  const SystemCallCount traced = count_system_calls([this] {
    std::error_code ignored;
    return std::vector<long>{std::filesystem::exists(kernel_.sysfs_root() / "class", ignored) ? 1L : 0L};
  });
  ASSERT_TRUE(traced.traced) << traced.problem;
  EXPECT_FALSE(traced.system_calls.empty());
  EXPECT_EQ(traced.body_results, std::vector<long>{1});
}

}  // namespace
}  // namespace tovanel::uvc_stereo::linux_testing
