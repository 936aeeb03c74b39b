#pragma once

#include "bridge/os/windows_headers_win.h"

namespace tovanel::uvc_stereo::win_detail {

// The COM, Media Foundation and text-conversion calls of the capture listings, reached
// through one table so that tests can stand in for what a machine cannot be made to do
// (a thread whose apartment refuses both modes, a failing MFStartup, cameras that are not
// there) and count the calls. The default table calls the system's own functions.
struct CaptureSystemCalls {
  HRESULT(WINAPI* co_initialize_ex)(LPVOID reserved, DWORD concurrency);
  void(WINAPI* co_uninitialize)();
  HRESULT(WINAPI* co_create_instance)(REFCLSID clsid, LPUNKNOWN outer, DWORD context, REFIID iid, LPVOID* object);
  void(WINAPI* co_task_mem_free)(LPVOID memory);
  HRESULT(WINAPI* variant_clear)(VARIANTARG* variant);
  HRESULT(WINAPI* mf_startup)(ULONG version, DWORD flags);
  HRESULT(WINAPI* mf_shutdown)();
  HRESULT(WINAPI* mf_create_attributes)(IMFAttributes** attributes, UINT32 initial_size);
  HRESULT(WINAPI* mf_enum_device_sources)(IMFAttributes* attributes, IMFActivate*** sources, UINT32* count);
  int(WINAPI* wide_char_to_multi_byte)(UINT code_page, DWORD flags, LPCWCH wide, int wide_length, LPSTR narrow,
                                       int narrow_length, LPCCH default_char, LPBOOL used_default_char);
};

// The table of the system's own functions.
[[nodiscard]] const CaptureSystemCalls& system_capture_calls() noexcept;

// The table in use: the platform table's windows_system_calls entry, else the system's.
[[nodiscard]] const CaptureSystemCalls& capture_system_calls() noexcept;

}  // namespace tovanel::uvc_stereo::win_detail
