#pragma once

#include <cstdint>

#include "bridge/sonix_camera.h"

// The simulated rig's answer to each vendor operation; simulated_backend.cpp puts them
// in the backend table.
namespace tovanel::uvc_stereo::sim {

// Session and enumeration.
bool sim_init();
bool sim_uninit();
bool sim_enum_cameras(std::int32_t* count, SonixLib::scDevice_t* devices, std::int32_t max_count);
bool sim_get_error_code(SonixLib::scDevice_t* device, SonixLib::scErrorCode_t* code);

// Descriptors, the extension unit and the firmware text.
bool sim_get_dev_descriptor(SonixLib::scDevice_t* device, std::uint8_t type, std::uint8_t* buffer, std::uint32_t length,
                            std::int32_t reserved_a, std::int32_t reserved_b);
bool sim_set_node_id(SonixLib::scDevice_t* device, std::uint8_t node_id, const std::uint8_t guid[16]);
bool sim_xu_read(SonixLib::scDevice_t* device, std::uint8_t* buffer, std::uint8_t length, std::uint8_t selector,
                 std::uint8_t unit_id);
bool sim_get_version(SonixLib::scDevice_t* device, char* buffer, std::uint32_t length, std::int32_t flags);

// The serial flash.
bool sim_get_serial_flash_type(SonixLib::scDevice_t* device, SonixLib::SERIAL_FLASH_TYPE* type);
bool sim_read_flash(SonixLib::scDevice_t* device, std::uint32_t address, std::uint8_t* buffer, std::uint32_t length);
bool sim_write_flash(SonixLib::scDevice_t* device, std::uint32_t address, const std::uint8_t* buffer,
                     std::uint32_t length);
bool sim_sector_erase(SonixLib::scDevice_t* device, std::uint32_t address, std::uint8_t command);
bool sim_set_write_protected(SonixLib::scDevice_t* device, std::uint8_t a, std::uint8_t b);
bool sim_set_status_reg_bit_wp(SonixLib::scDevice_t* device, std::uint8_t a, std::uint8_t b, std::uint8_t c,
                               std::uint8_t d, std::uint8_t e, std::uint8_t f);

}  // namespace tovanel::uvc_stereo::sim
