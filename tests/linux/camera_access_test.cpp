// Which supported cameras this account cannot use, and the fix, on a fake kernel: nodes without permission, with
// and without the SDK's udev rule, a node gone while sysfs still lists its camera, and the devices that are not
// cameras of the SDK.
#include "uvc_stereo/camera_access.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "linux/linux_fixture.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/uvc_stereo_c.h"

namespace tovanel::uvc_stereo::linux_testing {
namespace {

using CameraAccess = LinuxBackendTest;

std::vector<CameraAccessProblem> problems() {
  Result<std::vector<CameraAccessProblem>> found = find_camera_access_problems();
  EXPECT_TRUE(found.ok()) << found.status().message();
  return found.ok() ? found.value() : std::vector<CameraAccessProblem>();
}

TEST_F(CameraAccess, ANodeWithoutPermissionIsFoundWithTheSystemsReason) {
  kernel_.add_camera(forbidden_camera("1-2", 0));
  const std::vector<CameraAccessProblem> found = problems();
  ASSERT_EQ(found.size(), 2u);  // the capture node and the metadata node
  EXPECT_EQ(found[0].device_path, kernel_.usb_path("1-2"));
  EXPECT_EQ(found[0].node, kernel_.dev_node(0));
  EXPECT_EQ(found[1].node, kernel_.dev_node(1));
  EXPECT_EQ(found[0].system_error, EACCES);
  EXPECT_EQ(found[0].reason, "Permission denied");
}

TEST_F(CameraAccess, TheFixNamesTheNodesGroupAndTheMissingRule) {
  kernel_.add_camera(forbidden_camera("1-2", 0));
  const std::vector<CameraAccessProblem> found = problems();
  ASSERT_FALSE(found.empty());
  EXPECT_EQ(found[0].fix,
            "add this account to the group video: sudo usermod -aG video $USER, then log in again; if that is not "
            "enough, install the SDK's udev rule 70-tovanel-uvc-stereo.rules (its package puts it in "
            "/usr/lib/udev/rules.d), then unplug and replug the camera");
}

TEST_F(CameraAccess, TheFixNamesTheInstalledRuleThatHasNotAppliedYet) {
  const std::string rule = kernel_.install_udev_rule("usr/lib/udev/rules.d").string();
  kernel_.add_camera(forbidden_camera("1-2", 0));
  const std::vector<CameraAccessProblem> found = problems();
  ASSERT_FALSE(found.empty());
  EXPECT_EQ(found[0].fix,
            "add this account to the group video: sudo usermod -aG video $USER, then log in again; "
            "the SDK's udev rule " +
                rule +
                " is installed but does not apply to this node yet: unplug and replug the camera, or "
                "run sudo udevadm trigger");
}

TEST_F(CameraAccess, ANodeOfTheSuperusersGroupIsFixedByTheRuleAlone) {
  FakeUvcCamera camera = forbidden_camera("1-2", 0);
  camera.node_group = "root";
  camera.node_mode = 0600;
  kernel_.add_camera(camera);
  const std::vector<CameraAccessProblem> found = problems();
  ASSERT_FALSE(found.empty());
  EXPECT_EQ(found[0].fix,
            "install the SDK's udev rule 70-tovanel-uvc-stereo.rules (its package puts it in /usr/lib/udev/rules.d), "
            "then unplug and replug the camera");
}

TEST_F(CameraAccess, NoCameraAtAllIsNoProblem) { EXPECT_TRUE(problems().empty()); }

TEST_F(CameraAccess, ACameraThatOpensIsNoProblem) {
  kernel_.add_camera(supported_camera("SN0001", "1-2", 0));
  EXPECT_TRUE(problems().empty());
}

TEST_F(CameraAccess, ANodeGoneWhileSysfsStillListsItsCameraSaysItWasUnplugged) {
  kernel_.add_camera(supported_camera("SN0001", "1-2", 0));
  kernel_.remove_node(0);
  const std::vector<CameraAccessProblem> found = problems();
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].node, kernel_.dev_node(0));
  EXPECT_EQ(found[0].system_error, ENOENT);
  EXPECT_EQ(found[0].reason, "No such file or directory");
  EXPECT_EQ(found[0].fix,
            "the kernel lists the camera but its node is gone: it was unplugged, or udev has not made the node yet; "
            "plug the camera in again and retry");
}

