#pragma once

#include <string>

#include "uvc_stereo/result.h"
#include "uvc_stereo/simulated_rig.h"

namespace tovanel::uvc_stereo::sim {

// A camera as a rig directory keeps it: its identity, and whether it is plugged in.
struct StoredCamera {
  SimulatedCamera camera;
  bool plugged = true;
};

// The camera as text, one "name=value" line per field under a first line naming the
// format. The capability answer is kept as its 64 bytes.
[[nodiscard]] std::string camera_file_text(const StoredCamera& stored);

// Reads what camera_file_text wrote; `path` only names the file in messages. A missing
// optional string stays absent; a field missing, malformed or out of range is
// InvalidArgument "<path>: ...".
[[nodiscard]] Result<StoredCamera> parse_camera_file(const std::string& text, const std::string& path);

}  // namespace tovanel::uvc_stereo::sim
