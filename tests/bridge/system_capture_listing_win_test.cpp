#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "bridge/os/capture_listing.h"
#include "bridge/platform.h"
#include "counting_capture_calls_win.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/simulated_rig.h"

// The listings against this system's own DirectShow and Media Foundation. A DirectShow
// video-input device is made to appear the way virtual cameras do it: a filter entry in
// the registry under the video-input category, with the properties a device has.
namespace tovanel::uvc_stereo::win_detail {
namespace {

using Candidates = std::vector<WinOpenCvCameraCandidate>;

// What DirectShow itself answers for the video-input category, and how many devices it holds.
struct CategoryState {
  HRESULT answer = E_FAIL;
  int devices = 0;
};

CategoryState video_input_category() {
  CategoryState state;
  const HRESULT com = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  ICreateDevEnum* device_enumerator = nullptr;
  if (SUCCEEDED(CoCreateInstance(CLSID_SystemDeviceEnum, nullptr, CLSCTX_INPROC_SERVER, IID_ICreateDevEnum,
                                 reinterpret_cast<void**>(&device_enumerator)))) {
    IEnumMoniker* monikers = nullptr;
    state.answer = device_enumerator->CreateClassEnumerator(CLSID_VideoInputDeviceCategory, &monikers, 0);
    if (monikers != nullptr) {
      IMoniker* moniker = nullptr;
      while (monikers->Next(1, &moniker, nullptr) == S_OK) {
        ++state.devices;
        moniker->Release();
      }
      monikers->Release();
    }
    device_enumerator->Release();
  }
  if (SUCCEEDED(com)) {
    CoUninitialize();
  }
  return state;
}

// How many video-capture sources Media Foundation itself reports; nullopt when it cannot tell.
std::optional<UINT32> media_foundation_sources() {
  std::optional<UINT32> sources;
  const HRESULT com = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  if (SUCCEEDED(MFStartup(MF_VERSION, MFSTARTUP_FULL))) {
    IMFAttributes* attributes = nullptr;
    if (SUCCEEDED(MFCreateAttributes(&attributes, 1)) &&
        SUCCEEDED(
            attributes->SetGUID(MF_DEVSOURCE_ATTRIBUTE_SOURCE_TYPE, MF_DEVSOURCE_ATTRIBUTE_SOURCE_TYPE_VIDCAP_GUID))) {
      IMFActivate** array = nullptr;
      UINT32 count = 0;
      if (SUCCEEDED(MFEnumDeviceSources(attributes, &array, &count))) {
        sources = count;
        for (UINT32 i = 0; array != nullptr && i < count; ++i) {
          if (array[i] != nullptr) {
            array[i]->Release();
          }
        }
        CoTaskMemFree(array);
      }
    }
    if (attributes != nullptr) {
      attributes->Release();
    }
    MFShutdown();
  }
  if (SUCCEEDED(com)) {
    CoUninitialize();
  }
  return sources;
}

TEST(DirectShowOnThisSystem, AnEmptyVideoInputCategoryIsListedAsAnEmptyList) {
  const CategoryState category = video_input_category();
  if (category.answer != S_FALSE) {
    GTEST_SKIP() << "this system has video-input devices (CreateClassEnumerator answered " << category.answer << ")";
  }
  const win_testing::CountingSystemCalls counting;

  const Result<Candidates> listed = enumerate_dshow_backend_candidates();

  ASSERT_TRUE(listed.ok()) << listed.status().message();
  EXPECT_TRUE(listed.value().empty());
  EXPECT_EQ(counting.co_uninitialize_calls(), 1);
}

TEST(MediaFoundationOnThisSystem, ZeroSourcesAreAnEmptyListAndMediaFoundationIsShutDown) {
  const std::optional<UINT32> sources = media_foundation_sources();
  ASSERT_TRUE(sources.has_value()) << "Media Foundation could not list its sources";
  if (*sources != 0) {
    GTEST_SKIP() << "this system has " << *sources << " video-capture sources";
  }
  const win_testing::CountingSystemCalls counting;

  const Result<Candidates> listed = enumerate_msmf_backend_candidates();

  ASSERT_TRUE(listed.ok()) << listed.status().message();
  EXPECT_TRUE(listed.value().empty());
  EXPECT_EQ(counting.mf_startup_calls(), 1);
  EXPECT_EQ(counting.mf_shutdown_calls(), 1);
  EXPECT_EQ(counting.co_uninitialize_calls(), 1);
}

// A DirectShow video-input device entered in the registry for as long as it lives.
class RegisteredVideoInput {
 public:
  RegisteredVideoInput(const std::wstring& instance, const std::map<std::wstring, std::wstring>& values)
      : key_(L"CLSID\\{860BB310-5D01-11D0-BD3B-00A0C911CE86}\\Instance\\" + instance) {
    HKEY key = nullptr;
    status_ = RegCreateKeyExW(HKEY_CLASSES_ROOT, key_.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr, &key, nullptr);
    if (status_ != ERROR_SUCCESS) {
      return;
    }
    for (const auto& [name, text] : values) {
      const LSTATUS set = RegSetValueExW(key, name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                                         static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
      if (set != ERROR_SUCCESS) {
        status_ = set;
      }
    }
    RegCloseKey(key);
  }
  ~RegisteredVideoInput() { RegDeleteKeyW(HKEY_CLASSES_ROOT, key_.c_str()); }
  RegisteredVideoInput(const RegisteredVideoInput&) = delete;
  RegisteredVideoInput& operator=(const RegisteredVideoInput&) = delete;

  [[nodiscard]] LSTATUS status() const { return status_; }

 private:
  std::wstring key_;
  LSTATUS status_ = ERROR_SUCCESS;
};

// The filter a real capture device would be created from; DirectShow only reads it when
// the device is opened, which a listing never does.
constexpr wchar_t kFilterClsid[] = L"{17CCA71B-ECD7-11D0-B908-00A0C9223196}";

constexpr wchar_t kStereoPath[] =
    L"\\\\?\\USB#VID_0C45&PID_6366&MI_00#7&2F1E3D4C&0&0000#{65E8773D-8F56-11D0-A3B9-00A0C9223196}\\GLOBAL";
constexpr char kStereoPathUtf8[] =
    "\\\\?\\USB#VID_0C45&PID_6366&MI_00#7&2F1E3D4C&0&0000#{65E8773D-8F56-11D0-A3B9-00A0C9223196}\\GLOBAL";

// Registered devices need a video-input category that holds nothing else, so that every
// index can be told exactly.
class RegisteredDirectShowDevices : public ::testing::Test {
 protected:
  void SetUp() override {
    if (video_input_category().answer != S_FALSE) {
      GTEST_SKIP() << "this system has video-input devices of its own";
    }
    // Filters are registered machine-wide; an account that may not do so cannot run these.
    const RegisteredVideoInput probe(L"Tovanel Access Probe", {});
    if (probe.status() == ERROR_ACCESS_DENIED) {
      GTEST_SKIP() << "this account may not register video-input devices";
    }
  }

