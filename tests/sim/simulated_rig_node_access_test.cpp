// A camera whose video node this account may not open, as the Linux kernel refuses it: what the rig answers through
// the node and without it, and how the look for such cameras names it.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <vector>

#include "sim/simulated_rig_fixture.h"
#include "uvc_stereo/camera_access.h"

namespace tovanel::uvc_stereo::sim::rig_testing {
namespace {

SimulatedCamera refused_camera(const std::string& serial, SimulatedNodeAccess access) {
  SimulatedCamera camera = supported_camera(serial);
  camera.node_access = access;
  return camera;
}

std::vector<CameraAccessProblem> problems() {
  Result<std::vector<CameraAccessProblem>> found = find_camera_access_problems();
  EXPECT_TRUE(found.ok()) << found.status().message();
  return found.ok() ? found.value() : std::vector<CameraAccessProblem>();
}

constexpr char kPermissionFix[] =
    "add this account to the group video: sudo usermod -aG video $USER, then log in again; if that is not enough, "
    "install the SDK's udev rule 70-tovanel-uvc-stereo.rules (its package puts it in /usr/lib/udev/rules.d), then "
    "unplug and replug the camera";

using RefusedNode = OneCameraSessionTest;

TEST_F(RefusedNode, ACameraIsAllowedItsNodeUnlessMarkedOtherwise) {
  EXPECT_EQ(SimulatedCamera().node_access, SimulatedNodeAccess::Allowed);
}

TEST_F(RefusedNode, ItsDescriptorsStillAnswerAsTheyNeedNoNode) {
  open_session_on(refused_camera("SN1", SimulatedNodeAccess::PermissionDenied));
  std::uint8_t ids[4] = {};
  EXPECT_TRUE(SonixCam_GetDevDescriptor(&record_, 0, ids, sizeof(ids), 0, 0));
  EXPECT_EQ(ids[0], 0x0C);
  char serial[64] = {};
  EXPECT_TRUE(SonixCam_GetDevDescriptor(&record_, 4, reinterpret_cast<std::uint8_t*>(serial), sizeof(serial), 0, 0));
  EXPECT_STREQ(serial, "SN1");
}

TEST_F(RefusedNode, TheExtensionUnitFailsAsTheKernelsRefusalReachesTheLibrary) {
  open_session_on(refused_camera("SN1", SimulatedNodeAccess::PermissionDenied));
  static const std::uint8_t guid[16] = {0x94, 0x73, 0xDF, 0xDD, 0x3E, 0x97, 0x27, 0x47,
                                        0xBE, 0xD9, 0x04, 0xED, 0x64, 0x26, 0xDC, 0x67};
  EXPECT_FALSE(SonixCam_SetNodeID(&record_, 4, guid));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecGetKsControlFail);
  std::uint8_t sample[17] = {};
  EXPECT_FALSE(SonixCam_XuRead(&record_, sample, sizeof(sample), 10, 4));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecGetKsControlFail);
  char version[32] = {};
  EXPECT_FALSE(SonixCam_GetVersion(&record_, version, sizeof(version), 0));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecGetKsControlFail);
}

TEST_F(RefusedNode, EveryFlashCallFailsAndTheFlashIsUntouched) {
  open_session_on(refused_camera("SN1", SimulatedNodeAccess::Busy));
  rig_.set_flash(camera_, 0x51000, {0x12, 0x34});
  SonixLib::SERIAL_FLASH_TYPE type = 0;
  EXPECT_FALSE(SonixCam_GetSerialFlashType(&record_, &type));
  std::uint8_t bytes[2] = {};
  EXPECT_FALSE(SonixCam_CstmReadFromSF(&record_, 0x51000, bytes, sizeof(bytes)));
  EXPECT_EQ(bytes[0], 0);
  EXPECT_FALSE(SonixCam_SetStatusRegBitWP(&record_, 2, 5, 1, 6, 2, 3));
  EXPECT_FALSE(SonixCam_SetWriteProtectedSF(&record_, 1, 1));
  EXPECT_TRUE(rig_.write_protected(camera_));
  EXPECT_FALSE(SonixCam_SectorEraseSF(&record_, 0x51000, 0x20));
  const std::uint8_t zeros[2] = {0, 0};
  EXPECT_FALSE(SonixCam_WriteToSF(&record_, 0x51000, zeros, sizeof(zeros)));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecGetKsControlFail);
  EXPECT_EQ(rig_.flash(camera_, 0x51000, 2), (std::vector<std::uint8_t>{0x12, 0x34}));
  for (const VendorCall& call : rig_.calls()) {
    if (call.name != "SonixCam_Init" && call.name != "SonixCam_EnumCameras" && call.name != "SonixCam_GetErrorCode") {
      EXPECT_FALSE(call.succeeded) << call.name;
    }
  }
}

