// The V4L2 capture listing on the fake kernel: each camera's capture node, and what the listing's edge makes of an
// exception thrown beneath it.
#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

#include "bridge/os/capture_listing.h"
#include "bridge/platform.h"
#include "linux/linux_fixture.h"
#include "uvc_stereo/vendor_lock.h"

namespace tovanel::uvc_stereo::linux_testing {
namespace {

using Candidates = std::vector<win_detail::WinOpenCvCameraCandidate>;
class LinuxCaptureListing : public LinuxBackendTest {
 protected:
  // With a camera plugged in whose node opens through `open_node`, which throws: the listing is an InternalError
  // with `message`.
  void expect_internal_error_when_opening_with(int (*open_node)(const char*, int), const char* message);
};

int open_that_throws_a_standard_exception(const char*, int) { throw std::runtime_error("node table damaged"); }
int open_that_throws_something_else(const char*, int) { throw 42; }

// Lists the capture nodes, as a scan does, with the vendor lock held.
Result<Candidates> list_capture_nodes() {
  const win_detail::SonixGlobalLock lock;
  return detail::bridge::enumerate_v4l2_backend_candidates();
}

// Lists them on `kernel` whose nodes open through `open_node` instead.
Result<Candidates> list_capture_nodes_opening_with(const FakeKernel& kernel, int (*open_node)(const char*, int)) {
  detail::bridge::LinuxKernel replaced = kernel.table();
  replaced.open_node = open_node;
  detail::bridge::PlatformTable replacements;
  replacements.linux_kernel = &replaced;
  const detail::bridge::PlatformOverride override(replacements);
  return list_capture_nodes();
}

void LinuxCaptureListing::expect_internal_error_when_opening_with(int (*open_node)(const char*, int),
                                                                  const char* message) {
  kernel_.add_camera(supported_camera("SN0001", "1-2", 0));
  const Result<Candidates> listed = list_capture_nodes_opening_with(kernel_, open_node);
  ASSERT_FALSE(listed.ok());
  EXPECT_EQ(listed.status().code(), ErrorCode::InternalError);
  EXPECT_EQ(listed.status().message(), message);
}

TEST_F(LinuxCaptureListing, NamesEachCamerasCaptureNodeByItsNumber) {
  kernel_.add_camera(supported_camera("SN0001", "1-2", 2));
  const Result<Candidates> listed = list_capture_nodes();
  ASSERT_TRUE(listed.ok()) << listed.status().message();
  ASSERT_EQ(listed.value().size(), 1u);
  EXPECT_EQ(listed.value()[0].backend, OpenCvBackend::V4l2);
  EXPECT_EQ(listed.value()[0].index, 2);
  EXPECT_EQ(listed.value()[0].device_path, kernel_.usb_path("1-2"));
}

TEST_F(LinuxCaptureListing, AStandardExceptionBeneathItIsAnInternalErrorWithItsText) {
  expect_internal_error_when_opening_with(open_that_throws_a_standard_exception, "node table damaged");
}

TEST_F(LinuxCaptureListing, AnyOtherExceptionBeneathItIsAnInternalErrorThatNamesTheListing) {
  expect_internal_error_when_opening_with(open_that_throws_something_else,
                                          "unknown exception during V4L2 backend enumeration");
}

}  // namespace
}  // namespace tovanel::uvc_stereo::linux_testing
