#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <map>
#include <new>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "bridge/os/capture_listing.h"
#include "bridge/platform.h"
#include "bridge/process_lock.h"
#include "imu/model_table.h"
#include "support/rig_cameras.h"
#include "support/rig_checks.h"
#include "uvc_stereo/backend.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/records.h"
#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/vendor_lock.h"

namespace tovanel::uvc_stereo {
namespace {

using Indices = std::map<OpenCvBackend, int>;
using test_support::lower;
using test_support::supported_camera;
using test_support::usb_path;

const detail::SupportedModel& model(std::size_t index) { return detail::supported_models().at(index); }

std::vector<std::string> call_names(const sim::SimulatedRig& rig) { return rig.call_names(); }

bool same_record(const DeviceInfo& a, const DeviceInfo& b) {
  return a.vendor_id == b.vendor_id && a.product_id == b.product_id && a.aux_flag_a == b.aux_flag_a &&
         a.aux_flag_b == b.aux_flag_b && a.serial_number == b.serial_number && a.descriptor_text == b.descriptor_text &&
         a.friendly_name == b.friendly_name && a.extra_text == b.extra_text && a.device_path == b.device_path &&
         a.backend_indices == b.backend_indices;
}

std::vector<std::string> serials_of(const std::vector<DeviceInfo>& devices) {
  std::vector<std::string> serials;
  for (const DeviceInfo& device : devices) {
    serials.push_back(device.serial_number);
  }
  return serials;
}

// Every scan must leave the rig as it found it: no broken rule, no open session, the lock free.
class ScanDevices : public test_support::RigTest {
 protected:
  std::vector<DeviceInfo> scan_ok(const DeviceScanFilter& filter = {}) {
    Result<std::vector<DeviceInfo>> devices = scan_devices(filter);
    EXPECT_TRUE(devices.ok()) << devices.status().message();
    return devices.ok() ? devices.value() : std::vector<DeviceInfo>{};
  }

