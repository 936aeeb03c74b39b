#pragma once

// Stand-ins for COM, DirectShow and Media Foundation, installed through the capture
// listings' table of system calls: they answer as a test tells them, can throw at any
// named step, and write down every call and every release in order.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "bridge/os/capture_system_calls_win.h"
#include "bridge/platform.h"
// After the Windows headers, which it needs.
#include <mferror.h>

namespace tovanel::uvc_stereo::win_testing {

class FakeCaptureSystem;

// The fake system the table's entries report to; one at a time.
inline FakeCaptureSystem*& current_fake_system() {
  static FakeCaptureSystem* current = nullptr;
  return current;
}

enum class Throw { Nothing, StandardException, OtherException };

// The text of a thrown standard exception, so tests can look for it in the Status.
inline constexpr const char* kThrownText = "fake capture system failure";

class FakeCaptureSystem {
 public:
  FakeCaptureSystem();
  ~FakeCaptureSystem();
  FakeCaptureSystem(const FakeCaptureSystem&) = delete;
  FakeCaptureSystem& operator=(const FakeCaptureSystem&) = delete;

  // Writes the event down, then throws when the test asked for a throw at this event.
  void record(const std::string& event) {
    events.push_back(event);
    if (event == throw_at) {
      if (throw_kind == Throw::StandardException) {
        throw std::runtime_error(kThrownText);
      }
      if (throw_kind == Throw::OtherException) {
        throw 42;
      }
    }
  }

  [[nodiscard]] std::size_t count(const std::string& event) const {
    return static_cast<std::size_t>(std::count(events.begin(), events.end(), event));
  }

  // The events that are among `wanted`, in the order they happened.
  [[nodiscard]] std::vector<std::string> events_among(const std::vector<std::string>& wanted) const {
    std::vector<std::string> picked;
    for (const std::string& event : events) {
      if (std::find(wanted.begin(), wanted.end(), event) != wanted.end()) {
        picked.push_back(event);
      }
    }
    return picked;
  }

  std::vector<std::string> events;
  std::string throw_at;
  Throw throw_kind = Throw::Nothing;

  // What CoInitializeEx answers, call by call; S_OK once the list is used up.
  std::vector<HRESULT> co_initialize_results;
  std::size_t co_initialize_calls = 0;
  HRESULT co_create_instance_result = S_OK;
  HRESULT mf_startup_result = S_OK;
  HRESULT mf_shutdown_result = S_OK;
  HRESULT mf_create_attributes_result = S_OK;
  HRESULT mf_enum_result = S_OK;
  // What WideCharToMultiByte answers, call by call; the system's own answer once used up.
  std::vector<int> wide_char_results;
  // Memory handed over with CoTaskMemAlloc and not yet freed.
  std::vector<void*> co_task_allocations;
  void* source_array_memory = nullptr;
  // The fake's place in the platform table while it lives.
  std::optional<detail::bridge::PlatformOverride> installed;
};

// A COM object of one interface that the test owns: it starts with the test's own
// reference, counts every AddRef and Release and writes each release down by name.
template <typename Interface>
class FakeComObject : public Interface {
 public:
  FakeComObject(std::string name, const IID& iid) : name_(std::move(name)), iid_(iid) {}
  virtual ~FakeComObject() = default;
  FakeComObject(const FakeComObject&) = delete;
  FakeComObject& operator=(const FakeComObject&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) {
      return E_POINTER;
    }
    if (IsEqualGUID(iid, IID_IUnknown) || IsEqualGUID(iid, iid_)) {
      *object = this;
      AddRef();
      return S_OK;
    }
    *object = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override {
    current_fake_system()->record("release " + name_);
    return --references_;
  }

  // References beyond the test's own; 0 when the code under test released all it took.
  [[nodiscard]] long extra_references() const { return static_cast<long>(references_) - 1; }
  [[nodiscard]] const std::string& name() const { return name_; }

 private:
  std::string name_;
  IID iid_;
  ULONG references_ = 1;
};

// One property of a DirectShow device: text, a null string, a number, or a failing read.
struct FakeProperty {
  enum class Kind { Text, NullText, Number, ReadFails };
  Kind kind = Kind::Text;
  std::wstring text;
};

class FakePropertyBag : public FakeComObject<IPropertyBag> {
 public:
  explicit FakePropertyBag(std::string name) : FakeComObject(std::move(name), IID_IPropertyBag) {}