class RefusedNodeLook : public ::testing::Test {
 protected:
  SimulatedRig rig_;
};

TEST_F(RefusedNodeLook, ACameraWithoutPermissionIsNamedWithLinuxsReasonAndFix) {
  SimulatedCamera camera = refused_camera("SN1", SimulatedNodeAccess::PermissionDenied);
  rig_.add_camera(camera);
  const std::vector<CameraAccessProblem> found = problems();
  ASSERT_EQ(found.size(), 2u);  // the capture node and the metadata node
  EXPECT_EQ(found[0].device_path, camera.device_path);
  EXPECT_EQ(found[0].node, "/dev/video0");
  EXPECT_EQ(found[1].node, "/dev/video1");
  EXPECT_EQ(found[0].system_error, EACCES);
  EXPECT_EQ(found[0].reason, "Permission denied");
  EXPECT_EQ(found[0].fix, kPermissionFix);
}

TEST_F(RefusedNodeLook, ABusyCameraAsksToCloseTheOtherProgram) {
  rig_.add_camera(refused_camera("SN1", SimulatedNodeAccess::Busy));
  const std::vector<CameraAccessProblem> found = problems();
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].system_error, EBUSY);
  EXPECT_EQ(found[0].reason, "Device or resource busy");
  EXPECT_EQ(found[0].fix, "another program holds the node: close it and retry");
}

TEST_F(RefusedNodeLook, NodesAreNumberedByRigIndexAndOnlyRefusedOnesAreNamed) {
  rig_.add_camera(supported_camera("SN1"));
  rig_.add_camera(refused_camera("SN2", SimulatedNodeAccess::PermissionDenied));
  const std::vector<CameraAccessProblem> found = problems();
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].node, "/dev/video2");
  EXPECT_EQ(found[1].node, "/dev/video3");
}

TEST_F(RefusedNodeLook, AnUnpluggedCameraIsNoProblemUntilPluggedBack) {
  const int camera = rig_.add_camera(refused_camera("SN1", SimulatedNodeAccess::PermissionDenied));
  rig_.unplug(camera);
  EXPECT_TRUE(problems().empty());
  rig_.plug(camera);
  EXPECT_EQ(problems().size(), 2u);
}

TEST_F(RefusedNodeLook, ACameraOfAnotherMakerIsNotTheSdksProblem) {
  SimulatedCamera webcam = refused_camera("WEB1", SimulatedNodeAccess::PermissionDenied);
  webcam.vendor_id = 0x046d;
  webcam.product_id = 0x0825;
  rig_.add_camera(webcam);
  EXPECT_TRUE(problems().empty());
}

TEST_F(RefusedNodeLook, TheLookMakesNoVendorCallAndBreaksNoRule) {
  rig_.add_camera(refused_camera("SN1", SimulatedNodeAccess::PermissionDenied));
  EXPECT_EQ(problems().size(), 2u);
  EXPECT_TRUE(rig_.calls().empty());
  EXPECT_TRUE(rig_.violations().empty());
}

TEST_F(RefusedNodeLook, GivenAccessTheCameraIsNoProblemAndItsNodeAnswers) {
  const int camera = rig_.add_camera(refused_camera("SN1", SimulatedNodeAccess::PermissionDenied));
  ASSERT_EQ(problems().size(), 2u);
  rig_.set_node_access(camera, SimulatedNodeAccess::Allowed);
  EXPECT_TRUE(problems().empty());
  rig_.set_node_access(camera, SimulatedNodeAccess::Busy);
  const std::vector<CameraAccessProblem> found = problems();
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].system_error, EBUSY);
}

TEST_F(RefusedNodeLook, TheKernelListingStaysTheKernelsOwn) {
  rig_.add_camera(refused_camera("SN1", SimulatedNodeAccess::PermissionDenied));
  const Result<KernelVideoListing> listing = list_kernel_video_devices();
  ASSERT_TRUE(listing.ok());
  EXPECT_FALSE(listing.value().available);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::sim::rig_testing
