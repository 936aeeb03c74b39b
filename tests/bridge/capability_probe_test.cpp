#include "bridge/capability_probe.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bridge/process_lock.h"
#include "bridge/vendor_backend.h"
#include "capability/capability_report_encoder.h"
#include "support/reported_imu.h"
#include "uvc_stereo/capability.h"
#include "uvc_stereo/records.h"
#include "uvc_stereo/simulated_rig.h"
#include "vendor_backend_override.h"
#include "xu_rig_fixture.h"

namespace tovanel::uvc_stereo::detail {
namespace {

using sim::SimulatedCamera;
using sim::VendorCall;
using sim::VendorFault;
using vendor_testing::BackendOverride;
using vendor_testing::expect_session_ended;
using vendor_testing::rig_backend;
using xu_testing::calls_named;
using xu_testing::info_of;
using xu_testing::names_of;
using xu_testing::supported_camera;

constexpr char kNoSelector[] = "no device selector available (check config.vidpid or auto_select filter)";

// A report declaring a flash user space and an IMU.
CapabilityReport flash_and_imu_report() {
  CapabilityReport report;
  report.minor_version = 3;
  report.capability_bits = kCapabilityFlashUserSpace | kCapabilityImu;
  report.flash_user_space = FlashUserSpace{0x1F0000, 0x10000};
  report.imu = test_support::reported_imu("BMI088", 4, 10, 17, 2, -0.1, 128.0, 2048.0, 16.4);
  return report;
}

// A report declaring only a flash user space.
CapabilityReport flash_only_report(std::uint32_t start) {
  CapabilityReport report;
  report.capability_bits = kCapabilityFlashUserSpace;
  report.flash_user_space = FlashUserSpace{start, 0x8000};
  return report;
}

void expect_failed_probe(const XuCapabilityProbeResult& result, ErrorCode code, const std::string& message) {
  EXPECT_TRUE(result.legacy_fallback);
  EXPECT_FALSE(result.report.has_value());
  EXPECT_EQ(result.status.code(), code);
  EXPECT_EQ(result.status.message(), message);
}

class CapabilityProbe : public xu_testing::XuRigTest {
 protected:
  // Plugs in a camera of model `model_index` answering with `report`; returns its record as a scan gives it.
  DeviceInfo plug(std::size_t model_index, const std::string& serial, const std::array<std::uint8_t, 64>& report = {}) {
    SimulatedCamera camera = supported_camera(model_index, serial);
    camera.capability_report = report;
    rig_.add_camera(camera);
    return info_of(camera);
  }
};

TEST_F(CapabilityProbe, ReadsTheReportOfTheSelectedCamera) {
  plug(0, "FIRST", encode_xu_capability_report(flash_only_report(0x100000)));
  const DeviceInfo second = plug(1, "SECOND", encode_xu_capability_report(flash_and_imu_report()));

  const XuCapabilityProbeResult result = probe_xu_capability(second);

  ASSERT_TRUE(result.status.ok()) << result.status.message();
  EXPECT_FALSE(result.legacy_fallback);
  ASSERT_TRUE(result.report.has_value());
  EXPECT_EQ(result.report->major_version, 1);
  EXPECT_EQ(result.report->minor_version, 3);
  EXPECT_EQ(result.report->capability_bits, 0x06u);
  ASSERT_TRUE(result.report->flash_user_space.has_value());
  EXPECT_EQ(result.report->flash_user_space->start, 0x1F0000u);
  EXPECT_EQ(result.report->flash_user_space->size, 0x10000u);
  ASSERT_TRUE(result.report->imu.has_value());
  EXPECT_EQ(result.report->imu->model, "BMI088");
  EXPECT_EQ(result.report->imu->xu_unit, 4);
  EXPECT_EQ(result.report->imu->xu_selector, 10);
  EXPECT_EQ(result.report->imu->xu_length, 17);
  EXPECT_EQ(result.report->imu->decimal_exponent, 2);
  EXPECT_DOUBLE_EQ(result.report->imu->temperature_offset_c, -0.1);
  EXPECT_DOUBLE_EQ(result.report->imu->temperature_lsb_per_c, 128.0);
  EXPECT_DOUBLE_EQ(result.report->imu->accel_lsb_per_g, 2048.0);
  EXPECT_DOUBLE_EQ(result.report->imu->gyro_lsb_per_dps, 16.4);
}

TEST_F(CapabilityProbe, OpensOneSessionSelectsTheNodeReadsSixtyFourBytesAndCloses) {
  plug(0, "FIRST");
  const DeviceInfo second = plug(1, "SECOND", encode_xu_capability_report(flash_and_imu_report()));

  const XuCapabilityProbeResult result = probe_xu_capability(second);
  ASSERT_TRUE(result.status.ok()) << result.status.message();

  const std::vector<VendorCall> calls = rig_.calls();
  ASSERT_GE(calls.size(), 4u);
  EXPECT_EQ(calls.front().name, "SonixCam_Init");
  EXPECT_EQ(calls.front().open_sessions, 0);
  const VendorCall& set_node = calls[calls.size() - 3];
  const VendorCall& xu_read = calls[calls.size() - 2];
  const VendorCall& uninit = calls.back();
  EXPECT_EQ(set_node.name, "SonixCam_SetNodeID");
  EXPECT_EQ(set_node.args, (std::vector<std::int64_t>{4}));
  EXPECT_EQ(set_node.camera, 1);
  EXPECT_TRUE(set_node.succeeded);
  EXPECT_EQ(xu_read.name, "SonixCam_XuRead");
  EXPECT_EQ(xu_read.args, (std::vector<std::int64_t>{64, 11, 4}));
  EXPECT_EQ(xu_read.camera, 1);
  EXPECT_TRUE(xu_read.succeeded);
  EXPECT_EQ(uninit.name, "SonixCam_UnInit");
  EXPECT_EQ(uninit.open_sessions, 1);

  const std::vector<std::string> names = names_of(calls);
  EXPECT_EQ(calls_named(calls, "SonixCam_Init").size(), 1u);
  EXPECT_EQ(calls_named(calls, "SonixCam_UnInit").size(), 1u);
  EXPECT_EQ(calls_named(calls, "SonixCam_SetNodeID").size(), 1u);
  EXPECT_EQ(calls_named(calls, "SonixCam_XuRead").size(), 1u);
  EXPECT_EQ(calls_named(calls, "SonixCam_EnumCameras").size(), 1u);
  EXPECT_TRUE(calls_named(calls, "SonixCam_GetErrorCode").empty()) << ::testing::PrintToString(names);
  for (const VendorCall& call : calls) {
    EXPECT_TRUE(call.lock_held) << call.name;
  }
}

std::array<std::uint8_t, 16> g_seen_guid{};
int g_seen_node = -1;

bool recording_set_node_id(SonixLib::scDevice_t* device, std::uint8_t node_id, const std::uint8_t guid[16]) {
  g_seen_node = node_id;
  for (std::size_t i = 0; i < g_seen_guid.size(); ++i) {
    g_seen_guid[i] = guid[i];
  }
  return rig_backend().set_node_id(device, node_id, guid);
}

TEST_F(CapabilityProbe, SelectsTheExtensionUnitByItsGuidInLibraryByteOrder) {
  const DeviceInfo camera = plug(2, "ONLY", encode_xu_capability_report(flash_and_imu_report()));
  const BackendOverride override(&bridge::VendorBackend::set_node_id, recording_set_node_id);
  g_seen_node = -1;
  g_seen_guid = {};

  const XuCapabilityProbeResult result = probe_xu_capability(camera);

  EXPECT_TRUE(result.status.ok()) << result.status.message();
  EXPECT_EQ(g_seen_node, 4);
  // {DDDF7394-973E-4727-BED9-04ED6426DC67}: three little-endian fields, then eight bytes as written.
  const std::array<std::uint8_t, 16> expected = {0x94, 0x73, 0xDF, 0xDD, 0x3E, 0x97, 0x27, 0x47,
                                                 0xBE, 0xD9, 0x04, 0xED, 0x64, 0x26, 0xDC, 0x67};
  EXPECT_EQ(g_seen_guid, expected);
}

bool g_buffer_was_zero = false;
int g_read_length = -1;

bool checking_xu_read(SonixLib::scDevice_t* device, std::uint8_t* buffer, std::uint8_t length, std::uint8_t selector,
                      std::uint8_t unit_id) {
  g_read_length = length;
  g_buffer_was_zero = true;
  for (std::uint8_t i = 0; i < length; ++i) {
    g_buffer_was_zero = g_buffer_was_zero && buffer[i] == 0;
  }
  return rig_backend().xu_read(device, buffer, length, selector, unit_id);
}

TEST_F(CapabilityProbe, HandsTheLibraryAZeroFilledBuffer) {
  const DeviceInfo camera = plug(0, "ONLY", encode_xu_capability_report(flash_and_imu_report()));
  const BackendOverride override(&bridge::VendorBackend::xu_read, checking_xu_read);
  g_buffer_was_zero = false;
  g_read_length = -1;

  const XuCapabilityProbeResult result = probe_xu_capability(camera);

  EXPECT_TRUE(result.status.ok()) << result.status.message();
  EXPECT_EQ(g_read_length, 64);
  EXPECT_TRUE(g_buffer_was_zero);
}

bool silent_xu_read(SonixLib::scDevice_t*, std::uint8_t*, std::uint8_t, std::uint8_t, std::uint8_t) { return true; }

TEST_F(CapabilityProbe, LibraryThatWritesNothingGivesTheAllZeroOutcome) {
  const DeviceInfo camera = plug(0, "ONLY", encode_xu_capability_report(flash_and_imu_report()));
  const BackendOverride override(&bridge::VendorBackend::xu_read, silent_xu_read);

  expect_failed_probe(probe_xu_capability(camera), ErrorCode::BadMagic, "capability XU returned an all-zero report");
}

TEST_F(CapabilityProbe, AllZeroAnswerIsTheNoReportingOutcomeNotAReadFailure) {
  const DeviceInfo camera = plug(0, "ONLY");

  const XuCapabilityProbeResult result = probe_xu_capability(camera);

  expect_failed_probe(result, ErrorCode::BadMagic, "capability XU returned an all-zero report");
  const std::vector<VendorCall> reads = calls_named(rig_.calls(), "SonixCam_XuRead");
  ASSERT_EQ(reads.size(), 1u);
  EXPECT_TRUE(reads[0].succeeded);
  EXPECT_TRUE(calls_named(rig_.calls(), "SonixCam_GetErrorCode").empty());
}

TEST_F(CapabilityProbe, SingleStrayByteFailsTheMagicCheck) {
  std::array<std::uint8_t, 64> report{};
  report[63] = 0x01;
  const DeviceInfo camera = plug(0, "ONLY", report);

  expect_failed_probe(probe_xu_capability(camera), ErrorCode::BadMagic, "capability magic must be ASCII TOVA");
}

TEST_F(CapabilityProbe, CorruptedReportFailsTheChecksum) {
  std::array<std::uint8_t, 64> report = encode_xu_capability_report(flash_and_imu_report());
  report[60] ^= 0xFF;
  const DeviceInfo camera = plug(0, "ONLY", report);

  expect_failed_probe(probe_xu_capability(camera), ErrorCode::ChecksumMismatch, "capability CRC32C mismatch");
}

TEST_F(CapabilityProbe, RecordWithoutVendorIdIsResolvedByDevicePathAlone) {
  plug(0, "FIRST", encode_xu_capability_report(flash_only_report(0x100000)));
  DeviceInfo second = plug(1, "SECOND", encode_xu_capability_report(flash_only_report(0x180000)));
  second.vendor_id = 0;
  second.serial_number.clear();

  const XuCapabilityProbeResult result = probe_xu_capability(second);

  ASSERT_TRUE(result.status.ok()) << result.status.message();
  ASSERT_TRUE(result.report.has_value() && result.report->flash_user_space.has_value());
  EXPECT_EQ(result.report->flash_user_space->start, 0x180000u);
}

TEST_F(CapabilityProbe, RecordWithoutProductIdIsResolvedBySerialNumberWithNoVidPidCheck) {
  plug(0, "FIRST", encode_xu_capability_report(flash_only_report(0x100000)));
  DeviceInfo second = plug(1, "SECOND", encode_xu_capability_report(flash_only_report(0x180000)));
  second.product_id = 0;
  second.device_path.clear();

  const XuCapabilityProbeResult result = probe_xu_capability(second);

  // A vid/pid key built from the half-known ids would name no camera and hide the serial number's match.
  ASSERT_TRUE(result.status.ok()) << result.status.message();
  ASSERT_TRUE(result.report.has_value() && result.report->flash_user_space.has_value());
  EXPECT_EQ(result.report->flash_user_space->start, 0x180000u);
}

TEST_F(CapabilityProbe, RecordWithoutAnySelectorFailsWithoutEnumerating) {
  DeviceInfo camera = plug(0, "ONLY", encode_xu_capability_report(flash_and_imu_report()));
  camera.product_id = 0;
  camera.serial_number.clear();
  camera.device_path.clear();

  expect_failed_probe(probe_xu_capability(camera), ErrorCode::DeviceUnavailable, kNoSelector);
  EXPECT_EQ(names_of(rig_.calls()), (std::vector<std::string>{"SonixCam_Init", "SonixCam_UnInit"}));
}

TEST_F(CapabilityProbe, LibraryThatCannotStartIsDeviceUnavailableAndNotUninitialised) {
  const DeviceInfo camera = plug(0, "ONLY", encode_xu_capability_report(flash_and_imu_report()));
  rig_.set_library_present(false);

  expect_failed_probe(probe_xu_capability(camera), ErrorCode::DeviceUnavailable,
                      "SonixCam_Init failed: vendor_code=ecLibInitFail(2)");
  EXPECT_EQ(names_of(rig_.calls()), (std::vector<std::string>{"SonixCam_Init", "SonixCam_GetErrorCode"}));
}

TEST_F(CapabilityProbe, InitFailureKeepsTheLibrarysOwnCode) {
  const DeviceInfo camera = plug(0, "ONLY", encode_xu_capability_report(flash_and_imu_report()));
  rig_.add_fault(VendorFault{"SonixCam_Init", 1, 1, 4, false});

  expect_failed_probe(probe_xu_capability(camera), ErrorCode::DeviceUnavailable,
                      "SonixCam_Init failed: vendor_code=ecNotFindDevice(4)");
  EXPECT_TRUE(calls_named(rig_.calls(), "SonixCam_UnInit").empty());
}

TEST_F(CapabilityProbe, UnknownDevicePathIsTheResolutionFailure) {
  DeviceInfo camera = plug(0, "ONLY", encode_xu_capability_report(flash_and_imu_report()));
  camera.device_path += "-elsewhere";

  expect_failed_probe(probe_xu_capability(camera), ErrorCode::DeviceUnavailable,
                      "preferred device_path not found in current scan");
  EXPECT_EQ(rig_.calls().back().name, "SonixCam_UnInit");
  EXPECT_TRUE(calls_named(rig_.calls(), "SonixCam_XuRead").empty());
}

TEST_F(CapabilityProbe, UnpluggedCameraIsNotFound) {
  plug(0, "STAYS", encode_xu_capability_report(flash_and_imu_report()));
  DeviceInfo leaving = plug(1, "LEAVES", encode_xu_capability_report(flash_and_imu_report()));
  rig_.unplug(1);
  leaving.device_path.clear();

  expect_failed_probe(probe_xu_capability(leaving), ErrorCode::DeviceUnavailable,
                      "preferred serial_number not found in current scan");
  EXPECT_EQ(rig_.calls().back().name, "SonixCam_UnInit");
}

TEST_F(CapabilityProbe, SetNodeIdFailureIsAPlatformErrorAndSkipsTheRead) {
  const DeviceInfo camera = plug(0, "ONLY", encode_xu_capability_report(flash_and_imu_report()));
  rig_.add_fault(VendorFault{"SonixCam_SetNodeID", 1, 1, 5, false});

  expect_failed_probe(probe_xu_capability(camera), ErrorCode::PlatformError,
                      "SonixCam_SetNodeID failed: vendor_code=ecGetKsControlFail(5)");
  EXPECT_TRUE(calls_named(rig_.calls(), "SonixCam_XuRead").empty());
  EXPECT_EQ(rig_.calls().back().name, "SonixCam_UnInit");
}

TEST_F(CapabilityProbe, XuReadFailureIsAPlatformError) {
  const DeviceInfo camera = plug(0, "ONLY", encode_xu_capability_report(flash_and_imu_report()));
  rig_.add_fault(VendorFault{"SonixCam_XuRead", 1, 1, 8, false});

  expect_failed_probe(probe_xu_capability(camera), ErrorCode::PlatformError,
                      "SonixCam_XuRead failed: vendor_code=ecSyncTransTimeOut(8)");
  const std::vector<std::string> names = names_of(rig_.calls());
  ASSERT_GE(names.size(), 3u);
  // The code is asked for while the session that failed is still open.
  EXPECT_EQ(names[names.size() - 3], "SonixCam_XuRead");
  EXPECT_EQ(names[names.size() - 2], "SonixCam_GetErrorCode");
  EXPECT_EQ(names.back(), "SonixCam_UnInit");
}

TEST_F(CapabilityProbe, UnreadableVendorCodeReadsAsUnknow) {
  const DeviceInfo camera = plug(0, "ONLY", encode_xu_capability_report(flash_and_imu_report()));
  rig_.add_fault(VendorFault{"SonixCam_XuRead", 1, 1, 8, true});

  expect_failed_probe(probe_xu_capability(camera), ErrorCode::PlatformError,
                      "SonixCam_XuRead failed: vendor_code=ecUnknow(0)");
}

bool throwing_xu_read(SonixLib::scDevice_t*, std::uint8_t*, std::uint8_t, std::uint8_t, std::uint8_t) {
  throw std::runtime_error("extension unit went away");
}

bool throwing_set_node_id(SonixLib::scDevice_t*, std::uint8_t, const std::uint8_t*) { throw 42; }

TEST_F(CapabilityProbe, StandardExceptionBecomesInternalErrorWithItsOwnText) {
  const DeviceInfo camera = plug(0, "ONLY", encode_xu_capability_report(flash_and_imu_report()));
  const BackendOverride override(&bridge::VendorBackend::xu_read, throwing_xu_read);

  expect_failed_probe(probe_xu_capability(camera), ErrorCode::InternalError, "extension unit went away");
  expect_session_ended(rig_);
}

TEST_F(CapabilityProbe, OtherExceptionBecomesInternalErrorWithTheFixedText) {
  const DeviceInfo camera = plug(0, "ONLY", encode_xu_capability_report(flash_and_imu_report()));
  const BackendOverride override(&bridge::VendorBackend::set_node_id, throwing_set_node_id);

  expect_failed_probe(probe_xu_capability(camera), ErrorCode::InternalError,
                      "unknown exception during Windows capability XU read");
  expect_session_ended(rig_);
}

TEST_F(CapabilityProbe, EveryProbeReadsTheCameraAfresh) {
  const DeviceInfo camera = plug(0, "ONLY");
  EXPECT_TRUE(probe_xu_capability(camera).legacy_fallback);

  rig_.set_capability_report(0, encode_xu_capability_report(flash_and_imu_report()));
  const XuCapabilityProbeResult result = probe_xu_capability(camera);

  EXPECT_FALSE(result.legacy_fallback);
  EXPECT_TRUE(result.status.ok()) << result.status.message();
}

TEST_F(CapabilityProbe, ConcurrentProbesNeverOverlapTheirSessions) {
  const DeviceInfo first = plug(0, "FIRST", encode_xu_capability_report(flash_and_imu_report()));
  const DeviceInfo second = plug(1, "SECOND", encode_xu_capability_report(flash_only_report(0x100000)));
  constexpr int kProbesPerThread = 25;
  int first_ok = 0;
  int second_ok = 0;
  std::thread other([&] {
    for (int i = 0; i < kProbesPerThread; ++i) {
      second_ok += probe_xu_capability(second).status.ok() ? 1 : 0;
    }
  });
  for (int i = 0; i < kProbesPerThread; ++i) {
    first_ok += probe_xu_capability(first).status.ok() ? 1 : 0;
  }
  other.join();

  EXPECT_EQ(first_ok, kProbesPerThread);
  EXPECT_EQ(second_ok, kProbesPerThread);
  // Holding the lock for the whole probe means no call ever sees another probe's session.
  for (const VendorCall& call : rig_.calls()) {
    EXPECT_EQ(call.open_sessions, call.name == "SonixCam_Init" ? 0 : 1) << call.name;
  }
}

}  // namespace
}  // namespace tovanel::uvc_stereo::detail
