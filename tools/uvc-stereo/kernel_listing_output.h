#pragma once

#include <ostream>
#include <vector>

#include "uvc-stereo/json_writer.h"
#include "uvc_stereo/camera_access.h"

namespace tovanel::uvc_stereo::cli {

// The field report's "kernel" section as text: whether the SDK's udev rule is installed and
// where, then every USB video device (vid:pid, bus name, supported or not, device path) and
// its nodes with owner, group and mode and whether this account may open each; or why
// there is no listing. Device text is escaped for the terminal.
void write_kernel_listing_text(const KernelVideoListing& listing, std::ostream& out);

// The same as the members of a JSON object (the caller opens and closes it): "available",
// "note", "udev_rules" and "devices".
void write_kernel_listing_json(JsonWriter& json, const KernelVideoListing& listing);

// The cameras this account cannot open as a JSON array of objects with "device_path",
// "node", "system_error", "reason" and "fix".
void write_access_problems_json(JsonWriter& json, const std::vector<CameraAccessProblem>& problems);

}  // namespace tovanel::uvc_stereo::cli
