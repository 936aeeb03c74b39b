#include "win/backend_candidate.h"

#include <gtest/gtest.h>

#include <string>

#include "uvc_stereo/backend.h"

namespace tovanel::uvc_stereo::win_detail {
namespace {

constexpr const char* kDshowPath =
    "\\\\?\\USB#VID_0C45&PID_6366&MI_00#6&2A4B5C&0&0000#{65E8773D-8F56-11D0-A3B9-00A0C9223196}\\GLOBAL";
constexpr const char* kMsmfLink =
    "\\\\?\\usb#vid_0c45&pid_6366&mi_00#6&2a4b5c&0&0000#{e5323777-f976-4f5b-9b55-b94699c46e44}\\global";

TEST(BackendCandidate, KeepsWhatTheBackendReportedUnchanged) {
  const WinOpenCvCameraCandidate candidate =
      make_backend_candidate(OpenCvBackend::Dshow, 3, "Stereo Camera", kDshowPath);
  EXPECT_EQ(candidate.backend, OpenCvBackend::Dshow);
  EXPECT_EQ(candidate.index, 3);
  EXPECT_EQ(candidate.friendly_name, "Stereo Camera");
  EXPECT_EQ(candidate.device_path, kDshowPath);
}

TEST(BackendCandidate, DerivesCanonicalPathAndIdentityFromTheDevicePath) {
  const WinOpenCvCameraCandidate candidate = make_backend_candidate(OpenCvBackend::Msmf, 0, "Cam", kDshowPath);
  EXPECT_EQ(candidate.normalized_path, "usb#vid_0c45&pid_6366&mi_00#6&2a4b5c&0&0000");
  EXPECT_EQ(candidate.identity.vid, 0x0C45);
  EXPECT_EQ(candidate.identity.pid, 0x6366);
  EXPECT_EQ(candidate.identity.mi, "00");
  EXPECT_EQ(candidate.identity.col, "");
  EXPECT_EQ(candidate.identity.serial, "6&2a4b5c&0&0000");
}

TEST(BackendCandidate, BothBackendsSpellingsOfOneDeviceGetTheSameCanonicalPath) {
  const WinOpenCvCameraCandidate dshow = make_backend_candidate(OpenCvBackend::Dshow, 1, "Cam", kDshowPath);
  const WinOpenCvCameraCandidate msmf = make_backend_candidate(OpenCvBackend::Msmf, 0, "Cam", kMsmfLink);
  EXPECT_EQ(dshow.normalized_path, msmf.normalized_path);
  EXPECT_EQ(dshow.identity.serial, msmf.identity.serial);
}

TEST(BackendCandidate, DevicePathWithoutUsbTokensYieldsVidAndPidZero) {
  const WinOpenCvCameraCandidate candidate = make_backend_candidate(
      OpenCvBackend::Dshow, 0, "OBS Virtual Camera", "@device:sw:{860BB310-5D01-11D0-BD3B-00A0C911CE86}\\{A3FCE0F5}");
  EXPECT_EQ(candidate.identity.vid, 0);
  EXPECT_EQ(candidate.identity.pid, 0);
  EXPECT_EQ(candidate.normalized_path, "{860bb310-5d01-11d0-bd3b-00a0c911ce86}");
}

TEST(BackendCandidate, EmptyDevicePathYieldsEmptyCanonicalPathAndBlankIdentity) {
  const WinOpenCvCameraCandidate candidate = make_backend_candidate(OpenCvBackend::Msmf, 2, "", "");
  EXPECT_EQ(candidate.index, 2);
  EXPECT_TRUE(candidate.normalized_path.empty());
  EXPECT_EQ(candidate.identity.vid, 0);
  EXPECT_EQ(candidate.identity.pid, 0);
  EXPECT_TRUE(candidate.identity.serial.empty());
  EXPECT_TRUE(candidate.identity.mi.empty());
  EXPECT_TRUE(candidate.identity.col.empty());
}

TEST(BackendCandidate, DefaultCandidateNamesNoBackendAndNoIndex) {
  const WinOpenCvCameraCandidate candidate;
  EXPECT_EQ(opencv_backend_name(candidate.backend), "CAP_UNKNOWN");
  EXPECT_EQ(candidate.index, -1);
  EXPECT_TRUE(candidate.device_path.empty());
}

}  // namespace
}  // namespace tovanel::uvc_stereo::win_detail