TEST_F(CameraAccess, ABusyNodeAsksToCloseTheOtherProgram) {
  FakeUvcCamera camera = supported_camera("SN0001", "1-2", 0);
  camera.open_error = EBUSY;
  kernel_.add_camera(camera);
  const std::vector<CameraAccessProblem> found = problems();
  ASSERT_FALSE(found.empty());
  EXPECT_EQ(found[0].reason, "Device or resource busy");
  EXPECT_EQ(found[0].fix, "another program holds the node: close it and retry");
}

TEST_F(CameraAccess, OtherVideoDevicesAreNotTheSdksProblem) {
  FakeUvcCamera webcam = other_makers_webcam("1-3", 2);
  webcam.open_error = EACCES;
  kernel_.add_camera(webcam);
  kernel_.add_non_usb_node(7);
  EXPECT_TRUE(problems().empty());
}

TEST_F(CameraAccess, EachForbiddenCameraIsNamedInNodeOrder) {
  kernel_.add_camera(forbidden_camera("1-4", 2));
  kernel_.add_camera(supported_camera("SN0002", "1-3", 4));
  kernel_.add_camera(forbidden_camera("1-2", 0));
  const std::vector<CameraAccessProblem> found = problems();
  ASSERT_EQ(found.size(), 4u);
  EXPECT_EQ(found[0].node, kernel_.dev_node(0));
  EXPECT_EQ(found[2].node, kernel_.dev_node(2));
  EXPECT_EQ(found[2].device_path, kernel_.usb_path("1-4"));
}

TEST_F(CameraAccess, TheLookMakesNoVendorCallAndLeavesNoNodeOpen) {
  kernel_.add_camera(forbidden_camera("1-2", 0));
  kernel_.add_camera(supported_camera("SN0002", "1-3", 2));
  EXPECT_EQ(problems().size(), 2u);
  EXPECT_TRUE(call_names().empty());
  EXPECT_EQ(kernel_.open_descriptors(), 0);
  // The kernel table is used under the vendor lock, as everywhere.
  for (const KernelAccess& access : kernel_.accesses()) {
    EXPECT_TRUE(access.lock_held) << access.what;
  }
}

TEST_F(CameraAccess, TheDeviceTheProblemNamesIsTheOneTheScanLists) {
  kernel_.add_camera(forbidden_camera("1-2", 0));
  const Result<std::vector<DeviceInfo>> scan = scan_devices();
  ASSERT_TRUE(scan.ok()) << scan.status().message();
  ASSERT_EQ(scan.value().size(), 1u);
  const std::vector<CameraAccessProblem> found = problems();
  ASSERT_FALSE(found.empty());
  EXPECT_EQ(found[0].device_path, scan.value()[0].device_path);
}

TEST_F(CameraAccess, ASimulatedRigIsNotTheKernelsBusiness) {
  kernel_.add_camera(forbidden_camera("1-2", 0));
  sim::SimulatedRig rig;
  EXPECT_TRUE(problems().empty());
  const Result<KernelVideoListing> listing = list_kernel_video_devices();
  ASSERT_TRUE(listing.ok());
  EXPECT_FALSE(listing.value().available);
  EXPECT_EQ(listing.value().note, "the cameras are served by the simulated backend, not by the kernel");
}

