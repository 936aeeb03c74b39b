#pragma once

#include <string>

#include "bridge/sonix_camera.h"
#include "uvc_stereo/camera_access.h"

namespace tovanel::uvc_stereo::detail::bridge {

// One implementation of the vendor operations. Exactly one backend is active at a time; the SonixCam_* functions
// forward to it (bridge/sonix_dispatch.cpp). The contract every backend keeps, entry by entry:
//  - Every entry is required: a backend that cannot do an operation still gives a function that fails it, with a
//    code for get_error_code (complete_vendor_backend tells whether a table is whole; the tests hold every
//    built-in backend to it, and the library loaded at run time is checked with it before use).
//  - Every entry is called with the process-wide vendor lock held by the calling thread, and may rely on it: no
//    other vendor call runs meanwhile. No entry takes that lock itself or calls another entry through the bridge.
//  - Every entry but init, get_error_code and uninit is called only inside an open library session (between a
//    successful init and its uninit); `device` is then a record that enum_cameras filled in that session.
//  - Every entry returns true on success. On failure it returns false and leaves a code for get_error_code (the
//    library's "last error" of the calling thread), and writes nothing the caller may trust.
//
// C++17 has no designated initialisers, so backends fill a default-constructed table field by field in a constexpr
// function (see kSimulated in sim/backend.cpp), which keeps every entry's name beside its function.
struct VendorBackend {
  /// The backend's name for diagnostics: "unavailable", "SonixCamera.dll", "Linux UVC", "simulated".
  const char* name = nullptr;

  /// SonixCam_Init: opens one library session. Sessions nest (an open IMU reader keeps one while operations open
  /// and close their own); each successful init is matched by exactly one uninit. False when the library cannot
  /// start, with the code (ecLibInitFail, or "no camera" where the library says so) for get_error_code.
  bool (*init)() = nullptr;

  /// SonixCam_UnInit: closes one session that init opened. Called only after a successful init, exactly once per
  /// session, on every path (failed operations and exceptions included). Its result is not acted on.
  bool (*uninit)() = nullptr;

  /// SonixCam_EnumCameras: writes the cameras attached now to devices[0 .. *count), at most `max_count`, in the
  /// library's own order, and their number to *count (0 is a success). Records stay valid until the session ends.
  bool (*enum_cameras)(std::int32_t* count, SonixLib::scDevice_t* devices, std::int32_t max_count) = nullptr;

  /// SonixCam_GetErrorCode: writes the code the last failed entry left to *code (`device` names the camera it
  /// failed on, null for init and enum_cameras). Called right after a failure, also outside a session (after a failed
  /// init). False when no code can be given; the caller then reports the failure without one.
  bool (*get_error_code)(SonixLib::scDevice_t* device, SonixLib::scErrorCode_t* code) = nullptr;

  /// SonixCam_GetDevDescriptor: copies up to `length` bytes of one of the camera's descriptors into `buffer`:
  /// type 0 gives the vendor and product ids (four bytes, in the camera's byte order), the others the camera's
  /// strings (2: its description, 3: product name, 4: serial number) as NUL-terminated text. False when it has no
  /// descriptor of `type`. The two reserved arguments are passed as 0.
  bool (*get_dev_descriptor)(SonixLib::scDevice_t* device, std::uint8_t type, std::uint8_t* buffer,
                             std::uint32_t length, std::int32_t reserved_a, std::int32_t reserved_b) = nullptr;

  /// SonixCam_SetNodeID: points the extension-unit reads that follow on `device` at unit `node_id` of the
  /// extension unit identified by the 16 bytes of `guid`. False when the camera has no such unit.
  bool (*set_node_id)(SonixLib::scDevice_t* device, std::uint8_t node_id, const std::uint8_t guid[16]) = nullptr;

  /// SonixCam_XuRead: reads `length` bytes of control `selector` of extension unit `unit_id` into `buffer` (the
  /// capability report, an IMU sample). Bytes the camera does not send are left as the caller set them.
  bool (*xu_read)(SonixLib::scDevice_t* device, std::uint8_t* buffer, std::uint8_t length, std::uint8_t selector,
                  std::uint8_t unit_id) = nullptr;

