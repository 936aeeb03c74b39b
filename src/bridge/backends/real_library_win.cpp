// The camera vendor's own library, SonixCamera.dll, loaded at run time: first from the
// directory of the module this SDK is built into (the SDK DLL, or a program that links the
// SDK statically), then by name through the system's search. It is looked for once, on the
// first vendor call, and never unloaded. Without it every operation behaves as on a
// machine without the library: SonixCam_Init fails with "ecLibInitFail".
#include <exception>
#include <optional>
#include <string>

#include "bridge/os/wide_text_win.h"
#include "bridge/os/windows_api_win.h"
// After <windows.h>, whose types it needs.
#include <winver.h>

#include "bridge/vendor_backend.h"

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

constexpr wchar_t kLibraryName[] = L"SonixCamera.dll";

// The full path of `module`, however long; empty when Windows cannot tell.
std::wstring module_path(HMODULE module) {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
    if (length == 0) {
      return {};
    }
    if (length < path.size()) {
      path.resize(length);
      return path;
    }
    // A full buffer may hold a cut path: ask again with more room.
    path.resize(path.size() * 2);
  }
}

// SonixCamera.dll in the directory of the module that holds this code; empty when that
// module cannot be found.
std::wstring library_beside_this_module() {
  HMODULE self = nullptr;
  const auto address = reinterpret_cast<LPCWSTR>(&platform_vendor_backend);
  if (GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, address,
                         &self) == 0) {
    return {};
  }
  const std::wstring path = module_path(self);
  const std::wstring::size_type slash = path.find_last_of(L"\\/");
  if (slash == std::wstring::npos) {
    return {};
  }
  return path.substr(0, slash + 1) + kLibraryName;
}

template <typename Entry>
bool resolve(HMODULE library, const char* name, Entry& entry) {
  const FARPROC address = GetProcAddress(library, name);
  if (address == nullptr) {
    return false;
  }
  // GetProcAddress hands out every export as one generic pointer; the declaration of the
  // vendor interface says what each really is.
  entry = reinterpret_cast<Entry>(reinterpret_cast<void*>(address));
  return true;
}

// The backend table of `library` when it exports every operation; a library that lacks
// one is not the vendor library this SDK was written for.
std::optional<VendorBackend> bind_operations(HMODULE library) {
  VendorBackend table;
  table.name = "SonixCamera.dll";
  const bool complete =
      resolve(library, "SonixCam_Init", table.init) && resolve(library, "SonixCam_UnInit", table.uninit) &&
      resolve(library, "SonixCam_EnumCameras", table.enum_cameras) &&
      resolve(library, "SonixCam_GetErrorCode", table.get_error_code) &&
      resolve(library, "SonixCam_GetDevDescriptor", table.get_dev_descriptor) &&
      resolve(library, "SonixCam_SetNodeID", table.set_node_id) && resolve(library, "SonixCam_XuRead", table.xu_read) &&
      resolve(library, "SonixCam_GetVersion", table.get_version) &&
      resolve(library, "SonixCam_GetSerialFlashType", table.get_serial_flash_type) &&
      resolve(library, "SonixCam_CstmReadFromSF", table.read_flash) &&
      resolve(library, "SonixCam_WriteToSF", table.write_flash) &&
      resolve(library, "SonixCam_SectorEraseSF", table.sector_erase) &&
      resolve(library, "SonixCam_SetWriteProtectedSF", table.set_write_protected) &&
      resolve(library, "SonixCam_SetStatusRegBitWP", table.set_status_reg_bit_wp);
  if (!complete || !complete_vendor_backend(table)) {
    return std::nullopt;
  }
  return table;
}

std::optional<VendorBackend> try_library(HMODULE library) {
  if (library == nullptr) {
    return std::nullopt;
  }
  std::optional<VendorBackend> table = bind_operations(library);
  if (!table.has_value()) {
    FreeLibrary(library);
  }
  return table;
}

std::optional<VendorBackend> load_vendor_library() noexcept {
  try {
    // Looking beside the SDK first keeps the library that was shipped with it ahead of any
    // other copy on the search path; its own dependencies are then found beside it too.
    const std::wstring beside = library_beside_this_module();
    if (!beside.empty()) {
      if (std::optional<VendorBackend> table =
              try_library(LoadLibraryExW(beside.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH))) {
        return table;
      }
    }
    return try_library(LoadLibraryW(kLibraryName));
  } catch (const std::exception&) {
    // Only the path strings can fail (out of memory); the library then counts as absent.
    return std::nullopt;
  }
}

// "a.b.c.d" from the fixed file version of the version resource of the file at `path`;
// empty when it has none.
std::string file_version(const std::wstring& path) {
  DWORD ignored = 0;
  const DWORD size = GetFileVersionInfoSizeW(path.c_str(), &ignored);
  if (size == 0) {
    return {};
  }
  std::string resource(size, '\0');
  if (GetFileVersionInfoW(path.c_str(), 0, size, resource.data()) == 0) {
    return {};
  }
  void* fixed = nullptr;
  UINT fixed_size = 0;
  if (VerQueryValueW(resource.data(), L"\\", &fixed, &fixed_size) == 0 || fixed == nullptr ||
      fixed_size < sizeof(VS_FIXEDFILEINFO)) {
    return {};
  }
  const auto* info = static_cast<const VS_FIXEDFILEINFO*>(fixed);
  return std::to_string(HIWORD(info->dwFileVersionMS)) + "." + std::to_string(LOWORD(info->dwFileVersionMS)) + "." +
         std::to_string(HIWORD(info->dwFileVersionLS)) + "." + std::to_string(LOWORD(info->dwFileVersionLS));
}

}  // namespace

std::string platform_vendor_library_version() {
  if (platform_vendor_backend().init == unavailable_vendor_backend().init) {
    return "not loaded (SonixCamera.dll was not found beside the SDK or on the search path)";
  }
  // The library loaded above stays loaded, so its handle names the very file in use.
  const std::wstring path = module_path(GetModuleHandleW(kLibraryName));
  const std::string version = path.empty() ? std::string() : file_version(path);
  return std::string("SonixCamera.dll ") + (version.empty() ? "(no version resource)" : version) + " (" +
         win_detail::wide_to_utf8(path.c_str()) + ")";
}

const VendorBackend& platform_vendor_backend() noexcept {
  // Thread-safe static initialisation makes the first caller load the library while the
  // others wait; the library is never released, so the table stays valid to process exit.
  static const std::optional<VendorBackend> library = load_vendor_library();
  return library.has_value() ? *library : unavailable_vendor_backend();
}

}  // namespace tovanel::uvc_stereo::detail::bridge
