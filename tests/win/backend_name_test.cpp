#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>

#include "uvc_stereo/backend.h"

namespace tovanel::uvc_stereo {
namespace {

TEST(OpenCvBackend, UsesOpenCvCaptureApiNumbers) {
  EXPECT_TRUE((std::is_same_v<std::underlying_type_t<OpenCvBackend>, std::int32_t>));
  EXPECT_EQ(static_cast<std::int32_t>(OpenCvBackend::V4l2), 200);
  EXPECT_EQ(static_cast<std::int32_t>(OpenCvBackend::Dshow), 700);
  EXPECT_EQ(static_cast<std::int32_t>(OpenCvBackend::Msmf), 1400);
  EXPECT_EQ(static_cast<std::int32_t>(OpenCvBackend::Gstreamer), 1800);
}

TEST(OpenCvBackendName, NamesVideoForLinux) { EXPECT_EQ(opencv_backend_name(OpenCvBackend::V4l2), "CAP_V4L2"); }

TEST(OpenCvBackendName, NamesDirectShow) { EXPECT_EQ(opencv_backend_name(OpenCvBackend::Dshow), "CAP_DSHOW"); }

TEST(OpenCvBackendName, NamesMediaFoundation) { EXPECT_EQ(opencv_backend_name(OpenCvBackend::Msmf), "CAP_MSMF"); }

TEST(OpenCvBackendName, NamesGstreamer) { EXPECT_EQ(opencv_backend_name(OpenCvBackend::Gstreamer), "CAP_GSTREAMER"); }

TEST(OpenCvBackendName, NamesBackendsFromTheirPlainNumbers) {
  EXPECT_EQ(opencv_backend_name(static_cast<OpenCvBackend>(200)), "CAP_V4L2");
  EXPECT_EQ(opencv_backend_name(static_cast<OpenCvBackend>(700)), "CAP_DSHOW");
  EXPECT_EQ(opencv_backend_name(static_cast<OpenCvBackend>(1400)), "CAP_MSMF");
  EXPECT_EQ(opencv_backend_name(static_cast<OpenCvBackend>(1800)), "CAP_GSTREAMER");
}

TEST(OpenCvBackendName, ZeroHundredAndMinusOneAreUnknown) {
  EXPECT_EQ(opencv_backend_name(static_cast<OpenCvBackend>(0)), "CAP_UNKNOWN");
  EXPECT_EQ(opencv_backend_name(static_cast<OpenCvBackend>(100)), "CAP_UNKNOWN");
  EXPECT_EQ(opencv_backend_name(static_cast<OpenCvBackend>(-1)), "CAP_UNKNOWN");
}

TEST(OpenCvBackendName, NeighboursOfNamedValuesAreUnknown) {
  EXPECT_EQ(opencv_backend_name(static_cast<OpenCvBackend>(701)), "CAP_UNKNOWN");
  EXPECT_EQ(opencv_backend_name(static_cast<OpenCvBackend>(1399)), "CAP_UNKNOWN");
}

}  // namespace
}  // namespace tovanel::uvc_stereo
