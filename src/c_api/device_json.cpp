// The JSON configuration family of a device in the C interface.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "c_api/boundary.h"
#include "c_api/handles.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/uvc_stereo_c.h"

using namespace tovanel::uvc_stereo;

extern "C" {

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_read_json(uvc_stereo_device_t* device, char* buffer,
                                                               std::size_t buffer_size, std::size_t* required_size,
                                                               std::uint16_t* format_version) {
  constexpr const char* kFunction = "uvc_stereo_device_read_json";
  return c_api::on_device(
      kFunction, device, c_api::HandleUse::Kind::UsesCamera, [] { return c_api::no_other_arguments(); },
      [&] {
        const Result<ReadJsonResult> read = device->device.read_json();
        if (!read.ok()) {
          return read.status();
        }
        Status copied = c_api::copy_text(read.value().json, buffer, buffer_size, required_size, kFunction);
        if (copied.ok() && format_version != nullptr) {
          *format_version = read.value().format_version;
        }
        return copied;
      });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_write_json(uvc_stereo_device_t* device, const char* json,
                                                                std::size_t json_length) {
  constexpr const char* kFunction = "uvc_stereo_device_write_json";
  return c_api::on_device(
      kFunction, device, c_api::HandleUse::Kind::UsesCamera,
      [&] { return c_api::require_items(json, json_length, kFunction, "json"); },
      [&] { return device->device.write_json(std::string_view(json_length == 0 ? "" : json, json_length)); });
}

}  // extern "C"
