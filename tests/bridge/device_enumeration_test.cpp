#include "bridge/device_enumeration.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "core/utf.h"
#include "imu/model_table.h"
#include "scripted_vendor_library.h"
#include "uvc_stereo/backend.h"
#include "uvc_stereo/records.h"
#include "uvc_stereo/simulated_rig.h"
#include "vendor_rig_support.h"

namespace tovanel::uvc_stereo::win_detail {
namespace {

using enumeration_testing::calls_named;
using enumeration_testing::model;
using enumeration_testing::OpenSession;
using enumeration_testing::supported_camera;
using enumeration_testing::usb_path;
using test_support::lower;
using Indices = std::map<OpenCvBackend, int>;

class DeviceEnumeration : public enumeration_testing::VendorRigTest {
 protected:
  // Enumerates inside an open session, as scans and device resolution do.
  Result<std::vector<EnumeratedDevice>> enumerate(const DeviceScanFilter& filter = {},
                                                  bool with_backend_candidates = false) {
    OpenSession session;
    if (!session.opened()) {
      ADD_FAILURE() << "the test session did not open";
      return Status(ErrorCode::InternalError, "no session");
    }
    return enumerate_devices_with_active_runtime(filter, with_backend_candidates);
  }

  std::vector<EnumeratedDevice> enumerate_ok(const DeviceScanFilter& filter = {},
                                             bool with_backend_candidates = false) {
    Result<std::vector<EnumeratedDevice>> devices = enumerate(filter, with_backend_candidates);
    EXPECT_TRUE(devices.ok()) << devices.status().message();
    return devices.ok() ? devices.value() : std::vector<EnumeratedDevice>{};
  }

