#include "sim/backend.h"

#include "sim/backend_ops.h"

namespace tovanel::uvc_stereo::sim {
namespace {

constexpr detail::bridge::VendorBackend simulated_backend() {
  detail::bridge::VendorBackend table;
  table.name = "simulated";
  table.init = sim_init;
  table.uninit = sim_uninit;
  table.enum_cameras = sim_enum_cameras;
  table.get_error_code = sim_get_error_code;
  table.get_dev_descriptor = sim_get_dev_descriptor;
  table.set_node_id = sim_set_node_id;
  table.xu_read = sim_xu_read;
  table.get_version = sim_get_version;
  table.get_serial_flash_type = sim_get_serial_flash_type;
  table.read_flash = sim_read_flash;
  table.write_flash = sim_write_flash;
  table.sector_erase = sim_sector_erase;
  table.set_write_protected = sim_set_write_protected;
  table.set_status_reg_bit_wp = sim_set_status_reg_bit_wp;
  table.simulated_node_listing = sim_node_listing;
  return table;
}

constexpr detail::bridge::VendorBackend kSimulated = simulated_backend();

}  // namespace

const detail::bridge::VendorBackend& simulated_vendor_backend() noexcept { return kSimulated; }

}  // namespace tovanel::uvc_stereo::sim
