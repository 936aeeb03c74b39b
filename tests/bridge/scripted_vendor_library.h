#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "bridge/platform.h"
#include "bridge/process_lock.h"
#include "bridge/sonix_camera.h"
#include "bridge/vendor_backend.h"

// A vendor library whose answers a test writes down beforehand, for answers the simulated rig
// never gives: an enumeration that fails after counting cameras, or one that counts more
// cameras than the caller has room for.
namespace tovanel::uvc_stereo::enumeration_testing {

struct ScriptedCamera {
  std::u16string device_path;
  std::uint16_t vendor_id = 0;
  std::uint16_t product_id = 0;
};

struct ScriptedLibrary {
  // What SonixCam_EnumCameras does: fill one record per camera (as many as fit), write
  // `reported_count`, and return `enum_succeeds`.
  bool enum_succeeds = true;
  std::int32_t reported_count = 0;
  std::vector<ScriptedCamera> cameras;
  // What SonixCam_GetErrorCode writes, and what its successive calls return (true past the end).
  std::int32_t error_code = 0;
  std::vector<bool> error_code_reads_succeed;

  // What the library saw.
  int init_calls = 0;
  int uninit_calls = 0;
  int enum_calls = 0;
  std::int32_t enum_max_count = 0;
  int error_code_calls = 0;
  int error_code_calls_with_device = 0;
  std::vector<std::size_t> descriptor_records;  ///< record index named by each vid/pid descriptor request
  std::vector<std::string> problems;            ///< calls without the lock, records outside the array

  const SonixLib::scDevice_t* records = nullptr;
};

namespace scripted_detail {

inline ScriptedLibrary*& active() {
  static ScriptedLibrary* library = nullptr;
  return library;
}

inline void check_lock(const char* call) {
  if (!detail::bridge::process_lock_held_by_this_thread()) {
    active()->problems.push_back(std::string(call) + " without the vendor lock");
  }
}

inline bool init() {
  check_lock("SonixCam_Init");
  ++active()->init_calls;
  return true;
}

inline bool uninit() {
  check_lock("SonixCam_UnInit");
  ++active()->uninit_calls;
  return true;
}

inline bool enum_cameras(std::int32_t* count, SonixLib::scDevice_t* devices, std::int32_t max_count) {
  ScriptedLibrary& library = *active();
  check_lock("SonixCam_EnumCameras");
  ++library.enum_calls;
  library.enum_max_count = max_count;
  library.records = devices;
  for (std::size_t i = 0; i < library.cameras.size() && i < static_cast<std::size_t>(max_count); ++i) {
    const std::u16string& path = library.cameras[i].device_path;
    for (std::size_t c = 0; c < path.size() && c + 1 < SonixLib::kDevicePathChars; ++c) {
      devices[i].devicePath[c] = path[c];
    }
  }
  *count = library.reported_count;
  return library.enum_succeeds;
}

inline bool get_error_code(SonixLib::scDevice_t* device, SonixLib::scErrorCode_t* code) {
  ScriptedLibrary& library = *active();
  check_lock("SonixCam_GetErrorCode");
  const std::size_t call = static_cast<std::size_t>(library.error_code_calls++);
  if (device != nullptr) {
    ++library.error_code_calls_with_device;
  }
  *code = static_cast<SonixLib::scErrorCode_t>(library.error_code);
  return call >= library.error_code_reads_succeed.size() || library.error_code_reads_succeed[call];
}

inline bool get_dev_descriptor(SonixLib::scDevice_t* device, std::uint8_t type, std::uint8_t* buffer,
                               std::uint32_t length, std::int32_t, std::int32_t) {
  ScriptedLibrary& library = *active();
  check_lock("SonixCam_GetDevDescriptor");
  const std::ptrdiff_t index = device - library.records;
  if (library.records == nullptr || index < 0 || static_cast<std::size_t>(index) >= library.cameras.size() ||
      index >= library.enum_max_count) {
    library.problems.push_back("descriptor request for a record the library never filled");
    return false;
  }
  // Only the vid/pid descriptor exists on these cameras; string descriptors fail.
  if (type != 0 || length < 4) {
    return false;
  }
  library.descriptor_records.push_back(static_cast<std::size_t>(index));
  const ScriptedCamera& camera = library.cameras[static_cast<std::size_t>(index)];
  buffer[0] = static_cast<std::uint8_t>(camera.vendor_id >> 8);
  buffer[1] = static_cast<std::uint8_t>(camera.vendor_id);
  buffer[2] = static_cast<std::uint8_t>(camera.product_id >> 8);
  buffer[3] = static_cast<std::uint8_t>(camera.product_id);
  return true;
}

inline bool set_node_id(SonixLib::scDevice_t*, std::uint8_t, const std::uint8_t*) { return false; }
inline bool xu_read(SonixLib::scDevice_t*, std::uint8_t*, std::uint8_t, std::uint8_t, std::uint8_t) { return false; }
inline bool get_version(SonixLib::scDevice_t*, char*, std::uint32_t, std::int32_t) { return false; }
inline bool get_serial_flash_type(SonixLib::scDevice_t*, SonixLib::SERIAL_FLASH_TYPE*) { return false; }
inline bool read_flash(SonixLib::scDevice_t*, std::uint32_t, std::uint8_t*, std::uint32_t) { return false; }
inline bool write_flash(SonixLib::scDevice_t*, std::uint32_t, const std::uint8_t*, std::uint32_t) { return false; }
inline bool sector_erase(SonixLib::scDevice_t*, std::uint32_t, std::uint8_t) { return false; }
inline bool set_write_protected(SonixLib::scDevice_t*, std::uint8_t, std::uint8_t) { return false; }
inline bool set_status_reg_bit_wp(SonixLib::scDevice_t*, std::uint8_t, std::uint8_t, std::uint8_t, std::uint8_t,
                                  std::uint8_t, std::uint8_t) {
  return false;
}

inline constexpr detail::bridge::VendorBackend kBackend = {
    "scripted",         init,        uninit,       enum_cameras,        get_error_code,
    get_dev_descriptor, set_node_id, xu_read,      get_version,         get_serial_flash_type,
    read_flash,         write_flash, sector_erase, set_write_protected, set_status_reg_bit_wp,
};

}  // namespace scripted_detail

// Makes `library` the process's vendor library while it lives; the platform's comes back after.
class ScriptedLibraryInstall {
 public:
  explicit ScriptedLibraryInstall(ScriptedLibrary& library) {
    scripted_detail::active() = &library;
    installed_.emplace(detail::bridge::replacing_vendor_backend(scripted_detail::kBackend));
  }
  ~ScriptedLibraryInstall() {
    installed_.reset();
    scripted_detail::active() = nullptr;
  }
  ScriptedLibraryInstall(const ScriptedLibraryInstall&) = delete;
  ScriptedLibraryInstall& operator=(const ScriptedLibraryInstall&) = delete;

 private:
  std::optional<detail::bridge::PlatformOverride> installed_;
};

// A supported camera for the script, named by a path that carries its ids.
inline ScriptedCamera scripted_camera(std::uint16_t vendor_id, std::uint16_t product_id, int number) {
  ScriptedCamera camera;
  camera.vendor_id = vendor_id;
  camera.product_id = product_id;
  char path[96] = {};
  std::snprintf(path, sizeof(path), "\\\\?\\usb#vid_%04x&pid_%04x#scripted%d", static_cast<unsigned>(vendor_id),
                static_cast<unsigned>(product_id), number);
  const std::string text(path);
  camera.device_path.assign(text.begin(), text.end());
  return camera;
}

}  // namespace tovanel::uvc_stereo::enumeration_testing
