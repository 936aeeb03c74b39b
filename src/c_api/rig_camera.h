#pragma once

#include "uvc_stereo/result.h"
#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/uvc_stereo_c.h"

namespace tovanel::uvc_stereo::c_api {

// The C++ camera a C description stands for: the optional descriptors are absent where
// their pointers are null, the other strings empty.
[[nodiscard]] sim::SimulatedCamera from_c(const uvc_stereo_rig_camera_t& camera);

// InvalidArgument "<function>: camera.node_access is not a UVC_STEREO_NODE_ACCESS_* value"
// when the camera holds a node access that none of the constants names.
[[nodiscard]] Status check_node_access(const uvc_stereo_rig_camera_t& camera, const char* function);

// Writes the defaults of a rig camera; the strings point into a default camera that
// lives as long as the library.
void write_defaults(uvc_stereo_rig_camera_t& camera);

}  // namespace tovanel::uvc_stereo::c_api
