#include "uvc_stereo/simulated_rig.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "bridge/os/capture_listing.h"
#include "bridge/vendor_backend.h"
#include "simulated_rig_fixture.h"
#include "support/rig_checks.h"

namespace tovanel::uvc_stereo::sim {
namespace {

using rig_testing::enumerate_records;
using rig_testing::LockedSession;
using rig_testing::name_of;
using rig_testing::path_of;
using rig_testing::reported_vendor_code;
using rig_testing::supported_camera;

constexpr std::uint8_t kExtensionUnitGuid[16] = {0x94, 0x73, 0xDF, 0xDD, 0x3E, 0x97, 0x27, 0x47,
                                                 0xBE, 0xD9, 0x04, 0xED, 0x64, 0x26, 0xDC, 0x67};

TEST(SimulatedRigLifetime, InstallsItsBackendAndListingWhileItLives) {
  const std::string platform_name = detail::bridge::platform_vendor_backend().name;
  {
    SimulatedRig rig;
    EXPECT_STREQ(detail::bridge::active_vendor_backend().name, "simulated");
    rig.set_capture_devices(OpenCvBackend::Msmf, {{"Stereo Camera", "\\\\?\\usb#vid_0c45&pid_6366#1#{guid}"}});
    const auto listed = detail::bridge::list_capture_candidates(OpenCvBackend::Msmf);
    ASSERT_TRUE(listed.ok());
    EXPECT_EQ(listed.value().size(), 1u);
  }
  EXPECT_EQ(detail::bridge::active_vendor_backend().name, platform_name);
#if !defined(_WIN32)
  // Off Windows the platform listings are empty, so an uninstalled stand-in lists nothing.
  const auto listed = detail::bridge::list_capture_candidates(OpenCvBackend::Msmf);
  ASSERT_TRUE(listed.ok());
  EXPECT_TRUE(listed.value().empty());
#endif
}

TEST(SimulatedRigLifetime, ADestroyedOlderRigLeavesTheNewerOneInstalled) {
  auto older = std::make_unique<SimulatedRig>();
  SimulatedRig newer;
  newer.add_camera(supported_camera("N1"));
  older.reset();
  EXPECT_STREQ(detail::bridge::active_vendor_backend().name, "simulated");
  const LockedSession session;
  EXPECT_TRUE(session.opened());
  EXPECT_EQ(newer.open_sessions(), 1);
}

// Every test here keeps the rules the SDK keeps.
using SimulatedRigTest = test_support::RigTest;

TEST_F(SimulatedRigTest, SessionsNestAndUnInitClosesOneAtATime) {
  rig_.add_camera(supported_camera("S1"));
  const win_detail::SonixGlobalLock lock;
  ASSERT_TRUE(SonixCam_Init());
  ASSERT_TRUE(SonixCam_Init());
  EXPECT_EQ(rig_.open_sessions(), 2);
  EXPECT_TRUE(SonixCam_UnInit());
  EXPECT_EQ(rig_.open_sessions(), 1);
  // The outer session still serves calls after the inner one closed.
  EXPECT_EQ(enumerate_records().size(), 1u);
  EXPECT_TRUE(SonixCam_UnInit());
}

TEST_F(SimulatedRigTest, InitFailsWithLibInitFailWhenTheLibraryIsMissing) {
  rig_.add_camera(supported_camera("S1"));
  rig_.set_library_present(false);
  const win_detail::SonixGlobalLock lock;
  EXPECT_FALSE(SonixCam_Init());
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecLibInitFail);
}

TEST_F(SimulatedRigTest, InitFailsWithNotFindDeviceWhenNoCameraIsPlugged) {
  const win_detail::SonixGlobalLock lock;
  EXPECT_FALSE(SonixCam_Init());
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecNotFindDevice);
  const int camera = rig_.add_camera(supported_camera("S1"));
  rig_.unplug(camera);
  EXPECT_FALSE(SonixCam_Init());
  EXPECT_EQ(rig_.open_sessions(), 0);
}

TEST_F(SimulatedRigTest, InitSucceedsWithoutCamerasWhenToldTo) {
  rig_.set_init_fails_without_cameras(false);
  const win_detail::SonixGlobalLock lock;
  ASSERT_TRUE(SonixCam_Init());
  EXPECT_EQ(rig_.open_sessions(), 1);
  EXPECT_TRUE(SonixCam_UnInit());
}

