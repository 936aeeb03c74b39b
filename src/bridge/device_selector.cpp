#include "bridge/device_selector.h"

#include "win/device_path.h"

namespace tovanel::uvc_stereo::detail::bridge {

FlashConfig make_device_selector_config(const DeviceInfo& device) {
  FlashConfig config;
  // A scanned record must never fall back to "whichever camera comes first".
  config.auto_select = false;
  // The ids select through vidpid; as enumeration filters they would also hide a camera whose other id is
  // unknown in the record.
  config.vendor_id = 0;
  config.product_id = 0;
  if (device.vendor_id != 0 && device.product_id != 0) {
    config.vidpid = win_detail::make_vidpid_string(device.vendor_id, device.product_id);
  }
  config.aux_flag_a = device.aux_flag_a;
  config.aux_flag_b = device.aux_flag_b;
  config.serial_number = device.serial_number;
  config.device_path = device.device_path;
  return config;
}

}  // namespace tovanel::uvc_stereo::detail::bridge
