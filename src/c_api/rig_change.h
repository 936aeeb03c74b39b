#pragma once

// A change to the simulated rig through the C interface, once the rig is known not to be null.

#include "c_api/boundary.h"
#include "c_api/handles.h"
#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/uvc_stereo_c.h"

namespace tovanel::uvc_stereo::c_api {

// Runs `change` on the rig once it is known not to be null.
template <typename Change>
uvc_stereo_error_t on_rig(uvc_stereo_rig_t* rig, const char* function, Change&& change) {
  return checked_call(
      function, [&] { return require(rig, function, "rig"); }, [&] { change(rig->rig); });
}

}  // namespace tovanel::uvc_stereo::c_api
