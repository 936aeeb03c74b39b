// The scanning family of the C interface: a scan and the list of cameras it found.

#include <cstddef>
#include <memory>
#include <vector>

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
  return c_api::guarded(kFunction, [&] {
    Status checked = c_api::first_failure(c_api::allow_struct(filter, kFunction, "filter", "uvc_stereo_scan_filter_t"),
                                          c_api::require(list, kFunction, "list"));
    if (!checked.ok()) {
      return checked;
    }
    Result<std::vector<DeviceInfo>> scanned =
        scan_devices(filter == nullptr ? DeviceScanFilter{} : c_api::from_c(*filter));
    if (!scanned.ok()) {
      return scanned.status();
    }
    auto made = std::make_unique<uvc_stereo_device_list_t>();
    made->devices = std::move(scanned).value();
    *list = made.release();
    return Status();
  });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_list_count(const uvc_stereo_device_list_t* list,
                                                                std::size_t* count) {
  constexpr const char* kFunction = "uvc_stereo_device_list_count";
  return c_api::guarded(kFunction, [&] {
    Status checked =
        c_api::first_failure(c_api::require(list, kFunction, "list"), c_api::require(count, kFunction, "count"));
    if (checked.ok()) {
      *count = list->devices.size();
    }
    return checked;
  });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_list_get(const uvc_stereo_device_list_t* list, std::size_t index,
                                                              uvc_stereo_device_info_t* info) {
  constexpr const char* kFunction = "uvc_stereo_device_list_get";
  return c_api::guarded(kFunction, [&] {
    Status checked = c_api::first_failure(c_api::require(list, kFunction, "list"),
                                          c_api::require_struct(info, kFunction, "info", "uvc_stereo_device_info_t"));
    if (checked.ok()) {
      checked = c_api::require_index(index, list->devices.size(), kFunction, "devices");
    }
    if (checked.ok()) {
      c_api::to_c(list->devices[index], *info);
    }
    return checked;
  });
}

void UVC_STEREO_CALL uvc_stereo_device_list_free(uvc_stereo_device_list_t* list) { delete list; }

}  // extern "C"
