// The scanning family of the C interface: a scan and the list of cameras it found.

#include <cstddef>

#include "c_api/boundary.h"
#include "c_api/handles.h"
#include "c_api/records.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/uvc_stereo_c.h"

using namespace tovanel::uvc_stereo;

extern "C" {

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_scan_devices(const uvc_stereo_scan_filter_t* filter,
                                                           uvc_stereo_device_list_t** list) {
  constexpr const char* kFunction = "uvc_stereo_scan_devices";
  return c_api::checked_call(
      kFunction,
      [&] {
        return c_api::first_failure(c_api::allow_struct(filter, kFunction, "filter", "uvc_stereo_scan_filter_t"),
                                    c_api::require(list, kFunction, "list"));
      },
      [&] {
        return c_api::hand_out(scan_devices(filter == nullptr ? DeviceScanFilter{} : c_api::from_c(*filter)), list);
      });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_list_count(const uvc_stereo_device_list_t* list,
                                                                std::size_t* count) {
  return c_api::count_into("uvc_stereo_device_list_count", list, "list", count,
                           [](const uvc_stereo_device_list_t& held) { return held.devices.size(); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_list_get(const uvc_stereo_device_list_t* list, std::size_t index,
                                                              uvc_stereo_device_info_t* info) {
  constexpr const char* kFunction = "uvc_stereo_device_list_get";
  return c_api::item_into(
      kFunction, list, "list",
      [&] { return c_api::require_struct(info, kFunction, "info", "uvc_stereo_device_info_t"); }, index, "devices",
      [](const uvc_stereo_device_list_t& held) -> const auto& { return held.devices; },
      [&](const DeviceInfo& item) { c_api::to_c(item, *info); });
}

void UVC_STEREO_CALL uvc_stereo_device_list_free(uvc_stereo_device_list_t* list) { delete list; }

}  // extern "C"
