#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "bridge/os/capture_listing.h"
#include "fake_capture_system_win.h"

namespace tovanel::uvc_stereo::win_detail {
namespace {

using win_testing::Throw;

using MsmfListing = win_testing::FakeCaptureSystemTest;

constexpr wchar_t kCameraLink[] =
    L"\\\\?\\usb#vid_0c45&pid_6366&mi_00#6&2a4b5c&0&0000#{e5323777-f976-4f5b-9b55-b94699c46e44}\\global";

// The steps whose order the listing promises on its way out.
const std::vector<std::string> kCleanUp = {
    "release source 0",   "release source 1", "release source 2", "CoTaskMemFree(source array)",
    "release attributes", "MFShutdown",       "CoUninitialize"};

TEST_F(MsmfListing, ZeroSourcesAreAnEmptyListAndMediaFoundationIsStillShutDown) {
  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_msmf_backend_candidates();

  ASSERT_TRUE(listed.ok()) << listed.status().message();
  EXPECT_TRUE(listed.value().empty());
  EXPECT_EQ(system_.count("MFStartup"), 1u);
  EXPECT_EQ(system_.count("MFStartup with unexpected arguments"), 0u);
  EXPECT_EQ(system_.count("MFShutdown"), 1u);
  EXPECT_EQ(system_.count("CoUninitialize"), 1u);
  EXPECT_EQ(devices_.attributes.extra_references(), 0);
}

TEST_F(MsmfListing, ZeroSourcesWithoutAnArrayAreAnEmptyListToo) {
  devices_.hand_over_no_array = true;

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_msmf_backend_candidates();

  ASSERT_TRUE(listed.ok()) << listed.status().message();
  EXPECT_TRUE(listed.value().empty());
  EXPECT_EQ(system_.count("MFShutdown"), 1u);
  EXPECT_EQ(system_.count("CoTaskMemFree(unknown memory)"), 0u);
}

TEST_F(MsmfListing, EverySourceIsACandidateIndexedByItsPositionInTheArray) {
  devices_.add_source(L"Tovanel Stereo", kCameraLink);
  devices_.add_source(std::nullopt, std::nullopt);
  devices_.add_source(L"Kamera \u00e9", L"\\\\?\\root#image#0000");

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_msmf_backend_candidates();

  ASSERT_TRUE(listed.ok()) << listed.status().message();
  ASSERT_EQ(listed.value().size(), 3u);
  const WinOpenCvCameraCandidate& camera = listed.value()[0];
  EXPECT_EQ(camera.backend, OpenCvBackend::Msmf);
  EXPECT_EQ(camera.index, 0);
  EXPECT_EQ(camera.friendly_name, "Tovanel Stereo");
  EXPECT_EQ(camera.device_path,
            "\\\\?\\usb#vid_0c45&pid_6366&mi_00#6&2a4b5c&0&0000#{e5323777-f976-4f5b-9b55-b94699c46e44}\\global");
  EXPECT_EQ(camera.normalized_path, "usb#vid_0c45&pid_6366&mi_00#6&2a4b5c&0&0000");
  EXPECT_EQ(camera.identity.vid, 0x0C45);
  EXPECT_EQ(camera.identity.pid, 0x6366);
  EXPECT_EQ(camera.identity.mi, "00");

  const WinOpenCvCameraCandidate& unnamed = listed.value()[1];
  EXPECT_EQ(unnamed.index, 1) << "a source without strings still takes its place";
  EXPECT_EQ(unnamed.friendly_name, "");
  EXPECT_EQ(unnamed.device_path, "");

  const WinOpenCvCameraCandidate& other = listed.value()[2];
  EXPECT_EQ(other.index, 2);
  EXPECT_EQ(other.friendly_name, "Kamera \xC3\xA9");
  EXPECT_EQ(other.identity.vid, 0);
  EXPECT_EQ(other.identity.pid, 0);
}

TEST_F(MsmfListing, AMissingFriendlyNameIsNotReplacedByAnything) {
  devices_.add_source(std::nullopt, kCameraLink);

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_msmf_backend_candidates();

  ASSERT_TRUE(listed.ok()) << listed.status().message();
  EXPECT_EQ(listed.value().at(0).friendly_name, "");
  EXPECT_EQ(system_.count("source 0 other string"), 0u);
}

TEST_F(MsmfListing, AStringCallThatSucceedsWithoutAStringGivesAnEmptyText) {
  devices_.add_source(L"unused", kCameraLink).succeeds_without_string = true;

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_msmf_backend_candidates();

  ASSERT_TRUE(listed.ok()) << listed.status().message();
  EXPECT_EQ(listed.value().at(0).friendly_name, "");
  EXPECT_EQ(listed.value().at(0).device_path, "");
  EXPECT_EQ(system_.count("CoTaskMemFree(null)"), 0u) << "nothing handed over, nothing freed";
}

TEST_F(MsmfListing, FreesEveryStringAndReleasesInTheOrderOfTheCleanUp) {
  devices_.add_source(L"A", kCameraLink);
  devices_.add_source(L"B", std::nullopt);
  devices_.add_source(std::nullopt, L"C");

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_msmf_backend_candidates();

  ASSERT_TRUE(listed.ok()) << listed.status().message();
  EXPECT_EQ(system_.events_among(kCleanUp), kCleanUp);
  EXPECT_EQ(system_.count("CoTaskMemFree(string)"), 4u) << "two names and two links";
  EXPECT_TRUE(system_.co_task_allocations.empty()) << "every string and the array were freed";
  for (const auto& source : devices_.sources) {
    EXPECT_EQ(source.extra_references(), 0) << source.name();
  }
  EXPECT_EQ(devices_.attributes.extra_references(), 0);
  EXPECT_EQ(system_.count("set guid with unexpected arguments"), 0u);
  EXPECT_EQ(system_.count("MFEnumDeviceSources with unexpected arguments"), 0u);
}

TEST_F(MsmfListing, NullEntriesOfTheArrayAreNotReleasedButKeepTheirPlace) {
  devices_.add_source(L"A", kCameraLink);
  devices_.source_array.push_back(-1);
  devices_.add_source(L"C", L"c");

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_msmf_backend_candidates();

  ASSERT_TRUE(listed.ok()) << listed.status().message();
  ASSERT_EQ(listed.value().size(), 3u);
  EXPECT_EQ(listed.value()[1].friendly_name, "");
  EXPECT_EQ(listed.value()[2].friendly_name, "C");
  EXPECT_EQ(listed.value()[2].index, 2);
  EXPECT_EQ(system_.count("CoTaskMemFree(source array)"), 1u);
}

TEST_F(MsmfListing, AFailedComStartStopsBeforeMediaFoundation) {
  system_.co_initialize_results = {RPC_E_CHANGED_MODE, E_UNEXPECTED};

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_msmf_backend_candidates();

  ASSERT_FALSE(listed.ok());
  EXPECT_EQ(listed.status().code(), ErrorCode::PlatformError);
  EXPECT_EQ(listed.status().message(), "CoInitializeEx failed: hr=0x8000FFFF");
  EXPECT_EQ(system_.count("MFStartup"), 0u);
  EXPECT_EQ(system_.count("CoUninitialize"), 0u);
}

TEST_F(MsmfListing, AFailedStartupIsAPlatformErrorWithoutShutdown) {
  system_.mf_startup_result = MF_E_BAD_STARTUP_VERSION;

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_msmf_backend_candidates();

  ASSERT_FALSE(listed.ok());
  EXPECT_EQ(listed.status().code(), ErrorCode::PlatformError);
  EXPECT_EQ(listed.status().message(), "MFStartup failed: hr=0xC00D36E3");
  EXPECT_EQ(system_.count("MFShutdown"), 0u) << "Media Foundation did not start";
  EXPECT_EQ(system_.count("CoUninitialize"), 1u);
}

TEST_F(MsmfListing, FailedAttributesAreAPlatformErrorAfterShutdown) {
  system_.mf_create_attributes_result = E_OUTOFMEMORY;

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_msmf_backend_candidates();

  ASSERT_FALSE(listed.ok());
  EXPECT_EQ(listed.status().code(), ErrorCode::PlatformError);
  EXPECT_EQ(listed.status().message(), "MFCreateAttributes failed: hr=0x8007000E");
  EXPECT_EQ(system_.events_among({"MFShutdown", "CoUninitialize"}),
            (std::vector<std::string>{"MFShutdown", "CoUninitialize"}));
}

TEST_F(MsmfListing, AFailedSetGuidReleasesTheAttributesAndShutsDown) {
  devices_.attributes.set_guid_result = E_INVALIDARG;

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_msmf_backend_candidates();

  ASSERT_FALSE(listed.ok());
  EXPECT_EQ(listed.status().code(), ErrorCode::PlatformError);
  EXPECT_EQ(listed.status().message(), "IMFAttributes::SetGUID failed: hr=0x80070057");
  EXPECT_EQ(system_.count("MFEnumDeviceSources"), 0u);
  EXPECT_EQ(system_.events_among({"release attributes", "MFShutdown", "CoUninitialize"}),
            (std::vector<std::string>{"release attributes", "MFShutdown", "CoUninitialize"}));
  EXPECT_EQ(devices_.attributes.extra_references(), 0);
}

TEST_F(MsmfListing, AFailedDeviceSourceEnumerationReleasesTheAttributesAndShutsDown) {
  system_.mf_enum_result = E_ACCESSDENIED;

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_msmf_backend_candidates();

  ASSERT_FALSE(listed.ok());
  EXPECT_EQ(listed.status().code(), ErrorCode::PlatformError);
  EXPECT_EQ(listed.status().message(), "MFEnumDeviceSources failed: hr=0x80070005");
  EXPECT_EQ(system_.events_among({"release attributes", "MFShutdown", "CoUninitialize"}),
            (std::vector<std::string>{"release attributes", "MFShutdown", "CoUninitialize"}));
}

TEST_F(MsmfListing, AStandardExceptionBecomesAnInternalErrorWithItsTextAfterTheFullCleanUp) {
  devices_.add_source(L"A", kCameraLink);
  devices_.add_source(L"B", kCameraLink);
  devices_.add_source(L"C", kCameraLink);
  system_.throw_kind = Throw::StandardException;
  system_.throw_at = "source 1 symbolic link";

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_msmf_backend_candidates();

  ASSERT_FALSE(listed.ok());
  EXPECT_EQ(listed.status().code(), ErrorCode::InternalError);
  EXPECT_EQ(listed.status().message(), win_testing::kThrownText);
  EXPECT_EQ(system_.events_among(kCleanUp), kCleanUp);
  EXPECT_TRUE(system_.co_task_allocations.empty());
}

TEST_F(MsmfListing, AnyOtherExceptionIsReportedAsAnUnknownExceptionOfTheMediaFoundationListing) {
  system_.throw_kind = Throw::OtherException;
  system_.throw_at = "MFEnumDeviceSources";

  const Result<std::vector<WinOpenCvCameraCandidate>> listed = enumerate_msmf_backend_candidates();

  ASSERT_FALSE(listed.ok());
  EXPECT_EQ(listed.status().code(), ErrorCode::InternalError);
  EXPECT_EQ(listed.status().message(), "unknown exception during MSMF backend enumeration");
  EXPECT_EQ(system_.events_among({"release attributes", "MFShutdown", "CoUninitialize"}),
            (std::vector<std::string>{"release attributes", "MFShutdown", "CoUninitialize"}));
}

}  // namespace
}  // namespace tovanel::uvc_stereo::win_detail