  HRESULT STDMETHODCALLTYPE Read(LPCOLESTR name, VARIANT* value, IErrorLog*) override {
    const std::wstring wide(name);
    current_fake_system()->record("read " + std::string(wide.begin(), wide.end()));
    const auto found = properties.find(wide);
    if (found == properties.end()) {
      // What DirectShow answers for a value the device's key does not hold.
      return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    }
    switch (found->second.kind) {
      case FakeProperty::Kind::Text:
        value->vt = VT_BSTR;
        value->bstrVal = SysAllocString(found->second.text.c_str());
        return S_OK;
      case FakeProperty::Kind::NullText:
        value->vt = VT_BSTR;
        value->bstrVal = nullptr;
        return S_OK;
      case FakeProperty::Kind::Number:
        value->vt = VT_I4;
        value->lVal = 7;
        return S_OK;
      case FakeProperty::Kind::ReadFails:
        // A failing read that still leaves a string behind must not be taken.
        value->vt = VT_BSTR;
        value->bstrVal = SysAllocString(found->second.text.c_str());
        return E_FAIL;
    }
    return E_UNEXPECTED;
  }
  HRESULT STDMETHODCALLTYPE Write(LPCOLESTR, VARIANT*) override { return E_NOTIMPL; }

  std::map<std::wstring, FakeProperty> properties;
};

class FakeMoniker : public FakeComObject<IMoniker> {
 public:
  explicit FakeMoniker(std::string name) : FakeComObject(std::move(name), IID_IMoniker) {}

  HRESULT STDMETHODCALLTYPE BindToStorage(IBindCtx* context, IMoniker* left, REFIID iid, void** object) override {
    current_fake_system()->record("bind " + name());
    if (context != nullptr || left != nullptr || !IsEqualGUID(iid, IID_IPropertyBag)) {
      current_fake_system()->record("bind with unexpected arguments");
    }
    *object = nullptr;
    if (bag != nullptr && SUCCEEDED(bind_result)) {
      bag->AddRef();
      *object = static_cast<IPropertyBag*>(bag);
    }
    return bind_result;
  }

