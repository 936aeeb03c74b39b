#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "sim/camera_file.h"
#include "support/rig_cameras.h"
#include "support/scanned_device.h"
#include "support/temporary_directory.h"
#include "uvc_stereo/camera_access.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/flash.h"
#include "uvc_stereo/simulated_rig.h"

namespace tovanel::uvc_stereo::sim {
namespace {

using test_support::TemporaryDirectory;

std::unique_ptr<SimulatedRig> keep_in(const std::string& directory) {
  Result<std::unique_ptr<SimulatedRig>> rig = SimulatedRig::keep_in_directory(directory);
  EXPECT_TRUE(rig.ok()) << rig.status().message();
  return rig.ok() ? std::move(rig).value() : nullptr;
}

void write_text(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
}

TEST(SimulatedRigDirectory, ANewDirectoryIsMadeWithoutCamerasAndWithItsLocksFolder) {
  const TemporaryDirectory temporary;
  const std::string directory = temporary / "rig";
  std::unique_ptr<SimulatedRig> rig = keep_in(directory);
  ASSERT_NE(rig, nullptr);
  EXPECT_EQ(rig->camera_count(), 0u);
  EXPECT_EQ(rig->directory(), directory);
  EXPECT_TRUE(std::filesystem::is_directory(directory + "/locks"));
  EXPECT_EQ(SimulatedRig().directory(), "");
}

TEST(SimulatedRigDirectory, WhatOneRigWritesTheNextOneReads) {
  const TemporaryDirectory directory;
  SimulatedCamera camera = test_support::supported_camera(2, "SN-DIR-0001");
  camera.firmware_version = "V2.3.4";
  camera.descriptor_3.reset();
  {
    std::unique_ptr<SimulatedRig> rig = keep_in(directory.path());
    ASSERT_NE(rig, nullptr);
    rig->add_camera(camera);
    Result<Device> device = open_device(test_support::scanned_device("SN-DIR-0001"));
    ASSERT_TRUE(device.ok()) << device.status().message();
    ASSERT_TRUE(device.value().write_json("{\"kept\":true}").ok());
  }
  std::unique_ptr<SimulatedRig> rig = keep_in(directory.path());
  ASSERT_NE(rig, nullptr);
  ASSERT_EQ(rig->camera_count(), 1u);
  const DeviceInfo info = test_support::scanned_device("SN-DIR-0001");
  EXPECT_EQ(info.device_path, camera.device_path);
  EXPECT_EQ(read_firmware_version(FlashConfig{}).value(), "V2.3.4");
  Result<Device> device = open_device(info);
  ASSERT_TRUE(device.ok()) << device.status().message();
  const Result<ReadJsonResult> read = device.value().read_json();
  ASSERT_TRUE(read.ok()) << read.status().message();
  EXPECT_EQ(read.value().json, "{\"kept\":true}");
  EXPECT_TRUE(rig->violations().empty());
}

TEST(SimulatedRigDirectory, TwoRigsOnOneDirectorySeeEachOthersFlashAtOnce) {
  const TemporaryDirectory directory;
  std::unique_ptr<SimulatedRig> first = keep_in(directory.path());
  ASSERT_NE(first, nullptr);
  first->add_camera(test_support::supported_camera(0, "SN-DIR-0002"));
  std::unique_ptr<SimulatedRig> second = keep_in(directory.path());
  ASSERT_NE(second, nullptr);

  const std::vector<std::uint8_t> bytes = {0x12, 0x34, 0x56};
  first->set_flash(0, 0x51000, bytes);
  EXPECT_EQ(second->flash(0, 0x51000, 3), bytes);
  EXPECT_EQ(second->flash(0, 0x51003, 1), std::vector<std::uint8_t>{0xFF});
}

TEST(SimulatedRigDirectory, PluggedStateAndFirmwareVersionPersist) {
  const TemporaryDirectory directory;
  {
    std::unique_ptr<SimulatedRig> rig = keep_in(directory.path());
    ASSERT_NE(rig, nullptr);
    rig->add_camera(test_support::supported_camera(0, "SN-DIR-0003"));
    rig->add_camera(test_support::supported_camera(1, "SN-DIR-0004"));
    rig->unplug(0);
    rig->set_firmware_version(1, "V9.9.9");
  }
  std::unique_ptr<SimulatedRig> rig = keep_in(directory.path());
  ASSERT_NE(rig, nullptr);
  ASSERT_EQ(rig->camera_count(), 2u);
  const Result<std::vector<DeviceInfo>> scanned = scan_devices();
  ASSERT_TRUE(scanned.ok());
  ASSERT_EQ(scanned.value().size(), 1u);
  EXPECT_EQ(scanned.value()[0].serial_number, "SN-DIR-0004");
  EXPECT_EQ(read_firmware_version(FlashConfig{}).value(), "V9.9.9");
}

TEST(SimulatedRigDirectory, ACameraHalfAddedByAKilledProgramIsNotSeen) {
  const TemporaryDirectory directory;
  write_text(directory / "camera-0.flash", std::string(16, '\xFF'));
  write_text(directory / "camera-0.txt.new-4211", "tovanel-uvc-stereo simulated camera 1\nplugged=");
  std::unique_ptr<SimulatedRig> rig = keep_in(directory.path());
  ASSERT_NE(rig, nullptr);
  EXPECT_EQ(rig->camera_count(), 0u);
}

TEST(SimulatedRigDirectory, AMalformedCameraFileIsRefusedWithItsName) {
  const TemporaryDirectory directory;
  write_text(directory / "camera-0.txt", "tovanel-uvc-stereo simulated camera 1\nplugged=1\n");
  const Result<std::unique_ptr<SimulatedRig>> rig = SimulatedRig::keep_in_directory(directory.path());
  ASSERT_FALSE(rig.ok());
  EXPECT_EQ(rig.status().code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(rig.status().message(), (directory / "camera-0.txt") + ": vendor_id is missing");
}

TEST(SimulatedRigDirectory, ACameraWithoutItsFlashImageIsRefused) {
  const TemporaryDirectory directory;
  StoredCamera stored;
  write_text(directory / "camera-0.txt", camera_file_text(stored));
  const Result<std::unique_ptr<SimulatedRig>> rig = SimulatedRig::keep_in_directory(directory.path());
  ASSERT_FALSE(rig.ok());
  EXPECT_EQ(rig.status().code(), ErrorCode::PlatformError);
  EXPECT_NE(rig.status().message().find("camera-0.flash"), std::string::npos) << rig.status().message();
}

TEST(SimulatedCameraFile, KeepsEveryFieldOfTheCamera) {
  StoredCamera stored;
  stored.plugged = false;
  SimulatedCamera& camera = stored.camera;
  camera.vendor_id = 0x1234;
  camera.product_id = 0xBEEF;
  camera.descriptor_order = DescriptorByteOrder::LittleEndian;
  camera.device_path = "\\\\?\\usb#vid_1234&pid_beef#100%\nsure";
  camera.device_name = "Name = with equals";
  camera.product_string = "Product";
  camera.descriptor_3.reset();
  camera.serial_number = "";
  camera.firmware_version = "V1\r2";
  camera.flash_type = -3;
  camera.flash_size = 0x200000;
  camera.flash_sector_size = 65536;
  camera.user_space_address = 0x10000;
  camera.user_space_size = 0x20000;
  for (std::size_t i = 0; i < camera.capability_report.size(); ++i) {
    camera.capability_report[i] = static_cast<std::uint8_t>(i * 7);
  }
  camera.imu_unit = 6;
  camera.imu_selector = 3;
  camera.imu_length = 32;
  camera.imu.motion = ImuMotion::Moving;
  camera.imu.first_counter = 0xFFFFF;
  camera.imu.counter_step = 3;
  camera.imu.temperature_c = -12.345678901234;
  camera.imu.seed = 4000000000u;
  camera.node_access = SimulatedNodeAccess::Busy;

  const Result<StoredCamera> parsed = parse_camera_file(camera_file_text(stored), "camera.txt");
  ASSERT_TRUE(parsed.ok()) << parsed.status().message();
  const StoredCamera& back = parsed.value();
  EXPECT_FALSE(back.plugged);
  EXPECT_EQ(camera_file_text(back), camera_file_text(stored));
  EXPECT_EQ(back.camera.device_path, camera.device_path);
  EXPECT_EQ(back.camera.device_name, camera.device_name);
  EXPECT_FALSE(back.camera.descriptor_3.has_value());
  EXPECT_EQ(back.camera.serial_number, std::optional<std::string>(""));
  EXPECT_EQ(back.camera.firmware_version, "V1\r2");
  EXPECT_EQ(back.camera.imu.temperature_c, camera.imu.temperature_c);
  EXPECT_EQ(back.camera.capability_report, camera.capability_report);
  EXPECT_EQ(back.camera.node_access, SimulatedNodeAccess::Busy);
}

TEST(SimulatedCameraFile, NamesTheNodeAccessInWordsAPersonCanEdit) {
  StoredCamera stored;
  stored.camera.node_access = SimulatedNodeAccess::PermissionDenied;
  const std::string text = camera_file_text(stored);
  EXPECT_NE(text.find("\nnode_access=permission_denied\n"), std::string::npos) << text;
  std::string edited = text;
  edited.replace(edited.find("permission_denied"), 17, "busy");
  const Result<StoredCamera> parsed = parse_camera_file(edited, "x.txt");
  ASSERT_TRUE(parsed.ok()) << parsed.status().message();
  EXPECT_EQ(parsed.value().camera.node_access, SimulatedNodeAccess::Busy);
}

TEST(SimulatedCameraFile, AFileWrittenBeforeNodeAccessLetsItsNodesOpen) {
  StoredCamera stored;
  stored.camera.node_access = SimulatedNodeAccess::PermissionDenied;
  std::string text = camera_file_text(stored);
  const std::string line = "node_access=permission_denied\n";
  ASSERT_NE(text.find(line), std::string::npos);
  text.erase(text.find(line), line.size());
  const Result<StoredCamera> parsed = parse_camera_file(text, "x.txt");
  ASSERT_TRUE(parsed.ok()) << parsed.status().message();
  EXPECT_EQ(parsed.value().camera.node_access, SimulatedNodeAccess::Allowed);
}

TEST(SimulatedCameraFile, RefusesANodeAccessItDoesNotKnow) {
  std::string text = camera_file_text(StoredCamera{});
  text.replace(text.find("node_access=allowed"), 19, "node_access=denied");
  EXPECT_EQ(parse_camera_file(text, "x.txt").status().message(),
            "x.txt: node_access is none of allowed, permission_denied, busy: denied");
}

TEST(SimulatedRigDirectory, ARefusedCameraStaysRefusedForTheNextProgram) {
  const TemporaryDirectory directory;
  SimulatedCamera camera = test_support::supported_camera(0, "SN-DIR-REFUSED");
  camera.node_access = SimulatedNodeAccess::PermissionDenied;
  {
    std::unique_ptr<SimulatedRig> rig = keep_in(directory.path());
    ASSERT_NE(rig, nullptr);
    rig->add_camera(camera);
  }
  std::unique_ptr<SimulatedRig> rig = keep_in(directory.path());
  ASSERT_NE(rig, nullptr);
  const Result<std::vector<CameraAccessProblem>> problems = find_camera_access_problems();
  ASSERT_TRUE(problems.ok());
  ASSERT_EQ(problems.value().size(), 2u);
  EXPECT_EQ(problems.value()[0].device_path, camera.device_path);
  EXPECT_EQ(problems.value()[0].reason, "Permission denied");
  // Access given in one program is the next one's too.
  rig->set_node_access(0, SimulatedNodeAccess::Allowed);
  rig.reset();
  rig = keep_in(directory.path());
  ASSERT_NE(rig, nullptr);
  const Result<std::vector<CameraAccessProblem>> after = find_camera_access_problems();
  ASSERT_TRUE(after.ok());
  EXPECT_TRUE(after.value().empty());
}

TEST(SimulatedCameraFile, RefusesTextThatIsNoCameraFileOrOutOfRange) {
  EXPECT_EQ(parse_camera_file("hello\n", "x.txt").status().message(), "x.txt: not a simulated camera file");
  std::string text = camera_file_text(StoredCamera{});
  const std::string vid = "vendor_id=3141\n";
  ASSERT_NE(text.find(vid), std::string::npos);
  text.replace(text.find(vid), vid.size(), "vendor_id=70000\n");
  EXPECT_EQ(parse_camera_file(text, "x.txt").status().message(), "x.txt: vendor_id is not a number in range: 70000");
}

}  // namespace
}  // namespace tovanel::uvc_stereo::sim
