#pragma once

#include <cstdint>
#include <string>

#include "uvc_stereo/export.h"

namespace tovanel::uvc_stereo {

/// Which camera a flash operation addresses, and where and how its configuration
/// record lies in that camera's serial flash. Validates nothing itself.
struct UVC_STEREO_API FlashConfig {
  std::string vidpid;                          ///< "%04x%04x", vendor first; empty = any
  bool auto_select = true;                     ///< select the first device when no other selector is set
  std::uint16_t vendor_id = 0;                 ///< narrows the enumeration; 0 = any
  std::uint16_t product_id = 0;                ///< narrows the enumeration; 0 = any
  bool aux_flag_a = false;                     ///< carried from DeviceInfo
  bool aux_flag_b = false;                     ///< carried from DeviceInfo
  std::string serial_number;                   ///< preferred serial number; empty = not set
  std::string device_path;                     ///< preferred device path; wins over serial_number
  std::uint32_t user_space_address = 0x51000;  ///< first byte of the user space and of the record
  std::uint32_t erase_sector_size = 4096;      ///< erase granularity; 0 reads as 4096
  std::uint32_t magic = 0x41564F54;            ///< "TOVA" read little-endian
  std::uint32_t user_space_size = 0x10000;     ///< user-space size, also the largest record
  std::uint16_t min_header_size = 16;          ///< header size written; smallest accepted (>= 16)
  std::uint16_t max_header_size = 256;         ///< largest accepted header size
  bool verify_crc = true;                      ///< check the payload CRC when parsing
  bool verify_after_write = true;              ///< read the record back after writing
  /// How long a flash access waits, in milliseconds, while another Device or program
  /// holds the camera (its IMU open, or its own flash access) before it fails with
  /// DeviceUnavailable "camera is busy: ..."; 0 tries once.
  std::uint32_t busy_wait_ms = 5000;

  FlashConfig();
  ~FlashConfig();
  /// Copies the configuration.
  FlashConfig(const FlashConfig& other);
  /// Copies the configuration.
  FlashConfig& operator=(const FlashConfig& other);
  /// Moves the configuration.
  FlashConfig(FlashConfig&& other) noexcept;
  /// Moves the configuration.
  FlashConfig& operator=(FlashConfig&& other) noexcept;
};

}  // namespace tovanel::uvc_stereo
