// The SDK DLL finding the camera vendor's library for real. This one program is copied
// into several directory layouts and each ctest run picks the suite of its layout:
//  - VendorLibraryBesideTheSdk: the SDK DLL and one SonixCamera.dll sit in one directory,
//    another SonixCamera.dll sits beside the program; the one beside the SDK must win.
//  - VendorLibraryOnTheSearchPath: only the program's directory holds SonixCamera.dll.
//  - VendorLibraryAbsent: no SonixCamera.dll anywhere, or only one lacking an export.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "bridge/os/windows_api_win.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/flash.h"
#include "uvc_stereo/flash_config.h"
#include "uvc_stereo/platform_info.h"

namespace tovanel::uvc_stereo {
namespace {

std::wstring directory_of_module(HMODULE module) {
  wchar_t path[MAX_PATH * 4] = {};
  const DWORD length = GetModuleFileNameW(module, path, static_cast<DWORD>(std::size(path)));
  const std::wstring full(path, length);
  return full.substr(0, full.find_last_of(L"\\/"));
}

HMODULE sdk_module() { return GetModuleHandleW(L"tovanel_uvc_stereo_sdk.dll"); }
HMODULE vendor_module() { return GetModuleHandleW(L"SonixCamera.dll"); }

// The stand-in library's own account of what it was asked.
class VendorLibraryLog {
 public:
  explicit VendorLibraryLog(HMODULE library) : library_(library) {}

  [[nodiscard]] std::vector<std::string> calls() const {
    using Calls = std::size_t (*)(char*, std::size_t);
    const auto read = reinterpret_cast<Calls>(reinterpret_cast<void*>(GetProcAddress(library_, "FakeSonix_Calls")));
    if (read == nullptr) {
      ADD_FAILURE() << "the loaded SonixCamera.dll is not the test's stand-in";
      return {};
    }
    std::string text(read(nullptr, 0) + 1, '\0');
    text.resize(read(text.data(), text.size()));
    std::vector<std::string> names;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
      names.push_back(line);
    }
    return names;
  }

  void clear() const { call<void (*)()>("FakeSonix_ClearCalls")(); }
  [[nodiscard]] int open_sessions() const { return call<int (*)()>("FakeSonix_OpenSessions")(); }
  void fail_next(const char* name, std::int32_t code) const {
    call<void (*)(const char*, std::int32_t)>("FakeSonix_FailNext")(name, code);
  }

 private:
  template <typename Function>
  Function call(const char* name) const {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library_, name)));
  }

  HMODULE library_;
};

// A scan through the SDK DLL, which must find the one camera of the stand-in named `label`.
void expect_one_camera_from(const char* label) {
  const Result<std::vector<DeviceInfo>> scanned = scan_devices();
  ASSERT_TRUE(scanned.ok()) << scanned.status().message();
  ASSERT_EQ(scanned.value().size(), 1u);
  const DeviceInfo& camera = scanned.value()[0];
  EXPECT_EQ(camera.friendly_name, std::string("Tovanel Stereo (") + label + ")");
  EXPECT_EQ(camera.vendor_id, 0x0C45);
  EXPECT_EQ(camera.product_id, 0x6366);
  EXPECT_EQ(camera.serial_number, "FAKE-0001");
}

TEST(VendorLibraryBesideTheSdk, TheCopyBesideTheSdkWinsOverTheOneBesideTheProgram) {
  ASSERT_NE(sdk_module(), nullptr);
  const std::wstring program_directory = directory_of_module(nullptr);
  const std::wstring sdk_directory = directory_of_module(sdk_module());
  ASSERT_NE(program_directory, sdk_directory) << "the layout needs the SDK DLL away from the program";

  expect_one_camera_from("beside-sdk");

  ASSERT_NE(vendor_module(), nullptr);
  EXPECT_EQ(directory_of_module(vendor_module()), sdk_directory);
}