  std::vector<sim::VendorCall> descriptor_calls() const {
    return calls_named(rig_.calls(), "SonixCam_GetDevDescriptor");
  }
};

std::u16string wide_field(const SonixLib::scWideChar* field, std::size_t capacity) {
  std::u16string text;
  for (std::size_t i = 0; i < capacity && field[i] != 0; ++i) {
    text.push_back(static_cast<char16_t>(field[i]));
  }
  return text;
}

TEST_F(DeviceEnumeration, DescribesEachSupportedCameraFromItsDescriptorsAndRecord) {
  sim::SimulatedCamera camera = supported_camera(2, "SN0001");
  camera.product_string = "Tovanel Stereo";
  camera.descriptor_3 = "Rev B";
  rig_.add_camera(camera);

  const std::vector<EnumeratedDevice> devices = enumerate_ok();
  ASSERT_EQ(devices.size(), 1u);
  const DeviceInfo& info = devices[0].info;
  EXPECT_EQ(info.vendor_id, model(2).vendor_id);
  EXPECT_EQ(info.product_id, model(2).product_id);
  EXPECT_EQ(info.device_path, camera.device_path);
  EXPECT_EQ(info.friendly_name, "Tovanel Stereo");
  EXPECT_EQ(info.descriptor_text, "Rev B");
  EXPECT_EQ(info.serial_number, "SN0001");
  EXPECT_FALSE(info.aux_flag_a);
  EXPECT_FALSE(info.aux_flag_b);
  EXPECT_EQ(info.extra_text, "");
  EXPECT_TRUE(info.backend_indices.empty());
}

TEST_F(DeviceEnumeration, KeepsTheLibrarysRecordOfEachCamera) {
  sim::SimulatedCamera camera = supported_camera(0, "SN1");
  camera.device_name = "Library Name";
  rig_.add_camera(camera);

  const std::vector<EnumeratedDevice> devices = enumerate_ok();
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_EQ(wide_field(devices[0].device.devicePath, SonixLib::kDevicePathChars),
            detail::utf8_to_utf16(camera.device_path));
  EXPECT_EQ(wide_field(devices[0].device.deviceName, SonixLib::kDeviceNameChars), u"Library Name");

  // The kept record still names the camera in a later session.
  OpenSession session;
  ASSERT_TRUE(session.opened());
  SonixLib::scDevice_t record = devices[0].device;
  std::uint8_t serial[64] = {};
  ASSERT_TRUE(SonixCam_GetDevDescriptor(&record, 4, serial, sizeof(serial), 0, 0));
  EXPECT_STREQ(reinterpret_cast<const char*>(serial), "SN1");
}

TEST_F(DeviceEnumeration, KeepsTheLibrarysOrder) {
  rig_.add_camera(supported_camera(3, "C"));
  rig_.add_camera(supported_camera(0, "A"));
  rig_.add_camera(supported_camera(1, "B"));

  const std::vector<EnumeratedDevice> devices = enumerate_ok();
  ASSERT_EQ(devices.size(), 3u);
  EXPECT_EQ(devices[0].info.serial_number, "C");
  EXPECT_EQ(devices[1].info.serial_number, "A");
  EXPECT_EQ(devices[2].info.serial_number, "B");
  EXPECT_EQ(devices[0].info.product_id, model(3).product_id);
}

TEST_F(DeviceEnumeration, ConvertsTheRecordsWideTextToUtf8) {
  sim::SimulatedCamera camera = supported_camera(0, "SN1");
  camera.device_path = usb_path(model(0).vendor_id, model(0).product_id, "k\xC3\xBC\xE7\xAB\x8B\xF0\x9F\x93\xB7");
  camera.device_name = "Kamera St\xC3\xA9r\xC3\xA9o \xE7\xAB\x8B\xE4\xBD\x93 \xF0\x9F\x93\xB7";
  camera.product_string.reset();
  rig_.add_camera(camera);

  const std::vector<EnumeratedDevice> devices = enumerate_ok();
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_EQ(devices[0].info.device_path, camera.device_path);
  EXPECT_EQ(devices[0].info.friendly_name, camera.device_name);
}

TEST_F(DeviceEnumeration, AsksTheLibraryForUpTo64Cameras) {
  rig_.add_camera(supported_camera(0, "SN1"));
  static_cast<void>(enumerate_ok());
  const std::vector<sim::VendorCall> enums = calls_named(rig_.calls(), "SonixCam_EnumCameras");
  ASSERT_EQ(enums.size(), 1u);
  EXPECT_EQ(enums[0].args, (std::vector<std::int64_t>{64}));
}

TEST_F(DeviceEnumeration, NoCameraReportedAsNotFoundIsAnEmptyList) {
  rig_.set_init_fails_without_cameras(false);
  Result<std::vector<EnumeratedDevice>> devices = enumerate();
  ASSERT_TRUE(devices.ok()) << devices.status().message();
  EXPECT_TRUE(devices.value().empty());
  const std::vector<sim::VendorCall> enums = calls_named(rig_.calls(), "SonixCam_EnumCameras");
  ASSERT_EQ(enums.size(), 1u);
  EXPECT_FALSE(enums[0].succeeded);
}

TEST_F(DeviceEnumeration, FailedEnumerationWithAnotherCodeButNoCountIsAnEmptyList) {
  rig_.add_camera(supported_camera(0, "SN1"));
  sim::VendorFault fault;
  fault.call = "SonixCam_EnumCameras";
  fault.vendor_code = SonixLib::ecEnumDeviceFail;
  rig_.add_fault(fault);

  Result<std::vector<EnumeratedDevice>> devices = enumerate();
  ASSERT_TRUE(devices.ok()) << devices.status().message();
  EXPECT_TRUE(devices.value().empty());
  EXPECT_TRUE(descriptor_calls().empty());
}

TEST_F(DeviceEnumeration, FailedEnumerationWithAnUnreadableCodeButNoCountIsAnEmptyList) {
  rig_.add_camera(supported_camera(0, "SN1"));
  sim::VendorFault fault;
  fault.call = "SonixCam_EnumCameras";
  fault.vendor_code = SonixLib::ecDeviceDisconnect;
  fault.error_code_query_fails = true;
  rig_.add_fault(fault);

  Result<std::vector<EnumeratedDevice>> devices = enumerate();
  ASSERT_TRUE(devices.ok()) << devices.status().message();
  EXPECT_TRUE(devices.value().empty());
}

TEST_F(DeviceEnumeration, ReadsOnly64OfMoreReportedCameras) {
  for (int i = 0; i < 70; ++i) {
    rig_.add_camera(supported_camera(static_cast<std::size_t>(i) % 5, "SN" + std::to_string(i)));
  }
  const std::vector<EnumeratedDevice> devices = enumerate_ok();
  ASSERT_EQ(devices.size(), 64u);
  for (std::size_t i = 0; i < devices.size(); ++i) {
    EXPECT_EQ(devices[i].info.serial_number, "SN" + std::to_string(i));
  }
  for (const sim::VendorCall& call : descriptor_calls()) {
    EXPECT_LT(call.camera, 64);
  }
}

TEST_F(DeviceEnumeration, LittleEndianDescriptorIsReadInTheOrderThePathConfirms) {
  sim::SimulatedCamera camera = supported_camera(1, "SN1");
  camera.descriptor_order = sim::DescriptorByteOrder::LittleEndian;
  rig_.add_camera(camera);

  const std::vector<EnumeratedDevice> devices = enumerate_ok();
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_EQ(devices[0].info.vendor_id, model(1).vendor_id);
  EXPECT_EQ(devices[0].info.product_id, model(1).product_id);
}

TEST_F(DeviceEnumeration, LittleEndianDescriptorWithoutIdsInThePathIsReadInTheOrderOfASupportedModel) {
  sim::SimulatedCamera camera = supported_camera(4, "SN1");
  camera.descriptor_order = sim::DescriptorByteOrder::LittleEndian;
  camera.device_path = "\\\\?\\ROOT#IMAGE#0000#{65E8773D-8F56-11D0-A3B9-00A0C9223196}\\GLOBAL";
  rig_.add_camera(camera);

  const std::vector<EnumeratedDevice> devices = enumerate_ok();
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_EQ(devices[0].info.vendor_id, model(4).vendor_id);
  EXPECT_EQ(devices[0].info.product_id, model(4).product_id);
}

TEST_F(DeviceEnumeration, BigEndianDescriptorWithoutIdsInThePathIsReadAsWritten) {
  sim::SimulatedCamera camera = supported_camera(3, "SN1");
  camera.device_path = "\\\\?\\ROOT#IMAGE#0000";
  rig_.add_camera(camera);

  const std::vector<EnumeratedDevice> devices = enumerate_ok();
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_EQ(devices[0].info.product_id, model(3).product_id);
}

TEST_F(DeviceEnumeration, DescriptorNamingASupportedModelWinsOverAPathThatDisagrees) {
  sim::SimulatedCamera camera = supported_camera(1, "SN1");
  camera.device_path = usb_path(model(0).vendor_id, model(0).product_id, "7&1&0&1");
  rig_.add_camera(camera);

  const std::vector<EnumeratedDevice> devices = enumerate_ok();
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_EQ(devices[0].info.product_id, model(1).product_id);
}

TEST_F(DeviceEnumeration, DescriptorNamingAnUnsupportedModelDropsTheCameraWhateverItsPathSays) {
  sim::SimulatedCamera camera = supported_camera(0, "SN1");
  camera.product_id = 0x1234;
  rig_.add_camera(camera);

  EXPECT_TRUE(enumerate_ok().empty());
}

TEST_F(DeviceEnumeration, AllZeroDescriptorFallsBackToTheIdsInThePath) {
  sim::SimulatedCamera camera = supported_camera(2, "SN1");
  camera.vendor_id = 0;
  camera.product_id = 0;
  rig_.add_camera(camera);

  const std::vector<EnumeratedDevice> devices = enumerate_ok();
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_EQ(devices[0].info.vendor_id, model(2).vendor_id);
  EXPECT_EQ(devices[0].info.product_id, model(2).product_id);
}

TEST_F(DeviceEnumeration, FailedDescriptorRequestFallsBackToTheIdsInThePath) {
  // The camera's descriptor would say model 1; its path says model 0.
  sim::SimulatedCamera camera = supported_camera(1, "SN1");
  camera.device_path = usb_path(model(0).vendor_id, model(0).product_id, "7&1&0&1");
  rig_.add_camera(camera);
  sim::VendorFault fault;
  fault.call = "SonixCam_GetDevDescriptor";
  fault.vendor_code = SonixLib::ecGetKsControlFail;
  rig_.add_fault(fault);

  const std::vector<EnumeratedDevice> devices = enumerate_ok();
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_EQ(devices[0].info.vendor_id, model(0).vendor_id);
  EXPECT_EQ(devices[0].info.product_id, model(0).product_id);
}

TEST_F(DeviceEnumeration, PathIdsAreReadInEitherLetterCase) {
  sim::SimulatedCamera camera = supported_camera(1, "SN1");
  char path[64];
  std::snprintf(path, sizeof(path), "\\\\?\\usb#Vid_%04X&Pid_%04X#x", static_cast<unsigned>(model(1).vendor_id),
                static_cast<unsigned>(model(1).product_id));
  camera.device_path = path;
  rig_.add_camera(camera);
  sim::VendorFault fault;
  fault.call = "SonixCam_GetDevDescriptor";
  rig_.add_fault(fault);

  const std::vector<EnumeratedDevice> devices = enumerate_ok();
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_EQ(devices[0].info.product_id, model(1).product_id);
}

TEST_F(DeviceEnumeration, FailedDescriptorRequestAndAPathWithoutIdsDropsTheCamera) {
  sim::SimulatedCamera camera = supported_camera(0, "SN1");
  camera.device_path = "\\\\?\\ROOT#IMAGE#0000";
  rig_.add_camera(camera);
  sim::VendorFault fault;
  fault.call = "SonixCam_GetDevDescriptor";
  rig_.add_fault(fault);

  EXPECT_TRUE(enumerate_ok().empty());
}

TEST_F(DeviceEnumeration, PathWithATruncatedIdDropsTheCameraWhenTheDescriptorFails) {
  sim::SimulatedCamera camera = supported_camera(0, "SN1");
  camera.device_path = "usb#pid_6366&vid_0c4";
  rig_.add_camera(camera);
  sim::VendorFault fault;
  fault.call = "SonixCam_GetDevDescriptor";
  rig_.add_fault(fault);

  EXPECT_TRUE(enumerate_ok().empty());
}

TEST_F(DeviceEnumeration, UnsupportedCameraIsDroppedBeforeItsStringsAreRead) {
  sim::SimulatedCamera webcam = supported_camera(0, "WEB");
  webcam.vendor_id = 0x046D;
  webcam.product_id = 0x0825;
  webcam.device_path = usb_path(0x046D, 0x0825, "7&2&0&1");
  rig_.add_camera(webcam);
  rig_.add_camera(supported_camera(0, "SN1"));

  const std::vector<EnumeratedDevice> devices = enumerate_ok();
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_EQ(devices[0].info.serial_number, "SN1");
  std::size_t webcam_calls = 0;
  for (const sim::VendorCall& call : descriptor_calls()) {
    webcam_calls += call.camera == 0 ? 1 : 0;
  }
  EXPECT_EQ(webcam_calls, 1u);
}

TEST_F(DeviceEnumeration, ReadsTheIdsThenStringDescriptors3Then2Then4) {
  rig_.add_camera(supported_camera(0, "SN1"));
  static_cast<void>(enumerate_ok());

  const std::vector<sim::VendorCall> calls = descriptor_calls();
  ASSERT_EQ(calls.size(), 4u);
  EXPECT_EQ(calls[0].args, (std::vector<std::int64_t>{0, 4, 0, 0}));
  EXPECT_EQ(calls[1].args, (std::vector<std::int64_t>{3, 64, 0, 0}));
  EXPECT_EQ(calls[2].args, (std::vector<std::int64_t>{2, 64, 0, 0}));
  EXPECT_EQ(calls[3].args, (std::vector<std::int64_t>{4, 64, 0, 0}));
}

TEST_F(DeviceEnumeration, StringDescriptorsLoseTrailingPaddingButKeepLeadingSpace) {
  sim::SimulatedCamera camera = supported_camera(0, "SN1");
  camera.serial_number = " SN1 \t\r\n ";
  camera.descriptor_3 = "Rev B\n";
  camera.product_string = "\tStereo  \r\n";
  rig_.add_camera(camera);

  const std::vector<EnumeratedDevice> devices = enumerate_ok();
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_EQ(devices[0].info.serial_number, " SN1");
  EXPECT_EQ(devices[0].info.descriptor_text, "Rev B");
  EXPECT_EQ(devices[0].info.friendly_name, "\tStereo");
}

TEST_F(DeviceEnumeration, StringDescriptorEndsAtItsFirstNul) {
  sim::SimulatedCamera camera = supported_camera(0, "SN1");
  camera.serial_number = std::string("AB\0CD", 5);
  rig_.add_camera(camera);

  const std::vector<EnumeratedDevice> devices = enumerate_ok();
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_EQ(devices[0].info.serial_number, "AB");
}

TEST_F(DeviceEnumeration, StringDescriptorIsReadIntoSixtyFourBytes) {
  sim::SimulatedCamera camera = supported_camera(0, "SN1");
  const std::string long_text(80, 'x');
  camera.descriptor_3 = long_text;
  camera.serial_number = std::string(64, '7');
  rig_.add_camera(camera);

  const std::vector<EnumeratedDevice> devices = enumerate_ok();
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_EQ(devices[0].info.descriptor_text, std::string(64, 'x'));
  EXPECT_EQ(devices[0].info.serial_number, std::string(64, '7'));
}

TEST_F(DeviceEnumeration, EmptyProductStringKeepsTheLibrarysName) {
  sim::SimulatedCamera camera = supported_camera(0, "SN1");
  camera.device_name = "USB Camera";
  camera.product_string = " \r\n";
  rig_.add_camera(camera);

  const std::vector<EnumeratedDevice> devices = enumerate_ok();
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_EQ(devices[0].info.friendly_name, "USB Camera");
}

TEST_F(DeviceEnumeration, MissingStringDescriptorsLeaveTheirFieldsAsTheyWere) {
  sim::SimulatedCamera camera = supported_camera(0, "SN1");
  camera.device_name = "USB Camera";
  camera.product_string.reset();
  camera.descriptor_3.reset();
  camera.serial_number.reset();
  rig_.add_camera(camera);

  const std::vector<EnumeratedDevice> devices = enumerate_ok();
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_EQ(devices[0].info.friendly_name, "USB Camera");
  EXPECT_EQ(devices[0].info.descriptor_text, "");
  EXPECT_EQ(devices[0].info.serial_number, "");
}

TEST_F(DeviceEnumeration, DefaultFilterPassesEverySupportedCamera) {
  rig_.add_camera(supported_camera(0, "A"));
  sim::SimulatedCamera unnamed = supported_camera(1, "B");
  unnamed.serial_number.reset();
  rig_.add_camera(unnamed);
  EXPECT_EQ(enumerate_ok().size(), 2u);
}

TEST_F(DeviceEnumeration, FilterOnVendorIdDropsOtherVendors) {
  rig_.add_camera(supported_camera(0, "A"));
  DeviceScanFilter filter;
  filter.vendor_id = static_cast<std::uint16_t>(model(0).vendor_id + 1);
  EXPECT_TRUE(enumerate_ok(filter).empty());
  filter.vendor_id = model(0).vendor_id;
  EXPECT_EQ(enumerate_ok(filter).size(), 1u);
}

TEST_F(DeviceEnumeration, FilterOnProductIdKeepsOnlyThatModel) {
  rig_.add_camera(supported_camera(0, "A"));
  rig_.add_camera(supported_camera(1, "B"));
  rig_.add_camera(supported_camera(0, "C"));
  DeviceScanFilter filter;
  filter.product_id = model(0).product_id;

  const std::vector<EnumeratedDevice> devices = enumerate_ok(filter);
  ASSERT_EQ(devices.size(), 2u);
  EXPECT_EQ(devices[0].info.serial_number, "A");
  EXPECT_EQ(devices[1].info.serial_number, "C");
}

TEST_F(DeviceEnumeration, FilterRequiringASerialNumberDropsCamerasWithoutOne) {
  sim::SimulatedCamera blank = supported_camera(0, "A");
  blank.serial_number = "  ";
  rig_.add_camera(blank);
  sim::SimulatedCamera missing = supported_camera(0, "B");
  missing.serial_number.reset();
  rig_.add_camera(missing);
  rig_.add_camera(supported_camera(0, "C"));
  DeviceScanFilter filter;
  filter.require_serial_number = true;

  const std::vector<EnumeratedDevice> devices = enumerate_ok(filter);
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_EQ(devices[0].info.serial_number, "C");
}

class DeviceEnumerationWithCandidates : public DeviceEnumeration {
 protected:
  void SetUp() override {
    first_ = supported_camera(0, "AAA1");
    second_ = supported_camera(1, "BBB2");
    rig_.add_camera(first_);
    rig_.add_camera(second_);
    // Media Foundation lists the second camera first; DirectShow spells the paths its own way.
    rig_.set_capture_devices(OpenCvBackend::Msmf, {{"Tovanel Stereo Camera", lower(second_.device_path)},
                                                   {"Tovanel Stereo Camera", lower(first_.device_path)}});
    rig_.set_capture_devices(OpenCvBackend::Dshow, {{"Integrated Webcam", usb_path(0x046D, 0x0825, "6&1&0&0")},
                                                    {"Tovanel Stereo Camera", "@device:pnp:" + first_.device_path},
                                                    {"Tovanel Stereo Camera", "@device:pnp:" + second_.device_path}});
  }

