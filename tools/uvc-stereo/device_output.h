#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "uvc-stereo/json_writer.h"
#include "uvc_stereo/records.h"

namespace tovanel::uvc_stereo::cli {

// "CAP_DSHOW=2 CAP_MSMF=1", or "-" when no capture backend lists the camera.
[[nodiscard]] std::string capture_backends_text(const DeviceInfo& info);

// The scan record of one camera as the members of a JSON object (the caller opens and closes it).
void write_device_fields(JsonWriter& json, const DeviceInfo& info, std::size_t index);

// `value` as "0x" and at least `digits` lowercase hexadecimal digits ("0x00060000", "0x8000").
[[nodiscard]] std::string hex_text(std::uint64_t value, int digits);

// `text`, or "-" when it is empty, so that table cells and listings never look blank.
[[nodiscard]] std::string or_dash(const std::string& text);

}  // namespace tovanel::uvc_stereo::cli