  // Registers a device, failing the test when the registry refuses.
  void add(const std::wstring& instance, const std::map<std::wstring, std::wstring>& values) {
    std::map<std::wstring, std::wstring> with_filter = values;
    with_filter.emplace(L"CLSID", kFilterClsid);
    const RegisteredVideoInput& device = devices_.emplace_back(instance, with_filter);
    ASSERT_EQ(device.status(), ERROR_SUCCESS) << "the registry refused the video-input entry";
  }

  static const WinOpenCvCameraCandidate* named(const Candidates& candidates, const std::string& name) {
    const auto found = std::find_if(candidates.begin(), candidates.end(),
                                    [&](const WinOpenCvCameraCandidate& c) { return c.friendly_name == name; });
    return found == candidates.end() ? nullptr : &*found;
  }

  std::deque<RegisteredVideoInput> devices_;
};

TEST_F(RegisteredDirectShowDevices, ADeviceIsListedWithItsNamePathAndIdentity) {
  add(L"Tovanel Stereo Test", {{L"FriendlyName", L"Tovanel Stereo"}, {L"DevicePath", kStereoPath}});

  const Result<Candidates> listed = enumerate_dshow_backend_candidates();

  ASSERT_TRUE(listed.ok()) << listed.status().message();
  ASSERT_EQ(listed.value().size(), 1u);
  const WinOpenCvCameraCandidate& camera = listed.value()[0];
  EXPECT_EQ(camera.backend, OpenCvBackend::Dshow);
  EXPECT_EQ(camera.index, 0);
  EXPECT_EQ(camera.friendly_name, "Tovanel Stereo");
  EXPECT_EQ(camera.device_path, kStereoPathUtf8);
  EXPECT_EQ(camera.normalized_path, "usb#vid_0c45&pid_6366&mi_00#7&2f1e3d4c&0&0000");
  EXPECT_EQ(camera.identity.vid, 0x0C45);
  EXPECT_EQ(camera.identity.pid, 0x6366);
  EXPECT_EQ(camera.identity.mi, "00");
  EXPECT_EQ(camera.identity.serial, "7&2f1e3d4c&0&0000");
}

TEST_F(RegisteredDirectShowDevices, AnEmptyFriendlyNameIsReplacedByTheDescription) {
  add(L"Tovanel Described Test",
      {{L"FriendlyName", L""}, {L"Description", L"Tovanel Described \u00e9"}, {L"DevicePath", kStereoPath}});

  const Result<Candidates> listed = enumerate_dshow_backend_candidates();

  ASSERT_TRUE(listed.ok()) << listed.status().message();
  ASSERT_EQ(listed.value().size(), 1u);
  EXPECT_EQ(listed.value()[0].friendly_name, "Tovanel Described \xC3\xA9");
}

TEST_F(RegisteredDirectShowDevices, DevicesAreNumberedInTheOrderDirectShowListsThem) {
  add(L"Tovanel Order Test A", {{L"FriendlyName", L"Order A"}, {L"DevicePath", L"\\\\?\\root#image#0000"}});
  add(L"Tovanel Order Test B", {{L"FriendlyName", L"Order B"}, {L"DevicePath", kStereoPath}});
  ASSERT_EQ(video_input_category().devices, 2);

  const Result<Candidates> listed = enumerate_dshow_backend_candidates();

  ASSERT_TRUE(listed.ok()) << listed.status().message();
  ASSERT_EQ(listed.value().size(), 2u);
  for (std::size_t i = 0; i < listed.value().size(); ++i) {
    EXPECT_EQ(listed.value()[i].index, static_cast<int>(i));
  }
  ASSERT_NE(named(listed.value(), "Order A"), nullptr);
  ASSERT_NE(named(listed.value(), "Order B"), nullptr);
  EXPECT_EQ(named(listed.value(), "Order A")->identity.vid, 0);
  EXPECT_EQ(named(listed.value(), "Order B")->identity.vid, 0x0C45);
}

TEST_F(RegisteredDirectShowDevices, AScanReportsTheDirectShowIndexOfTheCameraWithTheSamePath) {
  const std::optional<UINT32> sources = media_foundation_sources();
  if (!sources.has_value() || *sources != 0) {
    GTEST_SKIP() << "this system has Media Foundation sources of its own";
  }
  add(L"Tovanel Scan Test Grabber", {{L"FriendlyName", L"Screen Grabber"}, {L"DevicePath", L"\\\\?\\root#image#0000"}});
  add(L"Tovanel Scan Test Stereo", {{L"FriendlyName", L"Tovanel Stereo"}, {L"DevicePath", kStereoPath}});
  const Result<Candidates> listed = enumerate_dshow_backend_candidates();
  ASSERT_TRUE(listed.ok()) << listed.status().message();
  const WinOpenCvCameraCandidate* stereo = named(listed.value(), "Tovanel Stereo");
  ASSERT_NE(stereo, nullptr);

  sim::SimulatedRig rig;
  sim::SimulatedCamera listed_camera;
  listed_camera.device_path =
      "\\\\?\\usb#vid_0c45&pid_6366&mi_00#7&2f1e3d4c&0&0000#{65e8773d-8f56-11d0-a3b9-00a0c9223196}\\global";
  listed_camera.device_name = "Stereo (listed)";
  listed_camera.serial_number = "SN-LISTED";
  sim::SimulatedCamera unlisted_camera = listed_camera;
  unlisted_camera.device_path =
      "\\\\?\\usb#vid_0c45&pid_6366&mi_00#7&99aa88bb&0&0000#{65e8773d-8f56-11d0-a3b9-00a0c9223196}\\global";
  unlisted_camera.device_name = "Stereo (unlisted)";
  unlisted_camera.serial_number = "SN-UNLISTED";
  rig.add_camera(listed_camera);
  rig.add_camera(unlisted_camera);
  // The rig stands in for the vendor library only: the capture listings are this system's.
  detail::bridge::PlatformTable system_listings;
  system_listings.capture_listing = &detail::bridge::platform_capture_listing_source();
  const detail::bridge::PlatformOverride installed(system_listings);

  const Result<std::vector<DeviceInfo>> scanned = scan_devices();

  ASSERT_TRUE(scanned.ok()) << scanned.status().message();
  ASSERT_EQ(scanned.value().size(), 2u);
  EXPECT_EQ(scanned.value()[0].serial_number, "SN-LISTED");
  EXPECT_EQ(scanned.value()[0].backend_indices, (std::map<OpenCvBackend, int>{{OpenCvBackend::Dshow, stereo->index}}))
      << "Media Foundation lists no source here, so only DirectShow gives an index";
  EXPECT_EQ(scanned.value()[1].serial_number, "SN-UNLISTED");
  EXPECT_TRUE(scanned.value()[1].backend_indices.empty());
  EXPECT_TRUE(rig.violations().empty()) << ::testing::PrintToString(rig.violations());
}

}  // namespace
}  // namespace tovanel::uvc_stereo::win_detail
