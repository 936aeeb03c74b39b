#pragma once

#include "bridge/sonix_camera.h"

namespace tovanel::uvc_stereo::vendor {

// One implementation of the vendor operations. Exactly one backend is active at a time;
// the SonixCam_* functions forward to it. Every entry is required and is called with
// the process-wide vendor lock held by the calling thread. Each returns true on
// success and otherwise leaves a code for `get_error_code`.
struct VendorBackend {
  const char* name;  ///< "unavailable", "SonixCamera.dll", "simulated"
  bool (*init)();    ///< opens a library session (sessions nest: an open IMU reader keeps one)
  bool (*uninit)();  ///< closes one session
  bool (*enum_cameras)(std::int32_t* count, SonixLib::scDevice_t* devices, std::int32_t max_count);
  bool (*get_error_code)(SonixLib::scDevice_t* device, SonixLib::scErrorCode_t* code);
  bool (*get_dev_descriptor)(SonixLib::scDevice_t* device, std::uint8_t type, std::uint8_t* buffer,
                             std::uint32_t length, std::int32_t reserved_a, std::int32_t reserved_b);
  bool (*set_node_id)(SonixLib::scDevice_t* device, std::uint8_t node_id, const std::uint8_t guid[16]);
  bool (*xu_read)(SonixLib::scDevice_t* device, std::uint8_t* buffer, std::uint8_t length, std::uint8_t selector,
                  std::uint8_t unit_id);
  bool (*get_version)(SonixLib::scDevice_t* device, char* buffer, std::uint32_t length, std::int32_t flags);
  bool (*get_serial_flash_type)(SonixLib::scDevice_t* device, SonixLib::SERIAL_FLASH_TYPE* type);
  bool (*read_flash)(SonixLib::scDevice_t* device, std::uint32_t address, std::uint8_t* buffer, std::uint32_t length);
  bool (*write_flash)(SonixLib::scDevice_t* device, std::uint32_t address, const std::uint8_t* buffer,
                      std::uint32_t length);
  bool (*sector_erase)(SonixLib::scDevice_t* device, std::uint32_t address, std::uint8_t command);
  bool (*set_write_protected)(SonixLib::scDevice_t* device, std::uint8_t a, std::uint8_t b);
  bool (*set_status_reg_bit_wp)(SonixLib::scDevice_t* device, std::uint8_t a, std::uint8_t b, std::uint8_t c,
                                std::uint8_t d, std::uint8_t e, std::uint8_t f);
};

// The backend used when nothing else is installed: the vendor library on Windows,
// "unavailable" elsewhere.
const VendorBackend& platform_vendor_backend() noexcept;

// The backend every operation fails in: SonixCam_Init reports "ecLibInitFail".
const VendorBackend& unavailable_vendor_backend() noexcept;

// The backend in force: the platform table's entry (see bridge/platform.h for how to
// replace it), else the platform backend.
const VendorBackend& active_vendor_backend() noexcept;

}  // namespace tovanel::uvc_stereo::vendor
