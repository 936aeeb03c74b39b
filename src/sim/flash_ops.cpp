// The rig's serial-flash operations: a NOR chip behind write protection, with power
// cuts and the user-space rule checked on every erase and write.
#include <algorithm>
#include <cstdint>
#include <iterator>

#include "core/format.h"
#include "sim/backend_ops.h"
#include "sim/call_scope.h"

namespace tovanel::uvc_stereo::sim {
namespace {

constexpr std::uint8_t kSectorEraseCommand = 0x20;
// The two unlock steps the flash needs before it accepts erases and writes.
constexpr std::uint8_t kStatusRegisterUnlock[6] = {2, 5, 1, 6, 2, 3};
constexpr std::uint8_t kProtectionClear[2] = {1, 1};

// Erases and writes must stay inside the camera's user space: anything beyond it holds
// the firmware and calibration the SDK must never touch.
void check_user_space(VendorCallScope& call, const char* what, std::uint64_t start, std::uint64_t length) {
  const CameraState* camera = call.named_camera();
  if (camera == nullptr || length == 0) {
    return;
  }
  const std::uint64_t space_start = camera->config.user_space_address;
  const std::uint64_t space_end = space_start + camera->config.user_space_size;
  if (start >= space_start && start + length <= space_end) {
    return;
  }
  call.add_violation(detail::format_fixed<256>(
      "%s on camera %d touches [0x%08llX, 0x%08llX) outside its user space [0x%08llX, 0x%08llX)", what,
      static_cast<int>(camera - call.rig().cameras.data()), static_cast<unsigned long long>(start),
      static_cast<unsigned long long>(start + length), static_cast<unsigned long long>(space_start),
      static_cast<unsigned long long>(space_end)));
}

}  // namespace

bool sim_get_serial_flash_type(SonixLib::scDevice_t* device, SonixLib::SERIAL_FLASH_TYPE* type) {
  VendorCallScope call("SonixCam_GetSerialFlashType", device, {});
  const CameraState* camera = call.admit_node();
  if (camera == nullptr) {
    return false;
  }
  if (type == nullptr) {
    return call.fail(SonixLib::ecGetKsControlFail);
  }
  *type = camera->config.flash_type;
  return call.succeed();
}

bool sim_read_flash(SonixLib::scDevice_t* device, std::uint32_t address, std::uint8_t* buffer, std::uint32_t length) {
  VendorCallScope call("SonixCam_CstmReadFromSF", device, {address, length});
  const CameraState* camera = call.admit_node();
  if (camera == nullptr) {
    return false;
  }
  if ((buffer == nullptr && length > 0) || !camera->flash.contains(address, length)) {
    return call.fail(SonixLib::ecGetKsControlFail);
  }
  camera->flash.read(address, buffer, length);
  return call.succeed();
}

bool sim_write_flash(SonixLib::scDevice_t* device, std::uint32_t address, const std::uint8_t* buffer,
                     std::uint32_t length) {
  VendorCallScope call("SonixCam_WriteToSF", device, {address, length});
  if (!call.rig_active()) {
    return false;
  }
  check_user_space(call, "SonixCam_WriteToSF", address, length);
  CameraState* camera = call.admit_node();
  if (camera == nullptr) {
    return false;
  }
  if ((buffer == nullptr && length > 0) || !camera->flash.contains(address, length) || camera->write_protected()) {
    return call.fail(SonixLib::ecWriteFlashFail);
  }
  if (camera->write_power_cut) {
    camera->flash.program(address, buffer, std::min(*camera->write_power_cut, length));
    camera->write_power_cut.reset();
    camera->power_cycle();
    return call.fail(SonixLib::ecWriteFlashFail);
  }
  camera->flash.program(address, buffer, length);
  return call.succeed();
}

bool sim_sector_erase(SonixLib::scDevice_t* device, std::uint32_t address, std::uint8_t command) {
  VendorCallScope call("SonixCam_SectorEraseSF", device, {address, command});
  if (!call.rig_active()) {
    return false;
  }
  if (const CameraState* named = call.named_camera()) {
    check_user_space(call, "SonixCam_SectorEraseSF", named->flash.sector_start(address), named->flash.sector_size());
  }
  CameraState* camera = call.admit_node();
  if (camera == nullptr) {
    return false;
  }
  SimulatedFlash& flash = camera->flash;
  if (command != kSectorEraseCommand || address >= flash.size() || camera->write_protected()) {
    return call.fail(SonixLib::ecSectorEraseFail);
  }
  const std::uint32_t start = flash.sector_start(address);
  const std::uint32_t sector_length = std::min(flash.sector_size(), flash.size() - start);
  if (camera->erase_power_cut) {
    flash.erase(start, std::min(*camera->erase_power_cut, sector_length));
    camera->erase_power_cut.reset();
    camera->power_cycle();
    return call.fail(SonixLib::ecSectorEraseFail);
  }
  flash.erase(start, sector_length);
  return call.succeed();
}

bool sim_set_write_protected(SonixLib::scDevice_t* device, std::uint8_t a, std::uint8_t b) {
  VendorCallScope call("SonixCam_SetWriteProtectedSF", device, {a, b});
  CameraState* camera = call.admit_node();
  if (camera == nullptr) {
    return false;
  }
  if (a == kProtectionClear[0] && b == kProtectionClear[1]) {
    camera->protection_cleared = true;
  }
  return call.succeed();
}

bool sim_set_status_reg_bit_wp(SonixLib::scDevice_t* device, std::uint8_t a, std::uint8_t b, std::uint8_t c,
                               std::uint8_t d, std::uint8_t e, std::uint8_t f) {
  VendorCallScope call("SonixCam_SetStatusRegBitWP", device, {a, b, c, d, e, f});
  CameraState* camera = call.admit_node();
  if (camera == nullptr) {
    return false;
  }
  const std::uint8_t given[6] = {a, b, c, d, e, f};
  if (std::equal(std::begin(given), std::end(given), std::begin(kStatusRegisterUnlock))) {
    camera->status_register_unlocked = true;
  }
  return call.succeed();
}

}  // namespace tovanel::uvc_stereo::sim