  sim::SimulatedCamera first_;
  sim::SimulatedCamera second_;
};

TEST_F(DeviceEnumerationWithCandidates, EachCameraGetsItsIndexInBothBackends) {
  const std::vector<EnumeratedDevice> devices = enumerate_ok({}, true);
  ASSERT_EQ(devices.size(), 2u);
  EXPECT_EQ(devices[0].info.backend_indices, (Indices{{OpenCvBackend::Msmf, 1}, {OpenCvBackend::Dshow, 1}}));
  EXPECT_EQ(devices[1].info.backend_indices, (Indices{{OpenCvBackend::Msmf, 0}, {OpenCvBackend::Dshow, 2}}));
}

TEST_F(DeviceEnumerationWithCandidates, WithoutCandidatesEveryMapIsEmpty) {
  const std::vector<EnumeratedDevice> devices = enumerate_ok({}, false);
  ASSERT_EQ(devices.size(), 2u);
  EXPECT_TRUE(devices[0].info.backend_indices.empty());
  EXPECT_TRUE(devices[1].info.backend_indices.empty());
}

TEST_F(DeviceEnumerationWithCandidates, FailedListingCostsOnlyThatBackendsIndices) {
  rig_.set_capture_listing_fails(OpenCvBackend::Msmf, true);
  const std::vector<EnumeratedDevice> devices = enumerate_ok({}, true);
  ASSERT_EQ(devices.size(), 2u);
  EXPECT_EQ(devices[0].info.backend_indices, (Indices{{OpenCvBackend::Dshow, 1}}));
  EXPECT_EQ(devices[1].info.backend_indices, (Indices{{OpenCvBackend::Dshow, 2}}));
}

TEST_F(DeviceEnumerationWithCandidates, CameraSeenOnlyByMediaFoundationCarriesOnlyThatIndex) {
  rig_.set_capture_devices(OpenCvBackend::Dshow, {{"Tovanel Stereo Camera", "@device:pnp:" + first_.device_path}});
  const std::vector<EnumeratedDevice> devices = enumerate_ok({}, true);
  ASSERT_EQ(devices.size(), 2u);
  EXPECT_EQ(devices[0].info.backend_indices, (Indices{{OpenCvBackend::Msmf, 1}, {OpenCvBackend::Dshow, 0}}));
  EXPECT_EQ(devices[1].info.backend_indices, (Indices{{OpenCvBackend::Msmf, 0}}));
}

TEST_F(DeviceEnumerationWithCandidates, FilteredOutCameraLeavesItsCandidatesToNobody) {
  DeviceScanFilter filter;
  filter.product_id = model(1).product_id;
  const std::vector<EnumeratedDevice> devices = enumerate_ok(filter, true);
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_EQ(devices[0].info.serial_number, "BBB2");
  EXPECT_EQ(devices[0].info.backend_indices, (Indices{{OpenCvBackend::Msmf, 0}, {OpenCvBackend::Dshow, 2}}));
}

// The library below counts cameras and then fails, or counts more than it was given room for:
// answers the simulated rig never gives.
class DeviceEnumerationScripted : public ::testing::Test {
 protected:
  Result<std::vector<EnumeratedDevice>> enumerate() {
    const enumeration_testing::ScriptedLibraryInstall install(library_);
    OpenSession session;
    Result<std::vector<EnumeratedDevice>> devices = enumerate_devices_with_active_runtime({}, false);
    EXPECT_TRUE(library_.problems.empty()) << ::testing::PrintToString(library_.problems);
    return devices;
  }

