// Simulated rigs kept in a directory, through the C interface.

#include "c_api/boundary.h"
#include "c_api/handles.h"
#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/uvc_stereo_c.h"

using namespace tovanel::uvc_stereo;

extern "C" {

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_create_in_directory(const char* directory, uvc_stereo_rig_t** rig) {
  constexpr const char* kFunction = "uvc_stereo_rig_create_in_directory";
  return c_api::checked_call(
      kFunction,
      [&] {
        return c_api::first_failure(c_api::require(directory, kFunction, "directory"),
                                    c_api::require(rig, kFunction, "rig"));
      },
      [&] { return c_api::hand_out(sim::SimulatedRig::keep_in_directory(directory), rig); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_directory(const uvc_stereo_rig_t* rig, char* buffer,
                                                            size_t buffer_size, size_t* required_size) {
  constexpr const char* kFunction = "uvc_stereo_rig_directory";
  return c_api::checked_call(
      kFunction, [&] { return c_api::require(rig, kFunction, "rig"); },
      [&] { return c_api::copy_text(rig->rig.directory(), buffer, buffer_size, required_size, kFunction); });
}

}  // extern "C"
