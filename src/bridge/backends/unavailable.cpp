// The backend of a platform without the vendor library: nothing opens, and the
// library's own word for it is "ecLibInitFail".
#include "bridge/vendor_backend.h"

namespace tovanel::uvc_stereo::vendor {
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

constexpr VendorBackend kUnavailable = {
    "unavailable",   fail_init,  fail_uninit, fail_enum,    report_lib_init_fail,
    fail_descriptor, fail_node,  fail_xu,     fail_version, fail_flash_type,
    fail_read,       fail_write, fail_erase,  fail_protect, fail_status_reg,
};

}  // namespace

const VendorBackend& unavailable_vendor_backend() noexcept { return kUnavailable; }

}  // namespace tovanel::uvc_stereo::vendor
