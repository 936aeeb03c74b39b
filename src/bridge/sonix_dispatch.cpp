// The SonixCam_* operations, forwarded to the active backend.
#include "bridge/platform_table.h"
#include "bridge/sonix_camera.h"
#include "bridge/vendor_backend.h"

namespace tovanel::uvc_stereo::detail::bridge {

const VendorBackend& active_vendor_backend() noexcept {
  const VendorBackend* installed = installed_platform().vendor_backend;
  return installed != nullptr ? *installed : platform_vendor_backend();
}

}  // namespace tovanel::uvc_stereo::detail::bridge

using tovanel::uvc_stereo::detail::bridge::active_vendor_backend;

bool SonixCam_Init() { return active_vendor_backend().init(); }

bool SonixCam_UnInit() { return active_vendor_backend().uninit(); }

bool SonixCam_EnumCameras(std::int32_t* count, SonixLib::scDevice_t* devices, std::int32_t max_count) {
  return active_vendor_backend().enum_cameras(count, devices, max_count);
}

bool SonixCam_GetErrorCode(SonixLib::scDevice_t* device, SonixLib::scErrorCode_t* code) {
  return active_vendor_backend().get_error_code(device, code);
}

bool SonixCam_GetDevDescriptor(SonixLib::scDevice_t* device, std::uint8_t type, std::uint8_t* buffer,
                               std::uint32_t length, std::int32_t reserved_a, std::int32_t reserved_b) {
  return active_vendor_backend().get_dev_descriptor(device, type, buffer, length, reserved_a, reserved_b);
}

bool SonixCam_SetNodeID(SonixLib::scDevice_t* device, std::uint8_t node_id, const std::uint8_t guid[16]) {
  return active_vendor_backend().set_node_id(device, node_id, guid);
}

bool SonixCam_XuRead(SonixLib::scDevice_t* device, std::uint8_t* buffer, std::uint8_t length, std::uint8_t selector,
                     std::uint8_t unit_id) {
  return active_vendor_backend().xu_read(device, buffer, length, selector, unit_id);
}

bool SonixCam_GetVersion(SonixLib::scDevice_t* device, char* buffer, std::uint32_t length, std::int32_t flags) {
  return active_vendor_backend().get_version(device, buffer, length, flags);
}

bool SonixCam_GetSerialFlashType(SonixLib::scDevice_t* device, SonixLib::SERIAL_FLASH_TYPE* type) {
  return active_vendor_backend().get_serial_flash_type(device, type);
}

bool SonixCam_CstmReadFromSF(SonixLib::scDevice_t* device, std::uint32_t address, std::uint8_t* buffer,
                             std::uint32_t length) {
  return active_vendor_backend().read_flash(device, address, buffer, length);
}

bool SonixCam_WriteToSF(SonixLib::scDevice_t* device, std::uint32_t address, const std::uint8_t* buffer,
                        std::uint32_t length) {
  return active_vendor_backend().write_flash(device, address, buffer, length);
}

bool SonixCam_SectorEraseSF(SonixLib::scDevice_t* device, std::uint32_t address, std::uint8_t command) {
  return active_vendor_backend().sector_erase(device, address, command);
}

bool SonixCam_SetWriteProtectedSF(SonixLib::scDevice_t* device, std::uint8_t a, std::uint8_t b) {
  return active_vendor_backend().set_write_protected(device, a, b);
}

bool SonixCam_SetStatusRegBitWP(SonixLib::scDevice_t* device, std::uint8_t a, std::uint8_t b, std::uint8_t c,
                                std::uint8_t d, std::uint8_t e, std::uint8_t f) {
  return active_vendor_backend().set_status_reg_bit_wp(device, a, b, c, d, e, f);
}
