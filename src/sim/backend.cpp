#include "sim/backend.h"

#include "sim/backend_ops.h"

namespace tovanel::uvc_stereo::sim {
namespace {

constexpr vendor::VendorBackend kSimulated = {
    "simulated",
    sim_init,
    sim_uninit,
    sim_enum_cameras,
    sim_get_error_code,
    sim_get_dev_descriptor,
    sim_set_node_id,
    sim_xu_read,
    sim_get_version,
    sim_get_serial_flash_type,
    sim_read_flash,
    sim_write_flash,
    sim_sector_erase,
    sim_set_write_protected,
    sim_set_status_reg_bit_wp,
};

}  // namespace

const vendor::VendorBackend& simulated_vendor_backend() noexcept { return kSimulated; }

}  // namespace tovanel::uvc_stereo::sim