TEST(VendorLibraryBesideTheSdk, EveryOperationReachesTheExportOfItsOwnName) {
  const Result<std::vector<DeviceInfo>> scanned = scan_devices();
  ASSERT_TRUE(scanned.ok()) << scanned.status().message();
  const VendorLibraryLog log(vendor_module());
  FlashConfig config;
  FlashBlob blob;
  const std::string json = R"({"baseline_mm":120.5})";
  blob.payload.assign(json.begin(), json.end());
  log.clear();

  const Status written = write_blob_to_device(config, blob);

  ASSERT_TRUE(written.ok()) << written.message();
  EXPECT_EQ(log.calls(),
            (std::vector<std::string>{
                "SonixCam_Init", "SonixCam_EnumCameras", "SonixCam_GetDevDescriptor", "SonixCam_GetDevDescriptor",
                "SonixCam_GetDevDescriptor", "SonixCam_GetDevDescriptor", "SonixCam_GetSerialFlashType",
                "SonixCam_SetStatusRegBitWP", "SonixCam_SetWriteProtectedSF", "SonixCam_SectorEraseSF",
                "SonixCam_WriteToSF", "SonixCam_CstmReadFromSF", "SonixCam_UnInit"}));
  const Result<FlashBlob> read = read_blob_from_device(config);
  ASSERT_TRUE(read.ok()) << read.status().message();
  EXPECT_EQ(read.value().payload, blob.payload);

  log.clear();
  Result<Device> opened = open_device(scanned.value()[0]);
  ASSERT_TRUE(opened.ok()) << opened.status().message();
  const std::vector<std::string> probe = log.calls();
  EXPECT_NE(std::find(probe.begin(), probe.end(), "SonixCam_SetNodeID"), probe.end());
  EXPECT_NE(std::find(probe.begin(), probe.end(), "SonixCam_XuRead"), probe.end());
  EXPECT_EQ(opened.value().capability_info().source, CapabilitySource::Fallback)
      << "an extension unit answering zeros reports nothing";

  log.clear();
  const Status imu = opened.value().open_imu();
  EXPECT_EQ(imu.code(), ErrorCode::NotSupported) << "the stand-in's firmware text names the build without an IMU";
  const std::vector<std::string> gate = log.calls();
  EXPECT_NE(std::find(gate.begin(), gate.end(), "SonixCam_GetVersion"), gate.end());

  log.fail_next("SonixCam_WriteToSF", 12);
  const Status failed = write_blob_to_device(config, blob);
  EXPECT_EQ(failed.code(), ErrorCode::WriteFailed);
  EXPECT_EQ(failed.message().rfind("SonixCam_WriteToSF failed: vendor_code=ecWriteFlashFail(12)", 0), 0u)
      << failed.message();
  EXPECT_EQ(log.open_sessions(), 0) << "every session the SDK opened was closed";
}

TEST(VendorLibraryOnTheSearchPath, IsFoundByNameWhenNoneIsBesideTheSdk) {
  ASSERT_NE(sdk_module(), nullptr);
  ASSERT_NE(directory_of_module(nullptr), directory_of_module(sdk_module()));

  expect_one_camera_from("search-path");

  ASSERT_NE(vendor_module(), nullptr);
  EXPECT_EQ(directory_of_module(vendor_module()), directory_of_module(nullptr));
  EXPECT_EQ(VendorLibraryLog(vendor_module()).open_sessions(), 0);
}

TEST(VendorLibraryOnTheSearchPath, ItsVersionNamesTheFileTheSdkLoaded) {
  const std::string version = vendor_library_version();
  // The stand-in library carries no version resource; the path is the one the SDK loaded.
  EXPECT_EQ(version.rfind("SonixCamera.dll (no version resource) (", 0), 0u) << version;
  ASSERT_NE(vendor_module(), nullptr);
  EXPECT_NE(version.find("SonixCamera.dll)"), std::string::npos) << version;
  EXPECT_EQ(version.back(), ')') << version;
}

TEST(VendorLibraryAbsent, ItsVersionSaysItIsNotLoaded) {
  EXPECT_EQ(vendor_library_version(),
            "not loaded (SonixCamera.dll was not found beside the SDK or on the search path)");
}

TEST(VendorLibraryAbsent, ScanningIsAPlatformErrorNamingLibInitFail) {
  const Result<std::vector<DeviceInfo>> scanned = scan_devices();

  ASSERT_FALSE(scanned.ok());
  EXPECT_EQ(scanned.status().code(), ErrorCode::PlatformError);
  EXPECT_EQ(scanned.status().message(), "SonixCam_Init failed: vendor_code=ecLibInitFail(2)");
  EXPECT_EQ(vendor_module(), nullptr) << "a library that is not complete is not kept loaded";
}

TEST(VendorLibraryAbsent, FlashAccessIsDeviceUnavailableNamingLibInitFail) {
  const Status probed = probe_flash_transport(FlashConfig());

  EXPECT_EQ(probed.code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(probed.message(), "SonixCam_Init failed: vendor_code=ecLibInitFail(2)");
}

}  // namespace
}  // namespace tovanel::uvc_stereo