TEST_F(CameraAccess, TheListingShowsEveryUsbVideoDeviceWithItsNodesOwnership) {
  kernel_.add_camera(forbidden_camera("1-2", 0));
  kernel_.add_camera(other_makers_webcam("1-3", 2));
  kernel_.add_non_usb_node(7);
  const Result<KernelVideoListing> listing = list_kernel_video_devices();
  ASSERT_TRUE(listing.ok()) << listing.status().message();
  const KernelVideoListing& seen = listing.value();
  EXPECT_TRUE(seen.available);
  EXPECT_TRUE(seen.note.empty());
  EXPECT_TRUE(seen.udev_rules.empty());
  ASSERT_EQ(seen.devices.size(), 2u);
  const KernelVideoDevice& camera = seen.devices[0];
  EXPECT_EQ(camera.bus_name, "1-2");
  EXPECT_EQ(camera.device_path, kernel_.usb_path("1-2"));
  EXPECT_EQ(camera.vendor_id, 0x0c45);
  EXPECT_TRUE(camera.supported);
  ASSERT_EQ(camera.nodes.size(), 2u);
  EXPECT_EQ(camera.nodes[0].path, kernel_.dev_node(0));
  EXPECT_EQ(camera.nodes[0].owner, "root");
  EXPECT_EQ(camera.nodes[0].group, "video");
  EXPECT_EQ(camera.nodes[0].mode, 0660u);
  EXPECT_FALSE(camera.nodes[0].may_open);
  EXPECT_EQ(camera.nodes[0].reason, "Permission denied");
  const KernelVideoDevice& webcam = seen.devices[1];
  EXPECT_EQ(webcam.vendor_id, 0x046d);
  EXPECT_EQ(webcam.product_id, 0x0825);
  EXPECT_FALSE(webcam.supported);
  ASSERT_EQ(webcam.nodes.size(), 2u);
  EXPECT_TRUE(webcam.nodes[0].may_open);
  EXPECT_EQ(webcam.nodes[0].system_error, 0);
  EXPECT_TRUE(webcam.nodes[0].reason.empty());
}

TEST_F(CameraAccess, TheListingFindsTheRuleInEachOfUdevsDirectories) {
  const std::string administrators = kernel_.install_udev_rule("etc/udev/rules.d").string();
  const std::string packages = kernel_.install_udev_rule("lib/udev/rules.d").string();
  const Result<KernelVideoListing> listing = list_kernel_video_devices();
  ASSERT_TRUE(listing.ok());
  EXPECT_EQ(listing.value().udev_rules, (std::vector<std::string>{administrators, packages}));
}

TEST_F(CameraAccess, TheListingOfAMachineWithoutCamerasIsEmptyButAvailable) {
  const Result<KernelVideoListing> listing = list_kernel_video_devices();
  ASSERT_TRUE(listing.ok());
  EXPECT_TRUE(listing.value().available);
  EXPECT_TRUE(listing.value().devices.empty());
}

TEST_F(CameraAccess, AMissingNodeIsListedWithoutOwner) {
  kernel_.add_camera(supported_camera("SN0001", "1-2", 0));
  kernel_.remove_node(1);
  const Result<KernelVideoListing> listing = list_kernel_video_devices();
  ASSERT_TRUE(listing.ok());
  ASSERT_EQ(listing.value().devices.size(), 1u);
  const KernelVideoNode& metadata = listing.value().devices[0].nodes.at(1);
  EXPECT_TRUE(metadata.owner.empty());
  EXPECT_EQ(metadata.mode, 0u);
  EXPECT_EQ(metadata.system_error, ENOENT);
}

TEST_F(CameraAccess, TheCInterfaceHandsOutTheSameProblems) {
  kernel_.add_camera(forbidden_camera("1-2", 0));
  uvc_stereo_camera_access_list_t* list = nullptr;
  ASSERT_EQ(uvc_stereo_find_camera_access_problems(&list), UVC_STEREO_OK);
  std::size_t count = 0;
  ASSERT_EQ(uvc_stereo_camera_access_list_count(list, &count), UVC_STEREO_OK);
  ASSERT_EQ(count, 2u);
  uvc_stereo_camera_access_problem_t problem{};
  problem.struct_size = sizeof(problem);
  ASSERT_EQ(uvc_stereo_camera_access_list_get(list, 1, &problem), UVC_STEREO_OK);
  EXPECT_EQ(problem.system_error, EACCES);
  EXPECT_STREQ(problem.device_path, kernel_.usb_path("1-2").c_str());
  EXPECT_STREQ(problem.node, kernel_.dev_node(1).c_str());
  EXPECT_STREQ(problem.reason, "Permission denied");
  EXPECT_STREQ(problem.fix, problems().at(1).fix.c_str());
  uvc_stereo_camera_access_list_free(list);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::linux_testing