  void fail_after_counting(std::int32_t count, std::int32_t code) {
    library_.enum_succeeds = false;
    library_.reported_count = count;
    library_.error_code = code;
  }

  void expect_platform_error(const std::string& message) {
    Result<std::vector<EnumeratedDevice>> devices = enumerate();
    ASSERT_FALSE(devices.ok());
    EXPECT_EQ(devices.status().code(), ErrorCode::PlatformError);
    EXPECT_EQ(devices.status().message(), message);
  }

  enumeration_testing::ScriptedLibrary library_;
};

TEST_F(DeviceEnumerationScripted, FailureAfterCountingCamerasNamesTheVendorCode) {
  fail_after_counting(2, SonixLib::ecEnumDeviceFail);
  expect_platform_error("SonixCam_EnumCameras failed: vendor_code=ecEnumDeviceFail(3)");
  // Once to decide, once more for the message; never for a device.
  EXPECT_EQ(library_.error_code_calls, 2);
  EXPECT_EQ(library_.error_code_calls_with_device, 0);
  EXPECT_TRUE(library_.descriptor_records.empty());
}

TEST_F(DeviceEnumerationScripted, NotFoundAfterCountingCamerasIsAnEmptyList) {
  fail_after_counting(3, SonixLib::ecNotFindDevice);
  Result<std::vector<EnumeratedDevice>> devices = enumerate();
  ASSERT_TRUE(devices.ok()) << devices.status().message();
  EXPECT_TRUE(devices.value().empty());
  EXPECT_EQ(library_.error_code_calls, 1);
}

TEST_F(DeviceEnumerationScripted, NotFoundIsOnlyTrustedWhenTheCodeCouldBeRead) {
  fail_after_counting(1, SonixLib::ecNotFindDevice);
  library_.error_code_reads_succeed = {false, true};
  expect_platform_error("SonixCam_EnumCameras failed: vendor_code=ecNotFindDevice(4)");
}

TEST_F(DeviceEnumerationScripted, UnreadableCodeIsReportedAsEcUnknow) {
  fail_after_counting(1, SonixLib::ecEnumDeviceFail);
  library_.error_code_reads_succeed = {false, false};
  expect_platform_error("SonixCam_EnumCameras failed: vendor_code=ecUnknow(0)");
}

TEST_F(DeviceEnumerationScripted, CodeBeyondTheKnownNamesIsReportedAsUnknown) {
  fail_after_counting(1, 22);
  expect_platform_error("SonixCam_EnumCameras failed: vendor_code=unknown(22)");
}

TEST_F(DeviceEnumerationScripted, NegativeCodeIsReportedAsUnknown) {
  fail_after_counting(1, -1);
  expect_platform_error("SonixCam_EnumCameras failed: vendor_code=unknown(-1)");
}

TEST_F(DeviceEnumerationScripted, ReadsOnlyTheFirst64OfMoreCountedCameras) {
  for (int i = 0; i < 64; ++i) {
    const detail::SupportedModel& row = model(static_cast<std::size_t>(i) % detail::kSupportedModelCount);
    library_.cameras.push_back(enumeration_testing::scripted_camera(row.vendor_id, row.product_id, i));
  }
  library_.reported_count = 1000;

  Result<std::vector<EnumeratedDevice>> devices = enumerate();
  ASSERT_TRUE(devices.ok()) << devices.status().message();
  EXPECT_EQ(library_.enum_max_count, 64);
  ASSERT_EQ(devices.value().size(), 64u);
  ASSERT_EQ(library_.descriptor_records.size(), 64u);
  for (std::size_t i = 0; i < 64; ++i) {
    EXPECT_EQ(library_.descriptor_records[i], i);
    EXPECT_EQ(detail::utf8_to_utf16(devices.value()[i].info.device_path), library_.cameras[i].device_path);
  }
}

TEST_F(DeviceEnumerationScripted, NegativeCountReadsNothing) {
  library_.cameras.push_back(enumeration_testing::scripted_camera(model(0).vendor_id, model(0).product_id, 0));
  library_.reported_count = -3;

  Result<std::vector<EnumeratedDevice>> devices = enumerate();
  ASSERT_TRUE(devices.ok()) << devices.status().message();
  EXPECT_TRUE(devices.value().empty());
  EXPECT_TRUE(library_.descriptor_records.empty());
}

}  // namespace
}  // namespace tovanel::uvc_stereo::win_detail
