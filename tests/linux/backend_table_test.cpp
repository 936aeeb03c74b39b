#include <gtest/gtest.h>

#include <string>

#include "bridge/backends/linux_backend.h"
#include "bridge/vendor_backend.h"

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

TEST(LinuxBackendTable, FillsEveryEntry) {
  EXPECT_TRUE(complete_vendor_backend(linux_vendor_backend()));
  EXPECT_EQ(std::string(linux_vendor_backend().name), "Linux UVC");
}

}  // namespace
}  // namespace tovanel::uvc_stereo::detail::bridge
