#include "bridge/device_resolution.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "core/utf.h"
#include "scripted_vendor_library.h"
#include "uvc_stereo/backend.h"
#include "uvc_stereo/flash_config.h"
#include "uvc_stereo/simulated_rig.h"
#include "vendor_rig_support.h"
#include "win/device_path.h"

namespace tovanel::uvc_stereo::win_detail {
namespace {

using enumeration_testing::calls_named;
using enumeration_testing::model;
using enumeration_testing::OpenSession;
using enumeration_testing::supported_camera;

constexpr const char* kNoSelector = "no device selector available (check config.vidpid or auto_select filter)";

// A configuration that selects nothing by itself.
FlashConfig no_selector() {
  FlashConfig config;
  config.auto_select = false;
  return config;
}

class DeviceResolution : public enumeration_testing::VendorRigTest {
 protected:
  void SetUp() override {
    first_ = supported_camera(0, "AAA1");
    second_ = supported_camera(1, "BBB2");
    third_ = supported_camera(0, "CCC3");
  }

  void plug_all() {
    rig_.add_camera(first_);
    rig_.add_camera(second_);
    rig_.add_camera(third_);
  }

  Result<EnumeratedDevice> resolve(const FlashConfig& config, bool with_backend_candidates = false) {
    OpenSession session;
    if (!session.opened()) {
      ADD_FAILURE() << "the test session did not open";
      return Status(ErrorCode::InternalError, "no session");
    }
    return resolve_device_with_active_runtime(config, with_backend_candidates);
  }

  // The serial number of the resolved camera, or the failure message.
  std::string resolved_serial(const FlashConfig& config) {
    Result<EnumeratedDevice> device = resolve(config);
    return device.ok() ? device.value().info.serial_number : "failed: " + device.status().message();
  }

  void expect_unavailable(const FlashConfig& config, const std::string& message) {
    Result<EnumeratedDevice> device = resolve(config);
    ASSERT_FALSE(device.ok());
    EXPECT_EQ(device.status().code(), ErrorCode::DeviceUnavailable);
    EXPECT_EQ(device.status().message(), message);
  }

