// The DirectShow and Media Foundation listings of video-capture devices, each in the
// backend's own order and with the index that backend opens the device by.
#include <cstdint>
#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "bridge/os/capture_listing.h"
#include "bridge/os/capture_system_calls_win.h"
#include "bridge/os/com_ref_win.h"
#include "bridge/os/com_start_win.h"
#include "bridge/os/hresult_message_win.h"
#include "bridge/os/property_bag_text_win.h"
#include "bridge/os/wide_text_win.h"
#include "core/guard.h"

namespace tovanel::uvc_stereo::win_detail {
namespace {

using Candidates = std::vector<WinOpenCvCameraCandidate>;

static_assert(MF_VERSION == 0x20070, "the Media Foundation version this listing was written for");

Result<Candidates> list_dshow() {
  ComScope com;
  if (Status started = com.start(); !started.ok()) {
    return started;
  }
  const CaptureSystemCalls& calls = capture_system_calls();

  ComRef<ICreateDevEnum> device_enumerator;
  HRESULT hr = calls.co_create_instance(CLSID_SystemDeviceEnum, nullptr, CLSCTX_INPROC_SERVER, IID_ICreateDevEnum,
                                        reinterpret_cast<void**>(device_enumerator.put()));
  if (FAILED(hr)) {
    return hresult_failure("CoCreateInstance(CLSID_SystemDeviceEnum)", hr);
  }
  ComRef<IEnumMoniker> monikers;
  hr = device_enumerator->CreateClassEnumerator(CLSID_VideoInputDeviceCategory, monikers.put(), 0);
  if (hr == S_FALSE) {
    // The category holds no device: DirectShow says so with S_FALSE and no enumerator.
    return Candidates{};
  }
  if (FAILED(hr)) {
    return hresult_failure("CreateClassEnumerator", hr);
  }

  Candidates candidates;
  int index = 0;
  while (monikers) {
    ComRef<IMoniker> moniker;
    ULONG fetched = 0;
    if (monikers->Next(1, moniker.put(), &fetched) != S_OK) {
      break;
    }
    ComRef<IPropertyBag> bag;
    hr = moniker->BindToStorage(nullptr, nullptr, IID_IPropertyBag, reinterpret_cast<void**>(bag.put()));
    if (FAILED(hr) || !bag) {
      // DirectShow numbers only the devices whose properties it can read, so this one
      // takes no index.
      continue;
    }
    const int device_index = index++;
    std::string name = read_property_text(*bag.get(), L"FriendlyName");
    if (name.empty()) {
      name = read_property_text(*bag.get(), L"Description");
    }
    std::string path = read_property_text(*bag.get(), L"DevicePath");
    candidates.push_back(make_backend_candidate(OpenCvBackend::Dshow, device_index, std::move(name), std::move(path)));
  }
  return candidates;
}

// Media Foundation stays started from a successful MFStartup until the listing ends.
class MediaFoundationScope {
 public:
  MediaFoundationScope() = default;
  MediaFoundationScope(const MediaFoundationScope&) = delete;
  MediaFoundationScope& operator=(const MediaFoundationScope&) = delete;
  ~MediaFoundationScope() {
    if (calls_ != nullptr) {
      static_cast<void>(calls_->mf_shutdown());
    }
  }

  [[nodiscard]] Status start() {
    const CaptureSystemCalls& calls = capture_system_calls();
    const HRESULT hr = calls.mf_startup(MF_VERSION, MFSTARTUP_FULL);
    if (FAILED(hr)) {
      return hresult_failure("MFStartup", hr);
    }
    calls_ = &calls;
    return Status();
  }

 private:
  const CaptureSystemCalls* calls_ = nullptr;
};

// The array of activation objects MFEnumDeviceSources hands over: each non-null object is
// released, then the array itself is freed.
class ActivationArray {
 public:
  ActivationArray() = default;
  ActivationArray(const ActivationArray&) = delete;
  ActivationArray& operator=(const ActivationArray&) = delete;
  ~ActivationArray() {
    if (objects != nullptr) {
      for (UINT32 i = 0; i < count; ++i) {
        if (objects[i] != nullptr) {
          objects[i]->Release();
        }
      }
    }
    capture_system_calls().co_task_mem_free(objects);
  }