TEST_F(SimulatedRigTest, EnumeratesPluggedCamerasInTheOrderTheyWereAdded) {
  for (const char* serial : {"A1", "B2", "C3"}) {
    rig_.add_camera(supported_camera(serial));
  }
  {
    const LockedSession session;
    ASSERT_TRUE(session.opened());
    auto records = enumerate_records();
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(path_of(records[0]), supported_camera("A1").device_path);
    EXPECT_EQ(name_of(records[1]), "Stereo Camera B2");
    EXPECT_EQ(path_of(records[2]), supported_camera("C3").device_path);
    // Each record names its own camera in later calls.
    for (int i = 0; i < 3; ++i) {
      char version[16] = {};
      EXPECT_TRUE(SonixCam_GetVersion(&records[static_cast<std::size_t>(i)], version, sizeof(version), 0));
    }
  }
  const auto versions = rig_testing::calls_named(rig_, "SonixCam_GetVersion");
  ASSERT_EQ(versions.size(), 3u);
  EXPECT_EQ(versions[0].camera, 0);
  EXPECT_EQ(versions[1].camera, 1);
  EXPECT_EQ(versions[2].camera, 2);
}

TEST_F(SimulatedRigTest, EnumerationWithoutCamerasFailsWithNotFindDeviceAndCountZero) {
  rig_.set_init_fails_without_cameras(false);
  const LockedSession session;
  ASSERT_TRUE(session.opened());
  std::vector<SonixLib::scDevice_t> records(4);
  std::int32_t count = 9;
  EXPECT_FALSE(SonixCam_EnumCameras(&count, records.data(), 4));
  EXPECT_EQ(count, 0);
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecNotFindDevice);
}

TEST_F(SimulatedRigTest, EnumerationReportsEveryCameraButFillsOnlyTheRecordsGiven) {
  for (int i = 0; i < 70; ++i) {
    rig_.add_camera(supported_camera("N" + std::to_string(i)));
  }
  const LockedSession session;
  ASSERT_TRUE(session.opened());
  std::vector<SonixLib::scDevice_t> records(65);
  std::memset(&records[64], 0xAB, sizeof(SonixLib::scDevice_t));
  std::int32_t count = 0;
  ASSERT_TRUE(SonixCam_EnumCameras(&count, records.data(), 64));
  EXPECT_EQ(count, 70);
  EXPECT_EQ(path_of(records[63]), supported_camera("N63").device_path);
  const auto* untouched = reinterpret_cast<const unsigned char*>(&records[64]);
  for (std::size_t i = 0; i < sizeof(SonixLib::scDevice_t); ++i) {
    ASSERT_EQ(untouched[i], 0xAB) << "byte " << i << " of the record past the end";
  }
}

TEST_F(SimulatedRigTest, UnpluggedCameraVanishesAndItsRecordFailsWithDeviceDisconnect) {
  rig_.add_camera(supported_camera("A1"));
  const int second = rig_.add_camera(supported_camera("B2"));
  const LockedSession session;
  ASSERT_TRUE(session.opened());
  auto records = enumerate_records();
  ASSERT_EQ(records.size(), 2u);
  SonixLib::scDevice_t second_record = records[1];

  rig_.unplug(second);
  records = enumerate_records();
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(path_of(records[0]), supported_camera("A1").device_path);
  SonixLib::SERIAL_FLASH_TYPE type = 0;
  EXPECT_FALSE(SonixCam_GetSerialFlashType(&second_record, &type));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecDeviceDisconnect);

  rig_.plug(second);
  EXPECT_EQ(enumerate_records().size(), 2u);
  EXPECT_TRUE(SonixCam_GetSerialFlashType(&second_record, &type));
  EXPECT_EQ(type, 1);
}

TEST_F(SimulatedRigTest, RecordWithoutTheRigMarkFailsWithNotFindDevice) {
  rig_.add_camera(supported_camera("A1"));
  const LockedSession session;
  ASSERT_TRUE(session.opened());
  SonixLib::scDevice_t foreign{};
  SonixLib::SERIAL_FLASH_TYPE type = 0;
  EXPECT_FALSE(SonixCam_GetSerialFlashType(&foreign, &type));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecNotFindDevice);
  EXPECT_FALSE(SonixCam_GetSerialFlashType(nullptr, &type));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecNotFindDevice);
  EXPECT_EQ(rig_.calls().back().camera, -1);
}