  HRESULT STDMETHODCALLTYPE GetClassID(CLSID*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE IsDirty() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Load(IStream*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Save(IStream*, WINBOOL) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetSizeMax(ULARGE_INTEGER*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE BindToObject(IBindCtx*, IMoniker*, REFIID, void**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Reduce(IBindCtx*, DWORD, IMoniker**, IMoniker**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE ComposeWith(IMoniker*, WINBOOL, IMoniker**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Enum(WINBOOL, IEnumMoniker**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE IsEqual(IMoniker*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Hash(DWORD*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE IsRunning(IBindCtx*, IMoniker*, IMoniker*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetTimeOfLastChange(IBindCtx*, IMoniker*, FILETIME*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Inverse(IMoniker**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE CommonPrefixWith(IMoniker*, IMoniker**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE RelativePathTo(IMoniker*, IMoniker**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetDisplayName(IBindCtx*, IMoniker*, LPOLESTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE ParseDisplayName(IBindCtx*, IMoniker*, LPOLESTR, ULONG*, IMoniker**) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE IsSystemMoniker(DWORD*) override { return E_NOTIMPL; }

  FakePropertyBag* bag = nullptr;
  HRESULT bind_result = S_OK;
};

class FakeEnumMoniker : public FakeComObject<IEnumMoniker> {
 public:
  FakeEnumMoniker() : FakeComObject("moniker enumerator", IID_IEnumMoniker) {}

  HRESULT STDMETHODCALLTYPE Next(ULONG wanted, IMoniker** monikers, ULONG* fetched) override {
    current_fake_system()->record("next");
    if (wanted != 1 || monikers == nullptr) {
      current_fake_system()->record("next with unexpected arguments");
      return E_INVALIDARG;
    }
    if (position_ < items.size()) {
      FakeMoniker* item = items[position_++];
      item->AddRef();
      monikers[0] = item;
      if (fetched != nullptr) {
        *fetched = 1;
      }
      return S_OK;
    }
    monikers[0] = nullptr;
    if (fetched != nullptr) {
      *fetched = 0;
    }
    return end_result;
  }
  HRESULT STDMETHODCALLTYPE Skip(ULONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Reset() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Clone(IEnumMoniker**) override { return E_NOTIMPL; }

  std::vector<FakeMoniker*> items;
  // What Next answers after the last moniker.
  HRESULT end_result = S_FALSE;

 private:
  std::size_t position_ = 0;
};

class FakeDeviceEnumerator : public FakeComObject<ICreateDevEnum> {
 public:
  FakeDeviceEnumerator() : FakeComObject("device enumerator", IID_ICreateDevEnum) {}

  HRESULT STDMETHODCALLTYPE CreateClassEnumerator(REFCLSID category, IEnumMoniker** enumerator, DWORD flags) override {
    current_fake_system()->record("create class enumerator");
    if (!IsEqualGUID(category, CLSID_VideoInputDeviceCategory) || flags != 0) {
      current_fake_system()->record("create class enumerator with unexpected arguments");
    }
    *enumerator = nullptr;
    if (result == S_OK) {
      monikers.AddRef();
      *enumerator = &monikers;
    }
    return result;
  }

  HRESULT result = S_OK;
  FakeEnumMoniker monikers;
};

// Every IMFAttributes operation refuses, except those a fake overrides.
template <typename Interface>
class FakeAttributesBase : public FakeComObject<Interface> {
 public:
  using FakeComObject<Interface>::FakeComObject;

  HRESULT STDMETHODCALLTYPE GetItem(REFGUID, PROPVARIANT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetItemType(REFGUID, MF_ATTRIBUTE_TYPE*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE CompareItem(REFGUID, REFPROPVARIANT, WINBOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Compare(IMFAttributes*, MF_ATTRIBUTES_MATCH_TYPE, WINBOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetUINT32(REFGUID, UINT32*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetUINT64(REFGUID, UINT64*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetDouble(REFGUID, double*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetGUID(REFGUID, GUID*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetStringLength(REFGUID, UINT32*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetString(REFGUID, LPWSTR, UINT32, UINT32*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetAllocatedString(REFGUID, LPWSTR*, UINT32*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetBlobSize(REFGUID, UINT32*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetBlob(REFGUID, UINT8*, UINT32, UINT32*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetAllocatedBlob(REFGUID, UINT8**, UINT32*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetUnknown(REFGUID, REFIID, LPVOID*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetItem(REFGUID, REFPROPVARIANT) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE DeleteItem(REFGUID) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE DeleteAllItems() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetUINT32(REFGUID, UINT32) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetUINT64(REFGUID, UINT64) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetDouble(REFGUID, double) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetGUID(REFGUID, REFGUID) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetString(REFGUID, LPCWSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetBlob(REFGUID, const UINT8*, UINT32) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetUnknown(REFGUID, IUnknown*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE LockStore() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE UnlockStore() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetCount(UINT32*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetItemByIndex(UINT32, GUID*, PROPVARIANT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE CopyAllItems(IMFAttributes*) override { return E_NOTIMPL; }
};

class FakeAttributes : public FakeAttributesBase<IMFAttributes> {
 public:
  FakeAttributes() : FakeAttributesBase("attributes", IID_IMFAttributes) {}

  HRESULT STDMETHODCALLTYPE SetGUID(REFGUID key, REFGUID value) override {
    current_fake_system()->record("set guid");
    if (!IsEqualGUID(key, MF_DEVSOURCE_ATTRIBUTE_SOURCE_TYPE) ||
        !IsEqualGUID(value, MF_DEVSOURCE_ATTRIBUTE_SOURCE_TYPE_VIDCAP_GUID)) {
      current_fake_system()->record("set guid with unexpected arguments");
    }
    return set_guid_result;
  }

  HRESULT set_guid_result = S_OK;
};

// One Media Foundation device source; a string left unset fails to read.
class FakeActivate : public FakeAttributesBase<IMFActivate> {
 public:
  explicit FakeActivate(std::string name) : FakeAttributesBase(std::move(name), IID_IMFActivate) {}

  HRESULT STDMETHODCALLTYPE GetAllocatedString(REFGUID key, LPWSTR* text, UINT32* length) override;
  HRESULT STDMETHODCALLTYPE ActivateObject(REFIID, void**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE ShutdownObject() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE DetachObject() override { return E_NOTIMPL; }

  std::optional<std::wstring> friendly_name;
  std::optional<std::wstring> symbolic_link;
  // The string call succeeds but hands over no string.
  bool succeeds_without_string = false;
};

// The objects one listing meets, owned by the test.
struct FakeDevices {
  FakeDeviceEnumerator device_enumerator;
  std::deque<FakeMoniker> monikers;
  std::deque<FakePropertyBag> bags;
  FakeAttributes attributes;
  std::deque<FakeActivate> sources;
  // The array MFEnumDeviceSources hands over: indices into `sources`, or -1 for a null entry.
  std::vector<int> source_array;
  bool hand_over_no_array = false;

  // A DirectShow device whose bag holds `properties`.
  FakeMoniker& add_moniker(std::map<std::wstring, FakeProperty> properties) {
    const std::string number = std::to_string(monikers.size());
    FakePropertyBag& bag = bags.emplace_back("bag " + number);
    bag.properties = std::move(properties);
    FakeMoniker& moniker = monikers.emplace_back("moniker " + number);
    moniker.bag = &bag;
    device_enumerator.monikers.items.push_back(&moniker);
    return moniker;
  }

  FakeActivate& add_source(std::optional<std::wstring> friendly_name, std::optional<std::wstring> symbolic_link) {
    FakeActivate& source = sources.emplace_back("source " + std::to_string(sources.size()));
    source.friendly_name = std::move(friendly_name);
    source.symbolic_link = std::move(symbolic_link);
    source_array.push_back(static_cast<int>(sources.size()) - 1);
    return source;
  }
};

inline FakeDevices*& current_fake_devices() {
  static FakeDevices* devices = nullptr;
  return devices;
}

inline HRESULT STDMETHODCALLTYPE FakeActivate::GetAllocatedString(REFGUID key, LPWSTR* text, UINT32* length) {
  const bool friendly = IsEqualGUID(key, MF_DEVSOURCE_ATTRIBUTE_FRIENDLY_NAME);
  const bool link = IsEqualGUID(key, MF_DEVSOURCE_ATTRIBUTE_SOURCE_TYPE_VIDCAP_SYMBOLIC_LINK);
  current_fake_system()->record(name() + (friendly ? " friendly name" : link ? " symbolic link" : " other string"));
  *text = nullptr;
  if (succeeds_without_string) {
    return S_OK;
  }
  const std::optional<std::wstring>& value = friendly ? friendly_name : symbolic_link;
  if (!(friendly || link) || !value.has_value()) {
    return MF_E_ATTRIBUTENOTFOUND;
  }
  const std::size_t bytes = (value->size() + 1) * sizeof(wchar_t);
  auto* copy = static_cast<wchar_t*>(CoTaskMemAlloc(bytes));
  std::copy(value->c_str(), value->c_str() + value->size() + 1, copy);
  current_fake_system()->co_task_allocations.push_back(copy);
  *text = copy;
  if (length != nullptr) {
    *length = static_cast<UINT32>(value->size());
  }
  return S_OK;
}

namespace fake_calls {

inline HRESULT WINAPI co_initialize_ex(LPVOID reserved, DWORD concurrency) {
  FakeCaptureSystem& fake = *current_fake_system();
  fake.record(concurrency == COINIT_APARTMENTTHREADED ? "CoInitializeEx(apartment)"
              : concurrency == COINIT_MULTITHREADED   ? "CoInitializeEx(multithreaded)"
                                                      : "CoInitializeEx(other)");
  if (reserved != nullptr) {
    fake.record("CoInitializeEx with a reserved argument");
  }
  const std::size_t call = fake.co_initialize_calls++;
  return call < fake.co_initialize_results.size() ? fake.co_initialize_results[call] : S_OK;
}

inline void WINAPI co_uninitialize() { current_fake_system()->record("CoUninitialize"); }

inline HRESULT WINAPI co_create_instance(REFCLSID clsid, LPUNKNOWN outer, DWORD context, REFIID iid, LPVOID* object) {
  FakeCaptureSystem& fake = *current_fake_system();
  fake.record("CoCreateInstance");
  *object = nullptr;
  if (!IsEqualGUID(clsid, CLSID_SystemDeviceEnum) || outer != nullptr || context != CLSCTX_INPROC_SERVER ||
      !IsEqualGUID(iid, IID_ICreateDevEnum)) {
    fake.record("CoCreateInstance with unexpected arguments");
    return E_NOINTERFACE;
  }
  if (FAILED(fake.co_create_instance_result)) {
    return fake.co_create_instance_result;
  }
  FakeDeviceEnumerator& enumerator = current_fake_devices()->device_enumerator;
  enumerator.AddRef();
  *object = static_cast<ICreateDevEnum*>(&enumerator);
  return fake.co_create_instance_result;
}

inline void WINAPI co_task_mem_free(LPVOID memory) {
  FakeCaptureSystem& fake = *current_fake_system();
  auto& allocations = fake.co_task_allocations;
  const auto found = std::find(allocations.begin(), allocations.end(), memory);
  if (memory == nullptr) {
    fake.record("CoTaskMemFree(null)");
  } else if (found == allocations.end()) {
    // Freeing what was never handed over (or freeing twice) would corrupt the heap.
    fake.record("CoTaskMemFree(unknown memory)");
    return;
  } else {
    fake.record(memory == fake.source_array_memory ? "CoTaskMemFree(source array)" : "CoTaskMemFree(string)");
    allocations.erase(found);
  }
  CoTaskMemFree(memory);
}

inline HRESULT WINAPI variant_clear(VARIANTARG* variant) {
  current_fake_system()->record("VariantClear");
  return VariantClear(variant);
}

inline HRESULT WINAPI mf_startup(ULONG version, DWORD flags) {
  FakeCaptureSystem& fake = *current_fake_system();
  fake.record("MFStartup");
  if (version != 0x20070 || flags != MFSTARTUP_FULL) {
    fake.record("MFStartup with unexpected arguments");
  }
  return fake.mf_startup_result;
}

inline HRESULT WINAPI mf_shutdown() {
  current_fake_system()->record("MFShutdown");
  return current_fake_system()->mf_shutdown_result;
}

inline HRESULT WINAPI mf_create_attributes(IMFAttributes** attributes, UINT32 initial_size) {
  FakeCaptureSystem& fake = *current_fake_system();
  fake.record("MFCreateAttributes");
  if (initial_size != 1) {
    fake.record("MFCreateAttributes with unexpected arguments");
  }
  *attributes = nullptr;
  if (FAILED(fake.mf_create_attributes_result)) {
    return fake.mf_create_attributes_result;
  }
  FakeAttributes& fake_attributes = current_fake_devices()->attributes;
  fake_attributes.AddRef();
  *attributes = &fake_attributes;
  return S_OK;
}

inline HRESULT WINAPI mf_enum_device_sources(IMFAttributes* attributes, IMFActivate*** sources, UINT32* count) {
  FakeCaptureSystem& fake = *current_fake_system();
  FakeDevices& devices = *current_fake_devices();
  fake.record("MFEnumDeviceSources");
  if (attributes != static_cast<IMFAttributes*>(&devices.attributes)) {
    fake.record("MFEnumDeviceSources with unexpected arguments");
  }
  if (FAILED(fake.mf_enum_result)) {
    return fake.mf_enum_result;
  }
  *count = static_cast<UINT32>(devices.source_array.size());
  if (devices.hand_over_no_array) {
    return S_OK;
  }
  auto* array = static_cast<IMFActivate**>(CoTaskMemAlloc(sizeof(IMFActivate*) * (devices.source_array.size() + 1)));
  fake.co_task_allocations.push_back(array);
  fake.source_array_memory = array;
  for (std::size_t i = 0; i < devices.source_array.size(); ++i) {
    const int index = devices.source_array[i];
    if (index < 0) {
      array[i] = nullptr;
    } else {
      FakeActivate& source = devices.sources[static_cast<std::size_t>(index)];
      source.AddRef();
      array[i] = &source;
    }
  }
  *sources = array;
  return S_OK;
}

inline int WINAPI wide_char_to_multi_byte(UINT code_page, DWORD flags, LPCWCH wide, int wide_length, LPSTR narrow,
                                          int narrow_length, LPCCH default_char, LPBOOL used_default_char) {
  FakeCaptureSystem& fake = *current_fake_system();
  const std::size_t call = fake.count("WideCharToMultiByte");
  fake.record("WideCharToMultiByte");
  if (code_page != CP_UTF8 || flags != 0 || wide_length != -1 || default_char != nullptr ||
      used_default_char != nullptr) {
    fake.record("WideCharToMultiByte with unexpected arguments");
  }
  const int answer =
      WideCharToMultiByte(code_page, flags, wide, wide_length, narrow, narrow_length, default_char, used_default_char);
  return call < fake.wide_char_results.size() ? fake.wide_char_results[call] : answer;
}

inline constexpr win_detail::CaptureSystemCalls kTable = {
    co_initialize_ex, co_uninitialize, co_create_instance,   co_task_mem_free,       variant_clear,
    mf_startup,       mf_shutdown,     mf_create_attributes, mf_enum_device_sources, wide_char_to_multi_byte,
};

}  // namespace fake_calls

inline FakeCaptureSystem::FakeCaptureSystem() {
  current_fake_system() = this;
  detail::bridge::PlatformTable entries;
  entries.windows_system_calls = &fake_calls::kTable;
  installed.emplace(entries);
}

inline FakeCaptureSystem::~FakeCaptureSystem() {
  installed.reset();
  current_fake_system() = nullptr;
}

// A test with the fake system installed and a set of fake devices behind it.
class FakeCaptureSystemTest : public ::testing::Test {
 protected:
  FakeCaptureSystemTest() { current_fake_devices() = &devices_; }
  ~FakeCaptureSystemTest() override { current_fake_devices() = nullptr; }

  FakeCaptureSystem system_;
  FakeDevices devices_;
};

}  // namespace tovanel::uvc_stereo::win_testing