  sim::SimulatedCamera first_;
  sim::SimulatedCamera second_;
  sim::SimulatedCamera third_;
};

TEST_F(DeviceResolution, WithoutAnySelectorFailsBeforeEnumerating) {
  plug_all();
  expect_unavailable(no_selector(), kNoSelector);
  EXPECT_TRUE(calls_named(rig_.calls(), "SonixCam_EnumCameras").empty());
}

TEST_F(DeviceResolution, EachSelectorAloneIsEnoughToEnumerate) {
  plug_all();
  FlashConfig by_vidpid = no_selector();
  by_vidpid.vidpid = make_vidpid_string(model(1).vendor_id, model(1).product_id);
  EXPECT_EQ(resolved_serial(by_vidpid), "BBB2");
  FlashConfig by_serial = no_selector();
  by_serial.serial_number = "CCC3";
  EXPECT_EQ(resolved_serial(by_serial), "CCC3");
  FlashConfig by_path = no_selector();
  by_path.device_path = first_.device_path;
  EXPECT_EQ(resolved_serial(by_path), "AAA1");
}

TEST_F(DeviceResolution, AutoSelectTakesTheFirstEnumeratedCamera) {
  plug_all();
  FlashConfig config;
  config.auto_select = true;
  Result<EnumeratedDevice> device = resolve(config);
  ASSERT_TRUE(device.ok()) << device.status().message();
  EXPECT_EQ(device.value().info.serial_number, "AAA1");
  EXPECT_EQ(device.value().info.device_path, first_.device_path);
}

TEST_F(DeviceResolution, ReturnsTheLibrarysRecordOfTheChosenCamera) {
  plug_all();
  FlashConfig config = no_selector();
  config.serial_number = "BBB2";
  Result<EnumeratedDevice> device = resolve(config);
  ASSERT_TRUE(device.ok()) << device.status().message();
  std::u16string path;
  for (std::size_t i = 0; i < SonixLib::kDevicePathChars && device.value().device.devicePath[i] != 0; ++i) {
    path.push_back(static_cast<char16_t>(device.value().device.devicePath[i]));
  }
  EXPECT_EQ(path, detail::utf8_to_utf16(second_.device_path));
}

TEST_F(DeviceResolution, DevicePathMatchesInAnotherLetterCase) {
  plug_all();
  FlashConfig config = no_selector();
  config.device_path = third_.device_path;
  for (char& c : config.device_path) {
    if (c >= 'A' && c <= 'Z') {
      c = static_cast<char>(c - 'A' + 'a');
    } else if (c >= 'a' && c <= 'z') {
      c = static_cast<char>(c - 'a' + 'A');
    }
  }
  ASSERT_NE(config.device_path, third_.device_path);
  EXPECT_EQ(resolved_serial(config), "CCC3");
}

TEST_F(DeviceResolution, DevicePathIsComparedWithoutNormalising) {
  plug_all();
  FlashConfig config = no_selector();
  // The same device in DirectShow's spelling is another text.
  config.device_path = "@device:pnp:" + third_.device_path;
  expect_unavailable(config, "preferred device_path not found in current scan");
}

TEST_F(DeviceResolution, DevicePathWinsOverAVidpidTheCameraDoesNotHave) {
  plug_all();
  FlashConfig config = no_selector();
  config.device_path = second_.device_path;
  config.vidpid = make_vidpid_string(model(0).vendor_id, model(0).product_id);
  config.serial_number = "AAA1";
  EXPECT_EQ(resolved_serial(config), "BBB2");
}

TEST_F(DeviceResolution, UnknownDevicePathFailsEvenWhenOtherSelectorsWouldMatch) {
  plug_all();
  FlashConfig config;
  config.device_path = "\\\\?\\usb#vid_0c45&pid_ffff#gone";
  config.serial_number = "AAA1";
  expect_unavailable(config, "preferred device_path not found in current scan");
}

TEST_F(DeviceResolution, SerialNumberSelectsIgnoringAsciiCase) {
  plug_all();
  FlashConfig config = no_selector();
  config.serial_number = "ccc3";
  EXPECT_EQ(resolved_serial(config), "CCC3");
}

TEST_F(DeviceResolution, SerialNumberIsComparedWithoutTrimming) {
  plug_all();
  FlashConfig config = no_selector();
  config.serial_number = "CCC3 ";
  expect_unavailable(config, "preferred serial_number not found in current scan");
}

TEST_F(DeviceResolution, SerialNumberOfACameraWithAnotherVidpidIsNotFound) {
  plug_all();
  FlashConfig config = no_selector();
  config.serial_number = "BBB2";
  config.vidpid = make_vidpid_string(model(0).vendor_id, model(0).product_id);
  expect_unavailable(config, "preferred serial_number not found in current scan");
}

TEST_F(DeviceResolution, SerialNumberTogetherWithItsVidpidSelects) {
  plug_all();
  FlashConfig config = no_selector();
  config.serial_number = "BBB2";
  config.vidpid = make_vidpid_string(model(1).vendor_id, model(1).product_id);
  EXPECT_EQ(resolved_serial(config), "BBB2");
}

TEST_F(DeviceResolution, FirstCameraWithTheSerialNumberWins) {
  second_.serial_number = "AAA1";
  third_.serial_number = "AAA1";
  plug_all();
  FlashConfig config = no_selector();
  config.serial_number = "AAA1";
  config.vidpid = make_vidpid_string(model(0).vendor_id, model(0).product_id);
  Result<EnumeratedDevice> device = resolve(config);
  ASSERT_TRUE(device.ok()) << device.status().message();
  EXPECT_EQ(device.value().info.device_path, first_.device_path);
}

TEST_F(DeviceResolution, UpperCaseVidpidSelectsTheFirstCameraWithThoseIds) {
  plug_all();
  FlashConfig config = no_selector();
  config.vidpid = make_vidpid_string(model(1).vendor_id, model(1).product_id);
  for (char& c : config.vidpid) {
    c = (c >= 'a' && c <= 'f') ? static_cast<char>(c - 32) : c;
  }
  EXPECT_EQ(resolved_serial(config), "BBB2");
  config.vidpid = make_vidpid_string(model(0).vendor_id, model(0).product_id);
  EXPECT_EQ(resolved_serial(config), "AAA1");
}

TEST_F(DeviceResolution, VidpidInAnyOtherFormMatchesNothing) {
  plug_all();
  const std::string vid = make_vidpid_string(model(1).vendor_id, model(1).product_id).substr(0, 4);
  const std::string pid = make_vidpid_string(model(1).vendor_id, model(1).product_id).substr(4);
  for (const std::string& form : {vid + ":" + pid, "0x" + vid + pid, vid + pid.substr(1), vid + pid + " "}) {
    FlashConfig config = no_selector();
    config.vidpid = form;
    expect_unavailable(config, "no device matched the requested vidpid/filter");
  }
}

TEST_F(DeviceResolution, VendorIdThatNoCameraHasEmptiesTheList) {
  plug_all();
  FlashConfig config;
  config.vendor_id = static_cast<std::uint16_t>(model(0).vendor_id ^ 0x00FF);
  config.vidpid = make_vidpid_string(model(0).vendor_id, model(0).product_id);
  expect_unavailable(config, "no matching device found");
}

TEST_F(DeviceResolution, ProductIdNarrowsTheListBeforeAutoSelect) {
  plug_all();
  FlashConfig config;
  config.product_id = model(1).product_id;
  EXPECT_EQ(resolved_serial(config), "BBB2");
}

TEST_F(DeviceResolution, ProductIdNarrowsTheListBeforeTheSerialNumber) {
  plug_all();
  FlashConfig config = no_selector();
  config.product_id = model(1).product_id;
  config.serial_number = "AAA1";
  expect_unavailable(config, "preferred serial_number not found in current scan");
}

TEST_F(DeviceResolution, NoCameraAtAllIsNoMatchingDevice) {
  rig_.set_init_fails_without_cameras(false);
  FlashConfig config;
  expect_unavailable(config, "no matching device found");
}

TEST_F(DeviceResolution, BackendIndicesAreGatheredOnlyWhenAsked) {
  plug_all();
  rig_.set_capture_devices(OpenCvBackend::Msmf, {{"Tovanel Stereo Camera", first_.device_path}});
  FlashConfig config;
  Result<EnumeratedDevice> without = resolve(config, false);
  ASSERT_TRUE(without.ok()) << without.status().message();
  EXPECT_TRUE(without.value().info.backend_indices.empty());
  Result<EnumeratedDevice> with = resolve(config, true);
  ASSERT_TRUE(with.ok()) << with.status().message();
  EXPECT_EQ(with.value().info.backend_indices, (std::map<OpenCvBackend, int>{{OpenCvBackend::Msmf, 0}}));
}

TEST(DeviceResolutionFailure, EnumerationFailureIsReturnedUnchanged) {
  enumeration_testing::ScriptedLibrary library;
  library.enum_succeeds = false;
  library.reported_count = 1;
  library.error_code = SonixLib::ecDeviceDisconnect;
  const enumeration_testing::ScriptedLibraryInstall install(library);

  Result<EnumeratedDevice> device = [] {
    OpenSession session;
    FlashConfig config;
    return resolve_device_with_active_runtime(config, false);
  }();
  ASSERT_FALSE(device.ok());
  EXPECT_EQ(device.status().code(), ErrorCode::PlatformError);
  EXPECT_EQ(device.status().message(), "SonixCam_EnumCameras failed: vendor_code=ecDeviceDisconnect(7)");
  EXPECT_TRUE(library.problems.empty()) << ::testing::PrintToString(library.problems);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::win_detail