TEST_F(SimulatedRigTest, RecordCarriesNonAsciiTextAsUtf16) {
  SimulatedCamera camera = supported_camera("A1");
  camera.device_name = "Cam\xC3\xA9ra \xF0\x9F\x93\xB7";  // "Caméra" and a camera emoji
  rig_.add_camera(camera);
  const LockedSession session;
  const auto records = enumerate_records();
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0].deviceName[3], static_cast<SonixLib::scWideChar>(0x00E9));
  EXPECT_EQ(records[0].deviceName[7], static_cast<SonixLib::scWideChar>(0xD83D));
  EXPECT_EQ(records[0].deviceName[8], static_cast<SonixLib::scWideChar>(0xDCF7));
  EXPECT_EQ(records[0].deviceName[9], SonixLib::scWideChar{0});
  EXPECT_EQ(name_of(records[0]), camera.device_name);
}

TEST_F(SimulatedRigTest, RecordCutsLongTextTo259UnitsAndItsNul) {
  SimulatedCamera camera = supported_camera("A1");
  camera.device_path = std::string(300, 'p');
  // 258 ASCII units then a character needing a surrogate pair: the pair would end past
  // unit 259, so neither half of it is kept.
  camera.device_name = std::string(258, 'n') + "\xF0\x9F\x93\xB7";
  rig_.add_camera(camera);
  const LockedSession session;
  const auto records = enumerate_records();
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(path_of(records[0]), std::string(259, 'p'));
  EXPECT_EQ(records[0].devicePath[259], SonixLib::scWideChar{0});
  EXPECT_EQ(name_of(records[0]), std::string(258, 'n'));
}

TEST_F(SimulatedRigTest, VidPidDescriptorComesInBigEndianOrder) {
  SimulatedCamera camera = supported_camera("A1");
  camera.vendor_id = 0x0C45;
  camera.product_id = 0x1A2B;
  rig_.add_camera(camera);
  const LockedSession session;
  auto records = enumerate_records();
  std::uint8_t bytes[4] = {};
  ASSERT_TRUE(SonixCam_GetDevDescriptor(&records[0], 0, bytes, 4, 0, 0));
  EXPECT_EQ(bytes[0], 0x0C);
  EXPECT_EQ(bytes[1], 0x45);
  EXPECT_EQ(bytes[2], 0x1A);
  EXPECT_EQ(bytes[3], 0x2B);
}

TEST_F(SimulatedRigTest, VidPidDescriptorComesWithEachPairSwappedInLittleEndianOrder) {
  SimulatedCamera camera = supported_camera("A1");
  camera.vendor_id = 0x0C45;
  camera.product_id = 0x1A2B;
  camera.descriptor_order = DescriptorByteOrder::LittleEndian;
  rig_.add_camera(camera);
  const LockedSession session;
  auto records = enumerate_records();
  std::uint8_t bytes[4] = {};
  ASSERT_TRUE(SonixCam_GetDevDescriptor(&records[0], 0, bytes, 4, 0, 0));
  EXPECT_EQ(bytes[0], 0x45);
  EXPECT_EQ(bytes[1], 0x0C);
  EXPECT_EQ(bytes[2], 0x2B);
  EXPECT_EQ(bytes[3], 0x1A);
}

TEST_F(SimulatedRigTest, StringDescriptorsAreCutToTheLengthAndZeroFilled) {
  SimulatedCamera camera = supported_camera("SN-0042");
  camera.product_string = "Tovanel Stereo";
  camera.descriptor_3 = "Tovanel";
  rig_.add_camera(camera);
  const LockedSession session;
  auto records = enumerate_records();

  std::uint8_t buffer[64];
  std::memset(buffer, 0x5A, sizeof(buffer));
  ASSERT_TRUE(SonixCam_GetDevDescriptor(&records[0], 2, buffer, 64, 0, 0));
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(buffer)), "Tovanel Stereo");
  for (std::size_t i = 14; i < 64; ++i) {
    ASSERT_EQ(buffer[i], 0) << "byte " << i;
  }
  ASSERT_TRUE(SonixCam_GetDevDescriptor(&records[0], 3, buffer, 64, 0, 0));
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(buffer)), "Tovanel");

  std::memset(buffer, 0x5A, sizeof(buffer));
  ASSERT_TRUE(SonixCam_GetDevDescriptor(&records[0], 4, buffer, 3, 0, 0));
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(buffer), 3), "SN-");
  EXPECT_EQ(buffer[3], 0x5A) << "nothing is written past the length";
}

