#include "uvc-stereo/device_output.h"

#include <cstdio>

#include "uvc-stereo/camera_selection.h"

namespace tovanel::uvc_stereo::cli {

std::string or_dash(const std::string& text) { return text.empty() ? "-" : text; }

std::string capture_backends_text(const DeviceInfo& info) {
  std::string text;
  for (const auto& [backend, index] : info.backend_indices) {
    if (!text.empty()) {
      text += ' ';
    }
    text += std::string(opencv_backend_name(backend)) + "=" + std::to_string(index);
  }
  return or_dash(text);
}

void write_device_fields(JsonWriter& json, const DeviceInfo& info, std::size_t index) {
  json.key("index").number(static_cast<std::uint64_t>(index));
  json.key("vendor_id").number(static_cast<unsigned>(info.vendor_id));
  json.key("product_id").number(static_cast<unsigned>(info.product_id));
  // The SDK's own form, so that the value can be given as a FlashConfig selector as it is.
  json.key("vidpid").string(vidpid_key(info.vendor_id, info.product_id));
  json.key("serial_number").string(info.serial_number);
  json.key("friendly_name").string(info.friendly_name);
  json.key("descriptor_text").string(info.descriptor_text);
  json.key("extra_text").string(info.extra_text);
  json.key("device_path").string(info.device_path);
  json.key("capture_backends").begin_array();
  for (const auto& [backend, backend_index] : info.backend_indices) {
    json.begin_object();
    json.key("name").string(opencv_backend_name(backend));
    json.key("api").number(static_cast<int>(backend));
    json.key("index").number(backend_index);
    json.end_object();
  }
  json.end_array();
}

std::string hex_text(std::uint64_t value, int digits) {
  char text[32];
  std::snprintf(text, sizeof(text), "0x%0*llx", digits, static_cast<unsigned long long>(value));
  return text;
}

}  // namespace tovanel::uvc_stereo::cli
