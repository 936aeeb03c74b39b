#define NOMINMAX
#include <windows.h>

#include "uvc-stereo/host_platform.h"

namespace tovanel::uvc_stereo::cli {
namespace {

std::string architecture_name(WORD architecture) {
  switch (architecture) {
    case PROCESSOR_ARCHITECTURE_AMD64:
      return "x86_64";
    case PROCESSOR_ARCHITECTURE_ARM64:
      return "aarch64";
    case PROCESSOR_ARCHITECTURE_INTEL:
      return "x86";
    default:
      return "unknown";
  }
}

}  // namespace

HostPlatform host_platform() {
  HostPlatform platform{"Windows", "unknown", "unknown"};
  // GetVersionEx answers as the application's manifest allows; ntdll's RtlGetVersion tells the truth.
  using RtlGetVersionFunction = LONG(WINAPI*)(OSVERSIONINFOW*);
  if (HMODULE ntdll = GetModuleHandleW(L"ntdll.dll")) {
    const auto get_version =
        reinterpret_cast<RtlGetVersionFunction>(reinterpret_cast<void*>(GetProcAddress(ntdll, "RtlGetVersion")));
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    if (get_version != nullptr && get_version(&version) == 0) {
      platform.release = std::to_string(version.dwMajorVersion) + "." + std::to_string(version.dwMinorVersion) + "." +
                         std::to_string(version.dwBuildNumber);
    }
  }
  SYSTEM_INFO system{};
  GetNativeSystemInfo(&system);
  platform.architecture = architecture_name(system.wProcessorArchitecture);
  return platform;
}

}  // namespace tovanel::uvc_stereo::cli