TEST_F(SimulatedRigTest, AbsentStringDescriptorAndUnknownTypeFailWithGetKsControlFail) {
  SimulatedCamera camera = supported_camera("A1");
  camera.product_string.reset();
  rig_.add_camera(camera);
  const LockedSession session;
  auto records = enumerate_records();
  std::uint8_t buffer[64] = {};
  EXPECT_FALSE(SonixCam_GetDevDescriptor(&records[0], 2, buffer, 64, 0, 0));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecGetKsControlFail);
  EXPECT_TRUE(SonixCam_GetDevDescriptor(&records[0], 4, buffer, 64, 0, 0));
  EXPECT_FALSE(SonixCam_GetDevDescriptor(&records[0], 5, buffer, 64, 0, 0));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecGetKsControlFail);
  EXPECT_FALSE(SonixCam_GetDevDescriptor(&records[0], 1, buffer, 64, 0, 0));
}

TEST_F(SimulatedRigTest, SetNodeIdAcceptsOnlyTheExtensionUnitGuid) {
  rig_.add_camera(supported_camera("A1"));
  const LockedSession session;
  auto records = enumerate_records();
  EXPECT_TRUE(SonixCam_SetNodeID(&records[0], 4, kExtensionUnitGuid));
  std::uint8_t other[16];
  std::memcpy(other, kExtensionUnitGuid, sizeof(other));
  other[15] ^= 0x01;
  EXPECT_FALSE(SonixCam_SetNodeID(&records[0], 4, other));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecGetKsControlFail);
}

TEST_F(SimulatedRigTest, CapabilityReadAnswersWithTheCurrentReport) {
  SimulatedCamera camera = supported_camera("A1");
  for (std::size_t i = 0; i < 64; ++i) {
    camera.capability_report[i] = static_cast<std::uint8_t>(i * 3 + 1);
  }
  const int index = rig_.add_camera(camera);
  const LockedSession session;
  auto records = enumerate_records();
  std::uint8_t buffer[64] = {};
  ASSERT_TRUE(SonixCam_XuRead(&records[0], buffer, 64, 11, 4));
  EXPECT_EQ(std::memcmp(buffer, camera.capability_report.data(), 64), 0);

  std::array<std::uint8_t, 64> changed{};
  changed[0] = 'T';
  changed[63] = 0x77;
  rig_.set_capability_report(index, changed);
  ASSERT_TRUE(SonixCam_XuRead(&records[0], buffer, 64, 11, 4));
  EXPECT_EQ(std::memcmp(buffer, changed.data(), 64), 0);
}

TEST_F(SimulatedRigTest, ExtensionUnitReadsOfOtherControlsFail) {
  rig_.add_camera(supported_camera("A1"));
  const LockedSession session;
  auto records = enumerate_records();
  std::uint8_t buffer[64] = {};
  EXPECT_FALSE(SonixCam_XuRead(&records[0], buffer, 64, 12, 4));
  EXPECT_EQ(reported_vendor_code(), SonixLib::ecGetKsControlFail);
  EXPECT_FALSE(SonixCam_XuRead(&records[0], buffer, 64, 11, 5));
  EXPECT_FALSE(SonixCam_XuRead(&records[0], buffer, 63, 11, 4));
}

TEST_F(SimulatedRigTest, GetVersionZeroFillsAndCutsToOneLessThanTheLength) {
  const int index = rig_.add_camera(supported_camera("A1"));
  rig_.set_firmware_version(index, "SN9C292B-260416");
  const LockedSession session;
  auto records = enumerate_records();
  char buffer[256];
  std::memset(buffer, 'x', sizeof(buffer));
  ASSERT_TRUE(SonixCam_GetVersion(&records[0], buffer, 256, 0));
  EXPECT_STREQ(buffer, "SN9C292B-260416");
  for (std::size_t i = 15; i < 256; ++i) {
    ASSERT_EQ(buffer[i], '\0') << "byte " << i;
  }
  std::memset(buffer, 'x', sizeof(buffer));
  ASSERT_TRUE(SonixCam_GetVersion(&records[0], buffer, 8, 0));
  EXPECT_STREQ(buffer, "SN9C292");
  EXPECT_EQ(buffer[8], 'x');
}

