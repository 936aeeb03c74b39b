#pragma once

// Lets the system's own COM and Media Foundation do the work while counting the calls
// and keeping what CoInitializeEx answered, so tests on a real system can check that a
// listing undoes exactly what it did.

#include <mutex>
#include <optional>
#include <vector>

#include "bridge/os/capture_system_calls_win.h"
#include "bridge/platform.h"

namespace tovanel::uvc_stereo::win_testing {

struct SystemCallLog {
  std::mutex mutex;
  std::vector<HRESULT> co_initialize_answers;
  int co_uninitialize = 0;
  int mf_startup = 0;
  int mf_shutdown = 0;
};

inline SystemCallLog& system_call_log() {
  static SystemCallLog log;
  return log;
}

namespace counting_calls {

inline const win_detail::CaptureSystemCalls& system() { return win_detail::system_capture_calls(); }

inline HRESULT WINAPI co_initialize_ex(LPVOID reserved, DWORD concurrency) {
  const HRESULT answer = system().co_initialize_ex(reserved, concurrency);
  const std::lock_guard<std::mutex> guard(system_call_log().mutex);
  system_call_log().co_initialize_answers.push_back(answer);
  return answer;
}

inline void WINAPI co_uninitialize() {
  system().co_uninitialize();
  const std::lock_guard<std::mutex> guard(system_call_log().mutex);
  ++system_call_log().co_uninitialize;
}

inline HRESULT WINAPI mf_startup(ULONG version, DWORD flags) {
  {
    const std::lock_guard<std::mutex> guard(system_call_log().mutex);
    ++system_call_log().mf_startup;
  }
  return system().mf_startup(version, flags);
}

inline HRESULT WINAPI mf_shutdown() {
  {
    const std::lock_guard<std::mutex> guard(system_call_log().mutex);
    ++system_call_log().mf_shutdown;
  }
  return system().mf_shutdown();
}

inline HRESULT WINAPI co_create_instance(REFCLSID clsid, LPUNKNOWN outer, DWORD context, REFIID iid, LPVOID* object) {
  return system().co_create_instance(clsid, outer, context, iid, object);
}
inline void WINAPI co_task_mem_free(LPVOID memory) { system().co_task_mem_free(memory); }
inline HRESULT WINAPI variant_clear(VARIANTARG* variant) { return system().variant_clear(variant); }
inline HRESULT WINAPI mf_create_attributes(IMFAttributes** attributes, UINT32 size) {
  return system().mf_create_attributes(attributes, size);
}
inline HRESULT WINAPI mf_enum_device_sources(IMFAttributes* attributes, IMFActivate*** sources, UINT32* count) {
  return system().mf_enum_device_sources(attributes, sources, count);
}
inline int WINAPI wide_char_to_multi_byte(UINT code_page, DWORD flags, LPCWCH wide, int wide_length, LPSTR narrow,
                                          int narrow_length, LPCCH default_char, LPBOOL used_default_char) {
  return system().wide_char_to_multi_byte(code_page, flags, wide, wide_length, narrow, narrow_length, default_char,
                                          used_default_char);
}

inline constexpr win_detail::CaptureSystemCalls kTable = {
    co_initialize_ex, co_uninitialize, co_create_instance,   co_task_mem_free,       variant_clear,
    mf_startup,       mf_shutdown,     mf_create_attributes, mf_enum_device_sources, wide_char_to_multi_byte,
};

}  // namespace counting_calls

// Counts from a clean log while it lives.
class CountingSystemCalls {
 public:
  CountingSystemCalls() {
    SystemCallLog& log = system_call_log();
    const std::lock_guard<std::mutex> guard(log.mutex);
    log.co_initialize_answers.clear();
    log.co_uninitialize = log.mf_startup = log.mf_shutdown = 0;
    detail::bridge::PlatformTable entries;
    entries.windows_system_calls = &counting_calls::kTable;
    installed_.emplace(entries);
  }
  CountingSystemCalls(const CountingSystemCalls&) = delete;
  CountingSystemCalls& operator=(const CountingSystemCalls&) = delete;

  [[nodiscard]] std::vector<HRESULT> co_initialize_answers() const {
    const std::lock_guard<std::mutex> guard(system_call_log().mutex);
    return system_call_log().co_initialize_answers;
  }
  [[nodiscard]] int co_uninitialize_calls() const { return read(&SystemCallLog::co_uninitialize); }
  [[nodiscard]] int mf_startup_calls() const { return read(&SystemCallLog::mf_startup); }
  [[nodiscard]] int mf_shutdown_calls() const { return read(&SystemCallLog::mf_shutdown); }

 private:
  static int read(int SystemCallLog::*counter) {
    const std::lock_guard<std::mutex> guard(system_call_log().mutex);
    return system_call_log().*counter;
  }

  std::optional<detail::bridge::PlatformOverride> installed_;
};

}  // namespace tovanel::uvc_stereo::win_testing
