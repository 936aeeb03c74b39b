#include "bridge/backend_matching.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "uvc_stereo/backend.h"
#include "uvc_stereo/records.h"
#include "win/backend_candidate.h"

namespace tovanel::uvc_stereo::win_detail {
namespace {

using Indices = std::map<OpenCvBackend, int>;

DeviceInfo make_device(std::uint16_t vid, std::uint16_t pid, std::string path, std::string name = "",
                       std::string serial = "") {
  DeviceInfo device;
  device.vendor_id = vid;
  device.product_id = pid;
  device.device_path = std::move(path);
  device.friendly_name = std::move(name);
  device.serial_number = std::move(serial);
  return device;
}

WinOpenCvCameraCandidate dshow(int index, std::string path, std::string name = "") {
  return make_backend_candidate(OpenCvBackend::Dshow, index, std::move(name), std::move(path));
}

WinOpenCvCameraCandidate msmf(int index, std::string path, std::string name = "") {
  return make_backend_candidate(OpenCvBackend::Msmf, index, std::move(name), std::move(path));
}

std::vector<DeviceInfo*> pointers_to(std::vector<DeviceInfo>& devices) {
  std::vector<DeviceInfo*> pointers;
  for (DeviceInfo& device : devices) {
    pointers.push_back(&device);
  }
  return pointers;
}

void match(std::vector<DeviceInfo>& devices, const std::vector<WinOpenCvCameraCandidate>& candidates) {
  detail::bridge::match_backend_candidates(pointers_to(devices), candidates);
}

// A vendor-library path with no USB identity in it: only the path pass can match it.
constexpr const char* kRootPath = "\\\\?\\ROOT#CAMERA#0000#{65E8773D-8F56-11D0-A3B9-00A0C9223196}\\GLOBAL";

TEST(BackendMatching, EmptyCandidateListLeavesEveryMapUntouched) {
  std::vector<DeviceInfo> devices = {make_device(0x0C45, 0x6366, kRootPath, "Cam")};
  match(devices, {});
  EXPECT_TRUE(devices[0].backend_indices.empty());
}

TEST(BackendMatching, EmptyDeviceListIsHarmless) {
  std::vector<DeviceInfo> devices;
  match(devices, {dshow(0, kRootPath)});
  EXPECT_TRUE(devices.empty());
}

TEST(BackendMatching, PathPassMatchesTwoSpellingsOfTheSamePath) {
  std::vector<DeviceInfo> devices = {make_device(0, 0, kRootPath)};
  match(devices, {dshow(0, "@device:pnp:\\\\?\\root#camera#0001#{x}\\global"),
                  dshow(1, "@device:pnp:\\\\?\\root#camera#0000#{65e8773d-8f56-11d0-a3b9-00a0c9223196}\\global")});
  EXPECT_EQ(devices[0].backend_indices, (Indices{{OpenCvBackend::Dshow, 1}}));
}

TEST(BackendMatching, PathPassNeedsANonEmptyPath) {
  // Both sides blank: equal strings, but no evidence.
  std::vector<DeviceInfo> devices = {make_device(0, 0, "  ")};
  match(devices, {dshow(0, "")});
  EXPECT_TRUE(devices[0].backend_indices.empty());
}

TEST(BackendMatching, TwoCandidatesWithTheDevicesPathAreNotMatchedByPathAlone) {
  std::vector<DeviceInfo> devices = {make_device(0, 0, kRootPath, "Cam")};
  match(devices, {dshow(0, "\\\\?\\root#camera#0000"), dshow(1, "ROOT/CAMERA/0000")});
  EXPECT_TRUE(devices[0].backend_indices.empty());
}

TEST(BackendMatching, AfterAnAmbiguousPathALaterPassMayStillMatchOneOfTheTwo) {
  // Same canonical path, same serial token: passes 1 to 3 see two candidates. Only the name
  // singles one out, and it is the second in list order, so order cannot have decided it.
  std::vector<DeviceInfo> devices = {
      make_device(0x0C45, 0x6366, "\\\\?\\USB#VID_0C45&PID_6366#SN1", "Right Cam", "SN1")};
  match(devices, {dshow(4, "usb#vid_0c45&pid_6366#sn1", "Left Cam"),
                  dshow(5, "\\\\?\\usb#vid_0c45&pid_6366#sn1#{guid}\\global", "right cam")});
  EXPECT_EQ(devices[0].backend_indices, (Indices{{OpenCvBackend::Dshow, 5}}));
}

TEST(BackendMatching, InterfaceNumberOnBothSidesWithoutSerialMatchesInTheIdentityPass) {
  // Different canonical paths, no serial on either side, different names: only mi ties them.
  std::vector<DeviceInfo> devices = {make_device(0x0C45, 0x6366, "\\\\?\\usb#vid_0c45&pid_6366&mi_00", "Cam")};
  match(devices, {msmf(0, "usb#vid_0c45&pid_6366&mi_02", "Other"),
                  msmf(1, "usb#vid_0c45&pid_6366&rev_0100&mi_00", "USB Video Device")});
  EXPECT_EQ(devices[0].backend_indices, (Indices{{OpenCvBackend::Msmf, 1}}));
}

TEST(BackendMatching, IdentityPassMatchesOnASharedSerialToken) {
  std::vector<DeviceInfo> devices = {make_device(0x0C45, 0x6366, "usb#vid_0c45&pid_6366#7&1a2b&0&1")};
  match(devices, {dshow(0, "usb#vid_0c45&pid_6366#7&ffff&0&1"), dshow(1, "usb#vid_0c45&pid_6366&mi_00#7&1a2b&0&1")});
  EXPECT_EQ(devices[0].backend_indices, (Indices{{OpenCvBackend::Dshow, 1}}));
}

TEST(BackendMatching, IdentityPassMatchesOnCollectionNumber) {
  std::vector<DeviceInfo> devices = {make_device(0x0C45, 0x6366, "usb#vid_0c45&pid_6366&col01")};
  match(devices, {dshow(0, "usb#vid_0c45&pid_6366&col02"), dshow(1, "usb#vid_0c45&pid_6366&rev_1&col01")});
  EXPECT_EQ(devices[0].backend_indices, (Indices{{OpenCvBackend::Dshow, 1}}));
}

TEST(BackendMatching, IdentityPassRejectsAnAgreeingInterfaceWhenTheSerialsDiffer) {
  std::vector<DeviceInfo> devices = {make_device(0x0C45, 0x6366, "usb#vid_0c45&pid_6366&mi_00#aaa")};
  match(devices, {dshow(0, "usb#vid_0c45&pid_6366&mi_00#bbb")});
  EXPECT_TRUE(devices[0].backend_indices.empty());
}

TEST(BackendMatching, IdentityPassNeedsAComparisonOnBothSides) {
  // The device has only a serial token, the candidate only an interface number: nothing was compared.
  std::vector<DeviceInfo> devices = {make_device(0x0C45, 0x6366, "usb#vid_0c45&pid_6366#abc")};
  match(devices, {dshow(0, "usb#vid_0c45&pid_6366&mi_00")});
  EXPECT_TRUE(devices[0].backend_indices.empty());
}

TEST(BackendMatching, IdentityPassNeedsEqualIds) {
  std::vector<DeviceInfo> devices = {make_device(0x0C45, 0x6366, "usb#vid_0c45&pid_6366&mi_00")};
  match(devices, {dshow(0, "usb#vid_0c45&pid_6367&mi_00")});
  EXPECT_TRUE(devices[0].backend_indices.empty());
}

TEST(BackendMatching, AmbiguousIdentityLeavesTheDeviceUnmatched) {
  std::vector<DeviceInfo> devices = {make_device(0x0C45, 0x6366, "usb#vid_0c45&pid_6366&mi_00")};
  match(devices, {dshow(0, "usb#vid_0c45&pid_6366&mi_00&rev_1"), dshow(1, "usb#vid_0c45&pid_6366&mi_00&rev_2")});
  EXPECT_TRUE(devices[0].backend_indices.empty());
}

TEST(BackendMatching, SerialPassComparesTheSerialNumberWithTheCandidatesInstancePart) {
  // The device's path has no instance part, so the identity pass cannot apply.
  std::vector<DeviceInfo> devices = {make_device(0x0C45, 0x6366, "usb#vid_0c45&pid_6366", "Cam", "AbC123")};
  match(devices, {dshow(0, "usb#vid_0c45&pid_6366#zzz9", "Cam"), dshow(1, "USB#VID_0C45&PID_6366#ABC123", "Cam")});
  EXPECT_EQ(devices[0].backend_indices, (Indices{{OpenCvBackend::Dshow, 1}}));
}

TEST(BackendMatching, SerialPassNeedsEqualIds) {
  std::vector<DeviceInfo> devices = {make_device(0x0C45, 0x6366, "usb#vid_0c45&pid_6366", "", "abc")};
  match(devices, {dshow(0, "usb#vid_0c45&pid_6399#abc")});
  EXPECT_TRUE(devices[0].backend_indices.empty());
}

TEST(BackendMatching, AmbiguousSerialLeavesTheDeviceUnmatched) {
  std::vector<DeviceInfo> devices = {make_device(0x0C45, 0x6366, "usb#vid_0c45&pid_6366", "", "abc")};
  match(devices, {dshow(0, "usb#vid_0c45&pid_6366#abc"), dshow(1, "usb#vid_0c45&pid_6366&rev_2#abc")});
  EXPECT_TRUE(devices[0].backend_indices.empty());
}

TEST(BackendMatching, NamePassComparesNamesIgnoringAsciiCase) {
  std::vector<DeviceInfo> devices = {make_device(0x0C45, 0x6366, "vendor-path-1", "Stereo Cam")};
  match(devices, {dshow(0, "usb#vid_0c45&pid_6366&mi_00#1", "Other Cam"),
                  dshow(1, "usb#vid_0c45&pid_6366&mi_00#2", "STEREO CAM")});
  EXPECT_EQ(devices[0].backend_indices, (Indices{{OpenCvBackend::Dshow, 1}}));
}

TEST(BackendMatching, NamePassNeedsIdsOnTheCandidate) {
  std::vector<DeviceInfo> devices = {make_device(0x0C45, 0x6366, "vendor-path-1", "Stereo Cam")};
  match(devices, {dshow(0, "@device:sw:{guid}\\{other}", "Stereo Cam")});
  EXPECT_TRUE(devices[0].backend_indices.empty());
}

TEST(BackendMatching, NamePassNeedsANonEmptyName) {
  std::vector<DeviceInfo> devices = {make_device(0x0C45, 0x6366, "vendor-path-1", "")};
  match(devices, {dshow(0, "usb#vid_0c45&pid_6366&mi_00#1", "")});
  EXPECT_TRUE(devices[0].backend_indices.empty());
}

TEST(BackendMatching, AmbiguousNameLeavesTheDeviceUnmatched) {
  std::vector<DeviceInfo> devices = {make_device(0x0C45, 0x6366, "vendor-path-1", "Stereo Cam")};
  match(devices, {dshow(0, "usb#vid_0c45&pid_6366&mi_00#1", "Stereo Cam"),
                  dshow(1, "usb#vid_0c45&pid_6366&mi_00#2", "Stereo Cam")});
  EXPECT_TRUE(devices[0].backend_indices.empty());
}

TEST(BackendMatching, DeviceWithUnknownIdsTakesThemFromItsPath) {
  std::vector<DeviceInfo> devices = {make_device(0, 0, "\\\\?\\USB#VID_0C45&PID_6366", "Stereo Cam")};
  match(devices, {dshow(0, "usb#vid_0c45&pid_6366&mi_00#7&1", "stereo cam")});
  EXPECT_EQ(devices[0].backend_indices, (Indices{{OpenCvBackend::Dshow, 0}}));
}

TEST(BackendMatching, KnownDeviceIdsWinOverTheIdsInItsPath) {
  std::vector<DeviceInfo> devices = {make_device(0x1234, 0x5678, "\\\\?\\USB#VID_0C45&PID_6366", "Stereo Cam")};
  match(devices, {dshow(0, "usb#vid_0c45&pid_6366&mi_00#7&1", "Stereo Cam")});
  EXPECT_TRUE(devices[0].backend_indices.empty());
}

TEST(BackendMatching, EarlierPassWinsOverAnEarlierCandidate) {
  // Candidate 0 agrees by name only, candidate 1 by path: the path pass runs first.
  std::vector<DeviceInfo> devices = {make_device(0x0C45, 0x6366, "usb#vid_0c45&pid_6366&mi_00#7&1", "Cam")};
  match(devices, {dshow(0, "usb#vid_0c45&pid_6366&mi_02#7&2", "Cam"), dshow(1, "usb#vid_0c45&pid_6366&mi_00#7&1")});
  EXPECT_EQ(devices[0].backend_indices, (Indices{{OpenCvBackend::Dshow, 1}}));
}

TEST(BackendMatching, UsedCandidateIsNotCountedAgain) {
  // The first device takes candidate 0 by path; by name the second device would see candidates 0
  // and 1, but only the unused one counts, so it is no longer ambiguous.
  std::vector<DeviceInfo> devices = {make_device(0x0C45, 0x6366, "usb#vid_0c45&pid_6366&mi_00#1", "Cam"),
                                     make_device(0x0C45, 0x6366, "vendor-path-2", "Cam")};
  match(devices, {dshow(7, "usb#vid_0c45&pid_6366&mi_00#1", "Cam"), dshow(8, "usb#vid_0c45&pid_6366&mi_00#2", "Cam")});
  EXPECT_EQ(devices[0].backend_indices, (Indices{{OpenCvBackend::Dshow, 7}}));
  EXPECT_EQ(devices[1].backend_indices, (Indices{{OpenCvBackend::Dshow, 8}}));
}

TEST(BackendMatching, UsedCandidateIsNotGivenToASecondDevice) {
  std::vector<DeviceInfo> devices = {make_device(0x0C45, 0x6366, "vendor-path-1", "Cam"),
                                     make_device(0x0C45, 0x6366, "vendor-path-2", "Cam")};
  match(devices, {dshow(3, "usb#vid_0c45&pid_6366&mi_00#1", "Cam")});
  EXPECT_EQ(devices[0].backend_indices, (Indices{{OpenCvBackend::Dshow, 3}}));
  EXPECT_TRUE(devices[1].backend_indices.empty());
}

TEST(BackendMatching, EachDeviceGetsItsOwnCandidateInOneList) {
  std::vector<DeviceInfo> devices = {make_device(0x0C45, 0x6366, "usb#vid_0c45&pid_6366&mi_00#6&aa&0&1"),
                                     make_device(0x0C45, 0x6367, "usb#vid_0c45&pid_6367&mi_00#6&bb&0&1")};
  match(devices, {dshow(0, "\\\\?\\USB#VID_0C45&PID_6367&MI_00#6&BB&0&1#{guid}\\global"),
                  dshow(1, "\\\\?\\USB#VID_0C45&PID_6366&MI_00#6&AA&0&1#{guid}\\global")});
  EXPECT_EQ(devices[0].backend_indices, (Indices{{OpenCvBackend::Dshow, 1}}));
  EXPECT_EQ(devices[1].backend_indices, (Indices{{OpenCvBackend::Dshow, 0}}));
}

TEST(BackendMatching, DeviceSeenOnlyByMediaFoundationCarriesOnlyThatEntry) {
  std::vector<DeviceInfo> devices = {make_device(0x0C45, 0x6366, "usb#vid_0c45&pid_6366&mi_00#6&aa&0&1")};
  match(devices, {msmf(2, "usb#vid_0c45&pid_6366&mi_00#6&aa&0&1")});
  match(devices, {dshow(0, "usb#vid_046d&pid_0825&mi_00#6&cc&0&1", "Webcam")});
  EXPECT_EQ(devices[0].backend_indices, (Indices{{OpenCvBackend::Msmf, 2}}));
}

TEST(BackendMatching, EachBackendFillsItsOwnEntry) {
  std::vector<DeviceInfo> devices = {make_device(0x0C45, 0x6366, "usb#vid_0c45&pid_6366&mi_00#6&aa&0&1")};
  match(devices, {msmf(2, "usb#vid_0c45&pid_6366&mi_00#6&aa&0&1")});
  match(devices, {dshow(5, "usb#vid_0c45&pid_6366&mi_00#6&aa&0&1")});
  EXPECT_EQ(devices[0].backend_indices, (Indices{{OpenCvBackend::Msmf, 2}, {OpenCvBackend::Dshow, 5}}));
}

TEST(BackendMatching, TakingACandidateOverwritesAnEarlierIndexOfItsBackend) {
  std::vector<DeviceInfo> devices = {make_device(0x0C45, 0x6366, "usb#vid_0c45&pid_6366&mi_00#6&aa&0&1")};
  devices[0].backend_indices[OpenCvBackend::Dshow] = 9;
  match(devices, {dshow(4, "usb#vid_0c45&pid_6366&mi_00#6&aa&0&1")});
  EXPECT_EQ(devices[0].backend_indices, (Indices{{OpenCvBackend::Dshow, 4}}));
}

}  // namespace
}  // namespace tovanel::uvc_stereo::win_detail
