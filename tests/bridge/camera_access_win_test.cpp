// On Windows every account may use its cameras and there are no device nodes: the access look finds nothing, and
// the kernel listing says it is Linux-only.
#include <gtest/gtest.h>

#include "uvc_stereo/camera_access.h"

namespace tovanel::uvc_stereo {
namespace {

TEST(CameraAccessOnWindows, NoCameraIsEverAnAccessProblem) {
  const Result<std::vector<CameraAccessProblem>> found = find_camera_access_problems();
  ASSERT_TRUE(found.ok()) << found.status().message();
  EXPECT_TRUE(found.value().empty());
}

TEST(CameraAccessOnWindows, TheKernelListingSaysItIsLinuxOnly) {
  const Result<KernelVideoListing> listing = list_kernel_video_devices();
  ASSERT_TRUE(listing.ok()) << listing.status().message();
  EXPECT_FALSE(listing.value().available);
  EXPECT_EQ(listing.value().note, "the kernel's video device listing is Linux-only");
  EXPECT_TRUE(listing.value().devices.empty());
  EXPECT_TRUE(listing.value().udev_rules.empty());
}

}  // namespace
}  // namespace tovanel::uvc_stereo
