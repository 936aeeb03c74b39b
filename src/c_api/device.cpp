// The device family of the C interface: opening, closing and the accessors of an open camera.

#include "uvc_stereo/device.h"

#include <cstddef>
#include <cstdint>
#include <utility>

#include "c_api/boundary.h"
#include "c_api/handles.h"
#include "c_api/records.h"
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
  return c_api::hand_out(open_device(info, options == nullptr ? OpenDeviceOptions{} : c_api::from_c(*options)), device);
}

// An accessor that fills a caller's struct: a device and a large enough struct are required.
template <typename Struct, typename Fill>
uvc_stereo_error_t fill_struct(const uvc_stereo_device_t* device, Struct* out, const char* function, const char* name,
                               const char* type_name, Fill&& fill) {
  return c_api::on_device(
      function, device, c_api::HandleUse::Kind::Reading,
      [&] { return c_api::require_struct(out, function, name, type_name); }, [&] { fill(*device, *out); });
}

// An accessor that answers one plain value.
template <typename Value, typename Get>
uvc_stereo_error_t answer_value(const uvc_stereo_device_t* device, Value* out, const char* function, const char* name,
                                Get&& get) {
  return c_api::on_device(
      function, device, c_api::HandleUse::Kind::Reading, [&] { return c_api::require(out, function, name); },
      [&] { *out = get(device->device); });
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

void UVC_STEREO_CALL uvc_stereo_device_close(uvc_stereo_device_t* device) {
  if (device == nullptr) {
    return;
  }
  // Calls still inside the handle on other threads finish (or stop early) before it goes.
  if (!device->use.close()) {
    static_cast<void>(c_api::fail(Status(ErrorCode::InvalidArgument,
                                         "uvc_stereo_device_close: called from inside a call on this device (a rig "
                                         "hook); the device stays open")));
    return;
  }
  delete device;
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_info(const uvc_stereo_device_t* device,
                                                          uvc_stereo_device_info_t* info) {
  return fill_struct(
      device, info, "uvc_stereo_device_info", "info", "uvc_stereo_device_info_t",
      [](const uvc_stereo_device_t& held, uvc_stereo_device_info_t& out) { c_api::to_c(held.device.info(), out); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_capability_info(const uvc_stereo_device_t* device,
                                                                     uvc_stereo_capability_info_t* info) {
  return fill_struct(device, info, "uvc_stereo_device_capability_info", "info", "uvc_stereo_capability_info_t",
                     [](const uvc_stereo_device_t& held, uvc_stereo_capability_info_t& out) {
                       const DeviceCapabilityInfo& capability = held.device.capability_info();
                       out.source = static_cast<std::int32_t>(capability.source);
                       out.report = held.has_report ? &held.report : nullptr;
                       out.message = capability.message.c_str();
                     });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_flash_config(const uvc_stereo_device_t* device,
                                                                  uvc_stereo_flash_config_t* config) {
  return fill_struct(device, config, "uvc_stereo_device_flash_config", "config", "uvc_stereo_flash_config_t",
                     [](const uvc_stereo_device_t& held, uvc_stereo_flash_config_t& out) {
                       c_api::to_c(held.device.flash_config(), out);
                     });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_imu_transport(const uvc_stereo_device_t* device,
                                                                   uvc_stereo_imu_transport_t* transport) {
  return fill_struct(device, transport, "uvc_stereo_device_imu_transport", "transport", "uvc_stereo_imu_transport_t",
                     [](const uvc_stereo_device_t& held, uvc_stereo_imu_transport_t& out) {
                       const detail::ImuTransportConfig config = held.device.imu_transport();
                       out.xu_unit = config.xu_unit;
                       out.xu_selector = config.xu_selector;
                       out.xu_length = config.xu_length;
                     });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_transport_flags(const uvc_stereo_device_t* device,
                                                                     std::uint32_t* flags) {
  return answer_value(device, flags, "uvc_stereo_device_transport_flags", "flags",
                      [](const Device& held) { return held.transport_flags(); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_has_flash_transport(const uvc_stereo_device_t* device, bool* has) {
  return answer_value(device, has, "uvc_stereo_device_has_flash_transport", "has",
                      [](const Device& held) { return held.has_flash_transport(); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_has_imu_transport(const uvc_stereo_device_t* device, bool* has) {
  return answer_value(device, has, "uvc_stereo_device_has_imu_transport", "has",
                      [](const Device& held) { return held.has_imu_transport(); });
}

}  // extern "C"