  IMFActivate** objects = nullptr;
  UINT32 count = 0;
};

// An attribute string of a device source in UTF-8; empty when the source has none.
std::string allocated_text(IMFActivate* source, REFGUID key) {
  if (source == nullptr) {
    return {};
  }
  wchar_t* text = nullptr;
  UINT32 length = 0;
  const HRESULT hr = source->GetAllocatedString(key, &text, &length);
  if (FAILED(hr) || text == nullptr) {
    return {};
  }
  struct FreeOnExit {
    wchar_t* text;
    ~FreeOnExit() { capture_system_calls().co_task_mem_free(text); }
  } const release{text};
  return wide_to_utf8(text);
}

Result<Candidates> list_msmf() {
  ComScope com;
  if (Status started = com.start(); !started.ok()) {
    return started;
  }
  MediaFoundationScope media_foundation;
  if (Status started = media_foundation.start(); !started.ok()) {
    return started;
  }
  const CaptureSystemCalls& calls = capture_system_calls();

  ComRef<IMFAttributes> attributes;
  HRESULT hr = calls.mf_create_attributes(attributes.put(), 1);
  if (FAILED(hr)) {
    return hresult_failure("MFCreateAttributes", hr);
  }
  hr = attributes->SetGUID(MF_DEVSOURCE_ATTRIBUTE_SOURCE_TYPE, MF_DEVSOURCE_ATTRIBUTE_SOURCE_TYPE_VIDCAP_GUID);
  if (FAILED(hr)) {
    return hresult_failure("IMFAttributes::SetGUID", hr);
  }
  ActivationArray sources;
  hr = calls.mf_enum_device_sources(attributes.get(), &sources.objects, &sources.count);
  if (FAILED(hr)) {
    return hresult_failure("MFEnumDeviceSources", hr);
  }

  Candidates candidates;
  if (sources.objects == nullptr) {
    // Some systems report no sources without handing over an array at all.
    return candidates;
  }
  candidates.reserve(sources.count);
  for (UINT32 i = 0; i < sources.count; ++i) {
    IMFActivate* source = sources.objects[i];
    // Media Foundation opens a source by its position in this array, whatever it reports.
    std::string name = allocated_text(source, MF_DEVSOURCE_ATTRIBUTE_FRIENDLY_NAME);
    std::string path = allocated_text(source, MF_DEVSOURCE_ATTRIBUTE_SOURCE_TYPE_VIDCAP_SYMBOLIC_LINK);
    candidates.push_back(
        make_backend_candidate(OpenCvBackend::Msmf, static_cast<int>(i), std::move(name), std::move(path)));
  }
  return candidates;
}

}  // namespace

Result<std::vector<WinOpenCvCameraCandidate>> enumerate_dshow_backend_candidates() {
  return detail::guard_operation("unknown exception during DSHOW backend enumeration",
                                 [&]() -> Result<std::vector<WinOpenCvCameraCandidate>> { return list_dshow(); });
}

Result<std::vector<WinOpenCvCameraCandidate>> enumerate_msmf_backend_candidates() {
  return detail::guard_operation("unknown exception during MSMF backend enumeration",
                                 [&]() -> Result<std::vector<WinOpenCvCameraCandidate>> { return list_msmf(); });
}

}  // namespace tovanel::uvc_stereo::win_detail

namespace tovanel::uvc_stereo::detail::bridge {

// V4L2 is Linux's capture interface; Windows lists no device through it.
Result<std::vector<win_detail::WinOpenCvCameraCandidate>> enumerate_v4l2_backend_candidates() {
  return std::vector<win_detail::WinOpenCvCameraCandidate>{};
}

}  // namespace tovanel::uvc_stereo::detail::bridge