  void expect_platform_error(const std::string& message) {
    Result<std::vector<DeviceInfo>> devices = scan_devices();
    ASSERT_FALSE(devices.ok());
    EXPECT_EQ(devices.status().code(), ErrorCode::PlatformError);
    EXPECT_EQ(devices.status().message(), message);
  }
};

TEST_F(ScanDevices, NoCameraAttachedIsAnEmptyListWithoutASession) {
  Result<std::vector<DeviceInfo>> devices = scan_devices();
  ASSERT_TRUE(devices.ok()) << devices.status().message();
  EXPECT_TRUE(devices.value().empty());
  EXPECT_EQ(call_names(rig_), (std::vector<std::string>{"SonixCam_Init", "SonixCam_GetErrorCode"}));
}

TEST_F(ScanDevices, LibraryThatCannotStartIsAPlatformErrorNamingTheVendorCode) {
  rig_.add_camera(supported_camera(0, "SN1"));
  rig_.set_library_present(false);
  expect_platform_error("SonixCam_Init failed: vendor_code=ecLibInitFail(2)");
  // No UnInit after a failed Init.
  EXPECT_EQ(call_names(rig_),
            (std::vector<std::string>{"SonixCam_Init", "SonixCam_GetErrorCode", "SonixCam_GetErrorCode"}));
}

TEST_F(ScanDevices, DisconnectAtInitIsAFailureNotAnEmptyList) {
  rig_.add_camera(supported_camera(0, "SN1"));
  sim::VendorFault fault;
  fault.call = "SonixCam_Init";
  fault.vendor_code = 7;
  rig_.add_fault(fault);
  expect_platform_error("SonixCam_Init failed: vendor_code=ecDeviceDisconnect(7)");
}

TEST_F(ScanDevices, NotFoundAtInitThatCannotBeConfirmedIsAFailure) {
  rig_.add_camera(supported_camera(0, "SN1"));
  sim::VendorFault fault;
  fault.call = "SonixCam_Init";
  fault.vendor_code = 4;
  fault.error_code_query_fails = true;
  rig_.add_fault(fault);
  expect_platform_error("SonixCam_Init failed: vendor_code=ecUnknow(0)");
}

TEST_F(ScanDevices, ListsEachCameraWithItsIdsAndTexts) {
  const sim::SimulatedCamera camera = supported_camera(2, "SN0002");
  rig_.add_camera(camera);

  const std::vector<DeviceInfo> devices = scan_ok();
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_EQ(devices[0].vendor_id, model(2).vendor_id);
  EXPECT_EQ(devices[0].product_id, model(2).product_id);
  EXPECT_EQ(devices[0].serial_number, "SN0002");
  EXPECT_EQ(devices[0].descriptor_text, "Tovanel");
  EXPECT_EQ(devices[0].friendly_name, "Tovanel Stereo Camera");
  EXPECT_EQ(devices[0].device_path, camera.device_path);
  EXPECT_EQ(devices[0].extra_text, "");
  EXPECT_FALSE(devices[0].aux_flag_a);
  EXPECT_FALSE(devices[0].aux_flag_b);
}

TEST_F(ScanDevices, KeepsTheEnumerationOrderWithoutSortingOrRemovingDuplicates) {
  rig_.add_camera(supported_camera(4, "Z"));
  rig_.add_camera(supported_camera(0, "A"));
  rig_.add_camera(supported_camera(4, "Z"));
  EXPECT_EQ(serials_of(scan_ok()), (std::vector<std::string>{"Z", "A", "Z"}));
}

TEST_F(ScanDevices, DropsCamerasOfUnsupportedModels) {
  sim::SimulatedCamera webcam = supported_camera(0, "WEB");
  webcam.vendor_id = 0x046D;
  webcam.product_id = 0x0825;
  webcam.device_path = usb_path(0x046D, 0x0825, "WEB");
  rig_.add_camera(webcam);
  rig_.add_camera(supported_camera(1, "SN1"));
  EXPECT_EQ(serials_of(scan_ok()), (std::vector<std::string>{"SN1"}));
}

TEST_F(ScanDevices, UnpluggedCameraIsNotListed) {
  rig_.add_camera(supported_camera(0, "A"));
  const int gone = rig_.add_camera(supported_camera(1, "B"));
  rig_.add_camera(supported_camera(2, "C"));
  rig_.unplug(gone);
  EXPECT_EQ(serials_of(scan_ok()), (std::vector<std::string>{"A", "C"}));
}

TEST_F(ScanDevices, WithoutArgumentsScansWithTheDefaultFilter) {
  rig_.add_camera(supported_camera(0, "A"));
  sim::SimulatedCamera unnamed = supported_camera(3, "B");
  unnamed.serial_number.reset();
  rig_.add_camera(unnamed);
  rig_.set_capture_devices(OpenCvBackend::Msmf, {{"Tovanel Stereo Camera", supported_camera(0, "A").device_path}});

  Result<std::vector<DeviceInfo>> plain = scan_devices();
  Result<std::vector<DeviceInfo>> filtered = scan_devices(DeviceScanFilter{});
  ASSERT_TRUE(plain.ok()) << plain.status().message();
  ASSERT_TRUE(filtered.ok()) << filtered.status().message();
  ASSERT_EQ(plain.value().size(), 2u);
  ASSERT_EQ(filtered.value().size(), plain.value().size());
  for (std::size_t i = 0; i < plain.value().size(); ++i) {
    EXPECT_TRUE(same_record(plain.value()[i], filtered.value()[i])) << "record " << i;
  }
  EXPECT_EQ(plain.value()[0].backend_indices, (Indices{{OpenCvBackend::Msmf, 0}}));
}

TEST_F(ScanDevices, FilterOnVendorIdPassesOnlyThatVendor) {
  rig_.add_camera(supported_camera(0, "A"));
  DeviceScanFilter filter;
  filter.vendor_id = static_cast<std::uint16_t>(model(0).vendor_id + 1);
  EXPECT_TRUE(scan_ok(filter).empty());
  filter.vendor_id = model(0).vendor_id;
  EXPECT_EQ(serials_of(scan_ok(filter)), (std::vector<std::string>{"A"}));
}

TEST_F(ScanDevices, FilterOnProductIdPassesOnlyThatModel) {
  rig_.add_camera(supported_camera(0, "A"));
  rig_.add_camera(supported_camera(1, "B"));
  rig_.add_camera(supported_camera(1, "C"));
  DeviceScanFilter filter;
  filter.product_id = model(1).product_id;
  EXPECT_EQ(serials_of(scan_ok(filter)), (std::vector<std::string>{"B", "C"}));
}

TEST_F(ScanDevices, FilterRequiringASerialNumberDropsCamerasWithoutOne) {
  sim::SimulatedCamera unnamed = supported_camera(0, "A");
  unnamed.serial_number.reset();
  rig_.add_camera(unnamed);
  rig_.add_camera(supported_camera(0, "B"));
  DeviceScanFilter filter;
  filter.require_serial_number = true;
  EXPECT_EQ(serials_of(scan_ok(filter)), (std::vector<std::string>{"B"}));
}

TEST_F(ScanDevices, FiltersCombine) {
  rig_.add_camera(supported_camera(0, "A"));
  sim::SimulatedCamera unnamed = supported_camera(1, "B");
  unnamed.serial_number.reset();
  rig_.add_camera(unnamed);
  rig_.add_camera(supported_camera(1, "C"));
  DeviceScanFilter filter;
  filter.vendor_id = model(1).vendor_id;
  filter.product_id = model(1).product_id;
  filter.require_serial_number = true;
  EXPECT_EQ(serials_of(scan_ok(filter)), (std::vector<std::string>{"C"}));
}

TEST_F(ScanDevices, GivesEachCameraTheIndexEachCaptureBackendListsItUnder) {
  const sim::SimulatedCamera left = supported_camera(0, "LEFT01");
  const sim::SimulatedCamera right = supported_camera(1, "RIGHT02");
  rig_.add_camera(left);
  rig_.add_camera(right);
  rig_.set_capture_devices(OpenCvBackend::Msmf, {{"Tovanel Stereo Camera", lower(right.device_path)},
                                                 {"Tovanel Stereo Camera", lower(left.device_path)}});
  rig_.set_capture_devices(OpenCvBackend::Dshow, {{"Integrated Webcam", usb_path(0x046D, 0x0825, "WEB")},
                                                  {"Tovanel Stereo Camera", "@device:pnp:" + left.device_path}});

  const std::vector<DeviceInfo> devices = scan_ok();
  ASSERT_EQ(devices.size(), 2u);
  EXPECT_EQ(devices[0].backend_indices, (Indices{{OpenCvBackend::Dshow, 1}, {OpenCvBackend::Msmf, 1}}));
  EXPECT_EQ(devices[1].backend_indices, (Indices{{OpenCvBackend::Msmf, 0}}));
}

TEST_F(ScanDevices, FailedCaptureListingCostsOnlyItsIndices) {
  const sim::SimulatedCamera camera = supported_camera(0, "SN1");
  rig_.add_camera(camera);
  rig_.set_capture_devices(OpenCvBackend::Msmf, {{"Tovanel Stereo Camera", camera.device_path}});
  rig_.set_capture_devices(OpenCvBackend::Dshow, {{"Tovanel Stereo Camera", camera.device_path}});
  rig_.set_capture_listing_fails(OpenCvBackend::Dshow, true);

  const std::vector<DeviceInfo> devices = scan_ok();
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_EQ(devices[0].backend_indices, (Indices{{OpenCvBackend::Msmf, 0}}));
}

TEST_F(ScanDevices, MatchesSixtyFourCamerasAgainstSixtyFourCandidatesPerBackend) {
  std::vector<sim::SimulatedCamera> cameras;
  for (int i = 0; i < 64; ++i) {
    char serial[16];
    std::snprintf(serial, sizeof(serial), "SN%04d", i);
    cameras.push_back(supported_camera(static_cast<std::size_t>(i) % detail::kSupportedModelCount, serial));
    rig_.add_camera(cameras.back());
  }
  // Media Foundation lists them backwards as lower-case symbolic links; DirectShow starts
  // with a webcam, rotates the order by 17 and spells the paths as monikers. Every camera
  // has the same name, so only the paths can tell them apart.
  std::vector<sim::SimulatedCaptureDevice> msmf;
  for (int i = 63; i >= 0; --i) {
    msmf.push_back({"Tovanel Stereo Camera", lower(cameras[static_cast<std::size_t>(i)].device_path)});
  }
  std::vector<sim::SimulatedCaptureDevice> dshow = {{"Integrated Webcam", usb_path(0x046D, 0x0825, "WEB")}};
  for (int k = 0; k < 64; ++k) {
    dshow.push_back(
        {"Tovanel Stereo Camera", "@device:pnp:" + cameras[static_cast<std::size_t>((k + 17) % 64)].device_path});
  }
  rig_.set_capture_devices(OpenCvBackend::Msmf, msmf);
  rig_.set_capture_devices(OpenCvBackend::Dshow, dshow);

  const std::vector<DeviceInfo> devices = scan_ok();
  ASSERT_EQ(devices.size(), 64u);
  for (int i = 0; i < 64; ++i) {
    const DeviceInfo& device = devices[static_cast<std::size_t>(i)];
    EXPECT_EQ(device.serial_number, cameras[static_cast<std::size_t>(i)].serial_number);
    const int dshow_index = 1 + (i - 17 + 64) % 64;
    EXPECT_EQ(device.backend_indices, (Indices{{OpenCvBackend::Msmf, 63 - i}, {OpenCvBackend::Dshow, dshow_index}}))
        << "camera " << i;
  }
}

TEST_F(ScanDevices, OpensOneSessionAroundTheEnumerationAndClosesItBeforeReturning) {
  rig_.add_camera(supported_camera(0, "A"));
  rig_.add_camera(supported_camera(1, "B"));
  static_cast<void>(scan_ok());

  std::vector<std::string> expected = {"SonixCam_Init", "SonixCam_EnumCameras"};
  for (int camera = 0; camera < 2; ++camera) {
    expected.insert(expected.end(), 4, "SonixCam_GetDevDescriptor");
  }
  expected.push_back("SonixCam_UnInit");
  EXPECT_EQ(call_names(rig_), expected);
  const std::vector<sim::VendorCall> calls = rig_.calls();
  for (const sim::VendorCall& call : calls) {
    EXPECT_TRUE(call.lock_held) << call.name;
  }
  EXPECT_EQ(calls.back().open_sessions, 1);
}

TEST_F(ScanDevices, FailedEnumerationStillClosesTheSession) {
  rig_.add_camera(supported_camera(0, "A"));
  sim::VendorFault fault;
  fault.call = "SonixCam_EnumCameras";
  fault.vendor_code = 3;
  rig_.add_fault(fault);

  EXPECT_TRUE(scan_ok().empty());
  const std::vector<std::string> names = call_names(rig_);
  ASSERT_FALSE(names.empty());
  EXPECT_EQ(names.front(), "SonixCam_Init");
  EXPECT_EQ(names.back(), "SonixCam_UnInit");
  EXPECT_EQ(std::count(names.begin(), names.end(), "SonixCam_UnInit"), 1);
}

// Running out of memory while the cameras are listed fails the scan; it must not leave the library session open.
TEST_F(ScanDevices, ExceptionWhileListingIsAnInternalErrorAndStillClosesTheSession) {
  rig_.add_camera(supported_camera(0, "A"));
  static const detail::bridge::CaptureListingSource exhausted{
      [](OpenCvBackend) -> Result<std::vector<win_detail::WinOpenCvCameraCandidate>> { throw std::bad_alloc(); }};
  detail::bridge::PlatformTable listing;
  listing.capture_listing = &exhausted;
  std::optional<detail::bridge::PlatformOverride> installed(std::in_place, listing);

  Result<std::vector<DeviceInfo>> devices = scan_devices();
  installed.reset();
  ASSERT_FALSE(devices.ok());
  EXPECT_EQ(devices.status().code(), ErrorCode::InternalError);
  EXPECT_EQ(devices.status().message(), std::bad_alloc().what());
  const std::vector<std::string> names = call_names(rig_);
  ASSERT_FALSE(names.empty());
  EXPECT_EQ(names.back(), "SonixCam_UnInit");
  EXPECT_EQ(std::count(names.begin(), names.end(), "SonixCam_UnInit"), 1);
}

TEST_F(ScanDevices, WaitsWhileAnotherHolderHasTheVendorLock) {
  rig_.add_camera(supported_camera(0, "A"));
  std::optional<win_detail::SonixGlobalLock> held(std::in_place);
  std::atomic<bool> finished{false};
  std::optional<Result<std::vector<DeviceInfo>>> result;
  std::thread scanner([&] {
    result.emplace(scan_devices());
    finished = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(finished);
  EXPECT_TRUE(rig_.calls().empty());
  held.reset();
  scanner.join();
  ASSERT_TRUE(result.has_value());
  ASSERT_TRUE(result->ok()) << result->status().message();
  EXPECT_EQ(result->value().size(), 1u);
}

TEST_F(ScanDevices, ConcurrentScansSeeTheSameCameras) {
  for (int i = 0; i < 8; ++i) {
    rig_.add_camera(
        supported_camera(static_cast<std::size_t>(i) % detail::kSupportedModelCount, "SN" + std::to_string(i)));
  }
  std::vector<std::optional<Result<std::vector<DeviceInfo>>>> results(4);
  std::vector<std::thread> threads;
  for (auto& slot : results) {
    threads.emplace_back([&slot] { slot.emplace(scan_devices()); });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (const auto& slot : results) {
    ASSERT_TRUE(slot.has_value());
    ASSERT_TRUE(slot->ok()) << slot->status().message();
    EXPECT_EQ(slot->value().size(), 8u);
  }
  for (const sim::VendorCall& call : rig_.calls()) {
    EXPECT_TRUE(call.lock_held) << call.name;
    // Sessions never overlap: Init always finds none open.
    if (call.name == "SonixCam_Init") {
      EXPECT_EQ(call.open_sessions, 0);
    }
  }
}

}  // namespace
}  // namespace tovanel::uvc_stereo