  /// SonixCam_GetVersion: writes the bridge chip's firmware version text into `buffer` (`length` bytes, NUL
  /// terminated when it fits). `flags` is passed as 0.
  bool (*get_version)(SonixLib::scDevice_t* device, char* buffer, std::uint32_t length, std::int32_t flags) = nullptr;

  /// SonixCam_GetSerialFlashType: writes the kind of the camera's serial flash to *type; SF_UNKNOW (0) with a true
  /// result means the library does not know the part.
  bool (*get_serial_flash_type)(SonixLib::scDevice_t* device, SonixLib::SERIAL_FLASH_TYPE* type) = nullptr;

  /// SonixCam_CstmReadFromSF: reads `length` bytes of serial flash from `address` into `buffer`, in one transfer.
  bool (*read_flash)(SonixLib::scDevice_t* device, std::uint32_t address, std::uint8_t* buffer,
                     std::uint32_t length) = nullptr;

  /// SonixCam_WriteToSF: programs `length` bytes of `buffer` at `address`, in one transfer. Programming only
  /// clears bits: the caller erases the sectors first and lifts the write protection.
  bool (*write_flash)(SonixLib::scDevice_t* device, std::uint32_t address, const std::uint8_t* buffer,
                      std::uint32_t length) = nullptr;

  /// SonixCam_SectorEraseSF: erases (sets to 0xFF) the flash sector that starts at `address`, with the erase
  /// command byte `command` (0x20).
  bool (*sector_erase)(SonixLib::scDevice_t* device, std::uint32_t address, std::uint8_t command) = nullptr;

  /// SonixCam_SetWriteProtectedSF: sets the flash's write protection; the bridge passes (1, 1), which lifts it.
  bool (*set_write_protected)(SonixLib::scDevice_t* device, std::uint8_t a, std::uint8_t b) = nullptr;

  /// SonixCam_SetStatusRegBitWP: sets the protection bits of the flash's status register; the bridge passes
  /// (2, 5, 1, 6, 2, 3), which unlocks the user space for programming.
  bool (*set_status_reg_bit_wp)(SonixLib::scDevice_t* device, std::uint8_t a, std::uint8_t b, std::uint8_t c,
                                std::uint8_t d, std::uint8_t e, std::uint8_t f) = nullptr;

  /// Not a vendor operation: true for a backend that reaches its cameras through the kernel's video nodes (the
  /// Linux UVC backend), whose listing then tells which cameras this account may not open. Tables filled in
  /// order may leave it out.
  bool serves_kernel_nodes = false;

  /// Not a vendor operation: for a backend that stands in for the kernel as well (the simulated rig), what the
  /// kernel would show of its cameras' video nodes, and so which of them this account may not open. Called with the
  /// vendor lock held; null for a backend without such nodes.
  KernelVideoListing (*simulated_node_listing)() = nullptr;
};

/// True when every entry of `backend` is set, its name included: what a backend's table must be before it is used.
[[nodiscard]] constexpr bool complete_vendor_backend(const VendorBackend& backend) noexcept {
  return backend.name != nullptr && backend.init != nullptr && backend.uninit != nullptr &&
         backend.enum_cameras != nullptr && backend.get_error_code != nullptr &&
         backend.get_dev_descriptor != nullptr && backend.set_node_id != nullptr && backend.xu_read != nullptr &&
         backend.get_version != nullptr && backend.get_serial_flash_type != nullptr && backend.read_flash != nullptr &&
         backend.write_flash != nullptr && backend.sector_erase != nullptr && backend.set_write_protected != nullptr &&
         backend.set_status_reg_bit_wp != nullptr;
}

// The backend used when nothing else is installed: the vendor library on Windows,
// "unavailable" elsewhere.
const VendorBackend& platform_vendor_backend() noexcept;

// The platform backend's library and its version, as vendor_library_version() words it
// (uvc_stereo/platform_info.h). Loads the library on Windows if it is not loaded yet.
[[nodiscard]] std::string platform_vendor_library_version();

// The backend every operation fails in: SonixCam_Init reports "ecLibInitFail".
const VendorBackend& unavailable_vendor_backend() noexcept;

// The backend in force: the platform table's entry (see bridge/platform.h for how to
// replace it), else the platform backend.
const VendorBackend& active_vendor_backend() noexcept;

}  // namespace tovanel::uvc_stereo::detail::bridge
