#pragma once

#include <cstdint>

#include "uvc_stereo/result.h"
#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/uvc_stereo_c.h"

namespace tovanel::uvc_stereo::c_api {

// The C++ camera a C description stands for: the optional descriptors are absent where
// their pointers are null, the other strings empty.
[[nodiscard]] sim::SimulatedCamera from_c(const uvc_stereo_rig_camera_t& camera);

// InvalidArgument "<function>: <name> is not a UVC_STEREO_NODE_ACCESS_* value" when none of
// the constants names `access`.
[[nodiscard]] Status check_node_access(std::int32_t access, const char* function, const char* name);
// The same for the node access of a camera whose struct_size reaches it ("camera.node_access").
[[nodiscard]] Status check_node_access(const uvc_stereo_rig_camera_t& camera, const char* function);

// Writes the defaults of a rig camera; the strings point into a default camera that
// lives as long as the library.
void write_defaults(uvc_stereo_rig_camera_t& camera);

}  // namespace tovanel::uvc_stereo::c_api
