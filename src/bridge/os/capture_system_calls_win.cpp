#include "bridge/os/capture_system_calls_win.h"

#include "bridge/platform_table.h"

namespace tovanel::uvc_stereo::win_detail {
namespace {

// MFStartup's declaration carries a default argument, which a function pointer cannot;
// the wrapper keeps the table's entry a plain two-argument call.
HRESULT WINAPI call_mf_startup(ULONG version, DWORD flags) { return MFStartup(version, flags); }

// The addresses of imported functions are only known once the loader has run, so the
// table is filled at start-up rather than at compile time.
const CaptureSystemCalls kSystemCalls = {
    &CoInitializeEx,  &CoUninitialize, &CoCreateInstance,   &CoTaskMemFree,       &VariantClear,
    &call_mf_startup, &MFShutdown,     &MFCreateAttributes, &MFEnumDeviceSources, &WideCharToMultiByte,
};

}  // namespace

const CaptureSystemCalls& system_capture_calls() noexcept { return kSystemCalls; }

const CaptureSystemCalls& capture_system_calls() noexcept {
  const CaptureSystemCalls* installed = detail::bridge::installed_platform().windows_system_calls;
  return installed != nullptr ? *installed : kSystemCalls;
}

}  // namespace tovanel::uvc_stereo::win_detail
