#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "bridge/os/capture_listing.h"
#include "fake_capture_system_win.h"

namespace tovanel::uvc_stereo::win_detail {
namespace {

using win_testing::FakeProperty;
using win_testing::Throw;

using DshowListing = win_testing::FakeCaptureSystemTest;

constexpr wchar_t kCameraPath[] =
    L"\\\\?\\USB#VID_0C45&PID_6366&MI_00#6&2A4B5C&0&0000#{65E8773D-8F56-11D0-A3B9-00A0C9223196}\\GLOBAL";
constexpr char kCameraPathUtf8[] =
    "\\\\?\\USB#VID_0C45&PID_6366&MI_00#6&2A4B5C&0&0000#{65E8773D-8F56-11D0-A3B9-00A0C9223196}\\GLOBAL";

FakeProperty text(const std::wstring& value) { return {FakeProperty::Kind::Text, value}; }
FakeProperty of_kind(FakeProperty::Kind kind) { return {kind, L"left behind"}; }

TEST_F(DshowListing, AnEmptyVideoInputCategoryIsAnEmptyListAndSuccess) {
  devices_.device_enumerator.result = S_FALSE;

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_dshow_backend_candidates();

  ASSERT_TRUE(listed.ok()) << listed.status().message();
  EXPECT_TRUE(listed.value().empty());
  EXPECT_EQ(system_.count("next"), 0u);
  EXPECT_EQ(devices_.device_enumerator.extra_references(), 0) << "the device enumerator is released";
  EXPECT_EQ(system_.count("CoUninitialize"), 1u);
}

TEST_F(DshowListing, ListsEachDeviceWithItsIndexNamePathAndIdentity) {
  devices_.add_moniker({{L"FriendlyName", text(L"Tovanel Stereo")}, {L"DevicePath", text(kCameraPath)}});
  devices_.add_moniker({{L"FriendlyName", text(L"Screen Grabber")}, {L"DevicePath", text(L"\\\\?\\root#image#0000")}});

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_dshow_backend_candidates();

  ASSERT_TRUE(listed.ok()) << listed.status().message();
  ASSERT_EQ(listed.value().size(), 2u);
  const WinOpenCvCameraCandidate& camera = listed.value()[0];
  EXPECT_EQ(camera.backend, OpenCvBackend::Dshow);
  EXPECT_EQ(camera.index, 0);
  EXPECT_EQ(camera.friendly_name, "Tovanel Stereo");
  EXPECT_EQ(camera.device_path, kCameraPathUtf8) << "the path is kept exactly as DirectShow gave it";
  EXPECT_EQ(camera.normalized_path, "usb#vid_0c45&pid_6366&mi_00#6&2a4b5c&0&0000");
  EXPECT_EQ(camera.identity.vid, 0x0C45);
  EXPECT_EQ(camera.identity.pid, 0x6366);
  EXPECT_EQ(camera.identity.mi, "00");
  EXPECT_EQ(camera.identity.serial, "6&2a4b5c&0&0000");

  const WinOpenCvCameraCandidate& grabber = listed.value()[1];
  EXPECT_EQ(grabber.index, 1);
  EXPECT_EQ(grabber.friendly_name, "Screen Grabber");
  EXPECT_EQ(grabber.identity.vid, 0) << "a path without USB tokens names no vendor";
  EXPECT_EQ(grabber.identity.pid, 0);
}

TEST_F(DshowListing, AnEmptyFriendlyNameIsReplacedByTheDescription) {
  devices_.add_moniker({{L"FriendlyName", text(L"")}, {L"Description", text(L"Stereo Camera")}});
  devices_.add_moniker({{L"Description", text(L"Described Only")}});

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_dshow_backend_candidates();

  ASSERT_TRUE(listed.ok()) << listed.status().message();
  ASSERT_EQ(listed.value().size(), 2u);
  EXPECT_EQ(listed.value()[0].friendly_name, "Stereo Camera");
  EXPECT_EQ(listed.value()[1].friendly_name, "Described Only");
  EXPECT_EQ(listed.value()[1].device_path, "") << "a missing DevicePath leaves the path empty";
}

TEST_F(DshowListing, TheDescriptionIsNotReadWhenTheFriendlyNameIsThere) {
  devices_.add_moniker({{L"FriendlyName", text(L"Named")}, {L"Description", text(L"Described")}});

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_dshow_backend_candidates();

  ASSERT_TRUE(listed.ok()) << listed.status().message();
  EXPECT_EQ(listed.value().at(0).friendly_name, "Named");
  EXPECT_EQ(system_.count("read Description"), 0u);
}

TEST_F(DshowListing, AMonikerWithoutAPropertyBagTakesNoIndex) {
  devices_.add_moniker({{L"FriendlyName", text(L"Unbindable")}}).bind_result = E_FAIL;
  devices_.add_moniker({{L"FriendlyName", text(L"Bagless")}}).bag = nullptr;
  devices_.add_moniker({{L"FriendlyName", text(L"First Listed")}});
  devices_.add_moniker({{L"FriendlyName", text(L"Second Listed")}});

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_dshow_backend_candidates();

  ASSERT_TRUE(listed.ok()) << listed.status().message();
  ASSERT_EQ(listed.value().size(), 2u);
  EXPECT_EQ(listed.value()[0].friendly_name, "First Listed");
  EXPECT_EQ(listed.value()[0].index, 0);
  EXPECT_EQ(listed.value()[1].friendly_name, "Second Listed");
  EXPECT_EQ(listed.value()[1].index, 1);
  for (const auto& moniker : devices_.monikers) {
    EXPECT_EQ(moniker.extra_references(), 0) << moniker.name() << " is released, skipped or not";
  }
}

TEST_F(DshowListing, PropertiesThatAreNotNonNullStringsReadAsEmpty) {
  devices_.add_moniker({{L"FriendlyName", of_kind(FakeProperty::Kind::Number)},
                        {L"Description", of_kind(FakeProperty::Kind::NullText)},
                        {L"DevicePath", of_kind(FakeProperty::Kind::ReadFails)}});

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_dshow_backend_candidates();

  ASSERT_TRUE(listed.ok()) << listed.status().message();
  ASSERT_EQ(listed.value().size(), 1u);
  EXPECT_EQ(listed.value()[0].friendly_name, "");
  EXPECT_EQ(listed.value()[0].device_path, "") << "a failed read is never taken, whatever it left behind";
  EXPECT_EQ(listed.value()[0].index, 0) << "unreadable properties do not cost the device its index";
  EXPECT_EQ(system_.count("VariantClear"), 3u) << "every read variant is cleared";
}

TEST_F(DshowListing, NamesAndPathsComeOutAsUtf8) {
  devices_.add_moniker({{L"FriendlyName", text(L"Kamera \u00e9 \u65e5\u672c \U0001F600")},
                        {L"DevicePath", text(L"\\\\?\\usb#vid_0c45&pid_6366#\u00fc")}});

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_dshow_backend_candidates();

  ASSERT_TRUE(listed.ok()) << listed.status().message();
  EXPECT_EQ(listed.value().at(0).friendly_name, "Kamera \xC3\xA9 \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x98\x80");
  EXPECT_EQ(listed.value().at(0).device_path, "\\\\?\\usb#vid_0c45&pid_6366#\xC3\xBC");
}

TEST_F(DshowListing, AFailingNextEndsTheListWithoutFailingIt) {
  devices_.add_moniker({{L"FriendlyName", text(L"Only")}});
  devices_.device_enumerator.monikers.end_result = E_FAIL;

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_dshow_backend_candidates();

  ASSERT_TRUE(listed.ok()) << listed.status().message();
  ASSERT_EQ(listed.value().size(), 1u);
  EXPECT_EQ(listed.value()[0].friendly_name, "Only");
}

TEST_F(DshowListing, ReleasesEachBagThenItsMonikerAndTheEnumeratorsLastBeforeUninitialisingCom) {
  devices_.add_moniker({{L"FriendlyName", text(L"A")}});
  devices_.add_moniker({{L"FriendlyName", text(L"B")}});

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_dshow_backend_candidates();

  ASSERT_TRUE(listed.ok()) << listed.status().message();
  EXPECT_EQ(system_.events_among({"release bag 0", "release moniker 0", "release bag 1", "release moniker 1",
                                  "release moniker enumerator", "release device enumerator", "CoUninitialize"}),
            (std::vector<std::string>{"release bag 0", "release moniker 0", "release bag 1", "release moniker 1",
                                      "release moniker enumerator", "release device enumerator", "CoUninitialize"}));
  EXPECT_EQ(devices_.device_enumerator.monikers.extra_references(), 0);
  EXPECT_EQ(devices_.device_enumerator.extra_references(), 0);
  EXPECT_EQ(system_.count("bind with unexpected arguments"), 0u);
  EXPECT_EQ(system_.count("create class enumerator with unexpected arguments"), 0u);
}

TEST_F(DshowListing, AFailedComStartIsAPlatformErrorAndStopsEverything) {
  system_.co_initialize_results = {E_OUTOFMEMORY};

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_dshow_backend_candidates();

  ASSERT_FALSE(listed.ok());
  EXPECT_EQ(listed.status().code(), ErrorCode::PlatformError);
  EXPECT_EQ(listed.status().message(), "CoInitializeEx failed: hr=0x8007000E");
  EXPECT_EQ(system_.count("CoCreateInstance"), 0u);
  EXPECT_EQ(system_.count("CoUninitialize"), 0u) << "nothing was started, so nothing is undone";
}

TEST_F(DshowListing, AFailedSystemDeviceEnumeratorIsAPlatformErrorWithItsHresult) {
  system_.co_create_instance_result = REGDB_E_CLASSNOTREG;

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_dshow_backend_candidates();

  ASSERT_FALSE(listed.ok());
  EXPECT_EQ(listed.status().code(), ErrorCode::PlatformError);
  EXPECT_EQ(listed.status().message(), "CoCreateInstance(CLSID_SystemDeviceEnum) failed: hr=0x80040154");
  EXPECT_EQ(system_.count("CoCreateInstance with unexpected arguments"), 0u);
  EXPECT_EQ(system_.count("CoUninitialize"), 1u);
}

TEST_F(DshowListing, AFailedClassEnumeratorIsAPlatformErrorAndReleasesTheDeviceEnumerator) {
  devices_.device_enumerator.result = E_OUTOFMEMORY;

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_dshow_backend_candidates();

  ASSERT_FALSE(listed.ok());
  EXPECT_EQ(listed.status().code(), ErrorCode::PlatformError);
  EXPECT_EQ(listed.status().message(), "CreateClassEnumerator failed: hr=0x8007000E");
  EXPECT_EQ(devices_.device_enumerator.extra_references(), 0);
  EXPECT_EQ(system_.count("CoUninitialize"), 1u);
}

TEST_F(DshowListing, AStandardExceptionBecomesAnInternalErrorWithItsTextAndReleasesEverything) {
  devices_.add_moniker({{L"FriendlyName", text(L"A")}, {L"DevicePath", text(kCameraPath)}});
  system_.throw_kind = Throw::StandardException;
  system_.throw_at = "read DevicePath";

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_dshow_backend_candidates();

  ASSERT_FALSE(listed.ok());
  EXPECT_EQ(listed.status().code(), ErrorCode::InternalError);
  EXPECT_EQ(listed.status().message(), win_testing::kThrownText);
  EXPECT_EQ(devices_.bags.at(0).extra_references(), 0);
  EXPECT_EQ(devices_.monikers.at(0).extra_references(), 0);
  EXPECT_EQ(devices_.device_enumerator.monikers.extra_references(), 0);
  EXPECT_EQ(devices_.device_enumerator.extra_references(), 0);
  EXPECT_EQ(system_.count("VariantClear"), 2u) << "the variant of the interrupted read is cleared too";
  EXPECT_EQ(system_.count("CoUninitialize"), 1u);
}

TEST_F(DshowListing, AnyOtherExceptionIsReportedAsAnUnknownExceptionOfTheDirectShowListing) {
  devices_.add_moniker({{L"FriendlyName", text(L"A")}});
  system_.throw_kind = Throw::OtherException;
  system_.throw_at = "next";

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_dshow_backend_candidates();

  ASSERT_FALSE(listed.ok());
  EXPECT_EQ(listed.status().code(), ErrorCode::InternalError);
  EXPECT_EQ(listed.status().message(), "unknown exception during DSHOW backend enumeration");
  EXPECT_EQ(devices_.device_enumerator.extra_references(), 0);
  EXPECT_EQ(system_.count("CoUninitialize"), 1u);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::win_detail