TEST_F(SimulatedRigTest, SerialFlashTypeIsTheCamerasOwn) {
  SimulatedCamera camera = supported_camera("A1");
  camera.flash_type = 0;
  rig_.add_camera(camera);
  camera.flash_type = 7;
  rig_.add_camera(camera);
  const LockedSession session;
  auto records = enumerate_records();
  SonixLib::SERIAL_FLASH_TYPE type = -1;
  ASSERT_TRUE(SonixCam_GetSerialFlashType(&records[0], &type));
  EXPECT_EQ(type, SonixLib::SF_UNKNOW);
  ASSERT_TRUE(SonixCam_GetSerialFlashType(&records[1], &type));
  EXPECT_EQ(type, 7);
}

TEST_F(SimulatedRigTest, CaptureListingsGiveCandidatesIndexedByPosition) {
  rig_.set_capture_devices(OpenCvBackend::Msmf, {{"Integrated Camera", "\\\\?\\usb#vid_04f2&pid_b6dd&mi_00#6&1#{a}"},
                                                 {"Stereo Camera", "\\\\?\\USB#VID_0C45&PID_6366&MI_00#7&2#{a}"}});
  rig_.set_capture_devices(OpenCvBackend::Dshow, {{"Stereo Camera", "\\\\?\\usb#vid_0c45&pid_6366&mi_00#7&2#{b}"}});
  const win_detail::SonixGlobalLock lock;
  const auto msmf = detail::bridge::list_capture_candidates(OpenCvBackend::Msmf);
  ASSERT_TRUE(msmf.ok());
  ASSERT_EQ(msmf.value().size(), 2u);
  EXPECT_EQ(msmf.value()[0].friendly_name, "Integrated Camera");
  EXPECT_EQ(msmf.value()[0].index, 0);
  EXPECT_EQ(msmf.value()[1].index, 1);
  EXPECT_EQ(msmf.value()[1].backend, OpenCvBackend::Msmf);
  EXPECT_EQ(msmf.value()[1].device_path, "\\\\?\\USB#VID_0C45&PID_6366&MI_00#7&2#{a}");
  EXPECT_EQ(msmf.value()[1].identity.vid, 0x0C45);
  EXPECT_EQ(msmf.value()[1].identity.mi, "00");

  const auto dshow = detail::bridge::list_capture_candidates(OpenCvBackend::Dshow);
  ASSERT_TRUE(dshow.ok());
  ASSERT_EQ(dshow.value().size(), 1u);
  EXPECT_EQ(dshow.value()[0].backend, OpenCvBackend::Dshow);
  EXPECT_EQ(dshow.value()[0].index, 0);
}

TEST_F(SimulatedRigTest, CaptureListingFailsWithPlatformErrorWhenToldTo) {
  rig_.set_capture_devices(OpenCvBackend::Dshow, {{"Stereo Camera", "\\\\?\\usb#vid_0c45&pid_6366#1#{b}"}});
  rig_.set_capture_listing_fails(OpenCvBackend::Dshow, true);
  const auto failed = detail::bridge::list_capture_candidates(OpenCvBackend::Dshow);
  EXPECT_FALSE(failed.ok());
  EXPECT_EQ(failed.status().code(), ErrorCode::PlatformError);
  EXPECT_FALSE(failed.status().message().empty());
  const auto other = detail::bridge::list_capture_candidates(OpenCvBackend::Msmf);
  EXPECT_TRUE(other.ok());

  rig_.set_capture_listing_fails(OpenCvBackend::Dshow, false);
  const auto restored = detail::bridge::list_capture_candidates(OpenCvBackend::Dshow);
  ASSERT_TRUE(restored.ok());
  EXPECT_EQ(restored.value().size(), 1u);
}

TEST_F(SimulatedRigTest, OtherCaptureBackendsListNothing) {
  rig_.set_capture_devices(OpenCvBackend::V4l2, {{"Stereo Camera", "/dev/video0"}});
  const auto v4l2 = detail::bridge::list_capture_candidates(OpenCvBackend::V4l2);
  ASSERT_TRUE(v4l2.ok());
  EXPECT_TRUE(v4l2.value().empty());
  const auto gstreamer = detail::bridge::list_capture_candidates(OpenCvBackend::Gstreamer);
  ASSERT_TRUE(gstreamer.ok());
  EXPECT_TRUE(gstreamer.value().empty());
}

}  // namespace
}  // namespace tovanel::uvc_stereo::sim
