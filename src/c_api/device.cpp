// The device family of the C interface: opening, closing and the accessors of an open camera.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "c_api/boundary.h"
#include "c_api/handles.h"
#include "c_api/records.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/uvc_stereo_c.h"

using namespace tovanel::uvc_stereo;

uvc_stereo_device_t::uvc_stereo_device_t(Device&& opened) : device(std::move(opened)) {
  report.struct_size = sizeof(report);
  const DeviceCapabilityInfo& capability = device.capability_info();
  if (capability.report) {
    c_api::to_c(*capability.report, report);
    has_report = true;
  }
}

namespace {

// Opens `info` and hands the new device to the caller.
Status open_into(const DeviceInfo& info, const uvc_stereo_open_options_t* options, uvc_stereo_device_t** device) {
  Result<Device> opened = open_device(info, options == nullptr ? OpenDeviceOptions{} : c_api::from_c(*options));
  if (!opened.ok()) {
    return opened.status();
  }
  *device = std::make_unique<uvc_stereo_device_t>(std::move(opened).value()).release();
  return Status();
}

// The checks every accessor makes: a device and a large enough struct to fill.
template <typename Struct>
Status accessor_arguments(const uvc_stereo_device_t* device, const Struct* out, const char* function,
                          const char* name, const char* type_name) {
  return c_api::first_failure(c_api::require(device, function, "device"),
                              c_api::require_struct(out, function, name, type_name));
}

// The checks of an accessor that answers one plain value.
Status value_arguments(const uvc_stereo_device_t* device, const void* out, const char* function, const char* name) {
  return c_api::first_failure(c_api::require(device, function, "device"), c_api::require(out, function, name));
}

}  // namespace

extern "C" {

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_open_device(const uvc_stereo_device_list_t* list, std::size_t index,
                                                        const uvc_stereo_open_options_t* options,
                                                        uvc_stereo_device_t** device) {
  constexpr const char* kFunction = "uvc_stereo_open_device";
  return c_api::guarded(kFunction, [&] {
    Status checked =
        c_api::first_failure(c_api::require(list, kFunction, "list"),
                             c_api::allow_struct(options, kFunction, "options", "uvc_stereo_open_options_t"),
                             c_api::require(device, kFunction, "device"));
    if (checked.ok()) {
      checked = c_api::require_index(index, list->devices.size(), kFunction, "devices");
    }
    return checked.ok() ? open_into(list->devices[index], options, device) : checked;
  });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_open_device_info(const uvc_stereo_device_info_t* info,
                                                             const uvc_stereo_open_options_t* options,
                                                             uvc_stereo_device_t** device) {
  constexpr const char* kFunction = "uvc_stereo_open_device_info";
  return c_api::guarded(kFunction, [&] {
    Status checked =
        c_api::first_failure(c_api::require_struct(info, kFunction, "info", "uvc_stereo_device_info_t"),
                             c_api::allow_struct(options, kFunction, "options", "uvc_stereo_open_options_t"),
                             c_api::require(device, kFunction, "device"));
    return checked.ok() ? open_into(c_api::from_c(*info), options, device) : checked;
  });
}

void UVC_STEREO_CALL uvc_stereo_device_close(uvc_stereo_device_t* device) { delete device; }

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_info(const uvc_stereo_device_t* device,
                                                        uvc_stereo_device_info_t* info) {
  constexpr const char* kFunction = "uvc_stereo_device_info";
  return c_api::guarded(kFunction, [&] {
    Status checked = accessor_arguments(device, info, kFunction, "info", "uvc_stereo_device_info_t");
    if (checked.ok()) {
      c_api::to_c(device->device.info(), *info);
    }
    return checked;
  });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_capability_info(const uvc_stereo_device_t* device,
                                                                   uvc_stereo_capability_info_t* info) {
  constexpr const char* kFunction = "uvc_stereo_device_capability_info";
  return c_api::guarded(kFunction, [&] {
    Status checked = accessor_arguments(device, info, kFunction, "info", "uvc_stereo_capability_info_t");
    if (checked.ok()) {
      const DeviceCapabilityInfo& capability = device->device.capability_info();
      info->source = static_cast<std::int32_t>(capability.source);
      info->report = device->has_report ? &device->report : nullptr;
      info->message = capability.message.c_str();
    }
    return checked;
  });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_flash_config(const uvc_stereo_device_t* device,
                                                                uvc_stereo_flash_config_t* config) {
  constexpr const char* kFunction = "uvc_stereo_device_flash_config";
  return c_api::guarded(kFunction, [&] {
    Status checked = accessor_arguments(device, config, kFunction, "config", "uvc_stereo_flash_config_t");
    if (checked.ok()) {
      c_api::to_c(device->device.flash_config(), *config);
    }
    return checked;
  });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_imu_transport(const uvc_stereo_device_t* device,
                                                                 uvc_stereo_imu_transport_t* transport) {
  constexpr const char* kFunction = "uvc_stereo_device_imu_transport";
  return c_api::guarded(kFunction, [&] {
    Status checked =
        accessor_arguments(device, transport, kFunction, "transport", "uvc_stereo_imu_transport_t");
    if (checked.ok()) {
      const detail::ImuTransportConfig config = device->device.imu_transport();
      transport->xu_unit = config.xu_unit;
      transport->xu_selector = config.xu_selector;
      transport->xu_length = config.xu_length;
    }
    return checked;
  });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_transport_flags(const uvc_stereo_device_t* device,
                                                                   std::uint32_t* flags) {
  constexpr const char* kFunction = "uvc_stereo_device_transport_flags";
  return c_api::guarded(kFunction, [&] {
    Status checked = value_arguments(device, flags, kFunction, "flags");
    if (checked.ok()) {
      *flags = device->device.transport_flags();
    }
    return checked;
  });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_has_flash_transport(const uvc_stereo_device_t* device,
                                                                       bool* has) {
  constexpr const char* kFunction = "uvc_stereo_device_has_flash_transport";
  return c_api::guarded(kFunction, [&] {
    Status checked = value_arguments(device, has, kFunction, "has");
    if (checked.ok()) {
      *has = device->device.has_flash_transport();
    }
    return checked;
  });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_has_imu_transport(const uvc_stereo_device_t* device, bool* has) {
  constexpr const char* kFunction = "uvc_stereo_device_has_imu_transport";
  return c_api::guarded(kFunction, [&] {
    Status checked = value_arguments(device, has, kFunction, "has");
    if (checked.ok()) {
      *has = device->device.has_imu_transport();
    }
    return checked;
  });
}

}  // extern "C"
