// The backend of a platform without the vendor library: nothing opens, and the
// library's own word for it is "ecLibInitFail".
#include "bridge/vendor_backend.h"

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

bool fail_init() { return false; }
bool fail_uninit() { return false; }
bool fail_enum(std::int32_t* count, SonixLib::scDevice_t*, std::int32_t) {
  if (count != nullptr) {
    *count = 0;
  }
  return false;
}
bool report_lib_init_fail(SonixLib::scDevice_t*, SonixLib::scErrorCode_t* code) {
  if (code == nullptr) {
    return false;
  }
  *code = SonixLib::ecLibInitFail;
  return true;
}
bool fail_descriptor(SonixLib::scDevice_t*, std::uint8_t, std::uint8_t*, std::uint32_t, std::int32_t, std::int32_t) {
  return false;
}
bool fail_node(SonixLib::scDevice_t*, std::uint8_t, const std::uint8_t*) { return false; }
bool fail_xu(SonixLib::scDevice_t*, std::uint8_t*, std::uint8_t, std::uint8_t, std::uint8_t) { return false; }
bool fail_version(SonixLib::scDevice_t*, char*, std::uint32_t, std::int32_t) { return false; }
bool fail_flash_type(SonixLib::scDevice_t*, SonixLib::SERIAL_FLASH_TYPE*) { return false; }
bool fail_read(SonixLib::scDevice_t*, std::uint32_t, std::uint8_t*, std::uint32_t) { return false; }
bool fail_write(SonixLib::scDevice_t*, std::uint32_t, const std::uint8_t*, std::uint32_t) { return false; }
bool fail_erase(SonixLib::scDevice_t*, std::uint32_t, std::uint8_t) { return false; }
bool fail_protect(SonixLib::scDevice_t*, std::uint8_t, std::uint8_t) { return false; }
bool fail_status_reg(SonixLib::scDevice_t*, std::uint8_t, std::uint8_t, std::uint8_t, std::uint8_t, std::uint8_t,
                     std::uint8_t) {
  return false;
}

constexpr VendorBackend unavailable_backend() {
  VendorBackend table;
  table.name = "unavailable";
  table.init = fail_init;
  table.uninit = fail_uninit;
  table.enum_cameras = fail_enum;
  table.get_error_code = report_lib_init_fail;
  table.get_dev_descriptor = fail_descriptor;
  table.set_node_id = fail_node;
  table.xu_read = fail_xu;
  table.get_version = fail_version;
  table.get_serial_flash_type = fail_flash_type;
  table.read_flash = fail_read;
  table.write_flash = fail_write;
  table.sector_erase = fail_erase;
  table.set_write_protected = fail_protect;
  table.set_status_reg_bit_wp = fail_status_reg;
  return table;
}

constexpr VendorBackend kUnavailable = unavailable_backend();

}  // namespace

const VendorBackend& unavailable_vendor_backend() noexcept { return kUnavailable; }

}  // namespace tovanel::uvc_stereo::detail::bridge
