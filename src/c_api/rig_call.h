#pragma once

// The vendor call record of the C interface, as the call log and the call hooks hand it out.

#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/uvc_stereo_c.h"

namespace tovanel::uvc_stereo::c_api {

// Writes every field of the struct's first layout but struct_size; the name and arguments
// point into `call`, which must outlive their use.
void to_c(const sim::VendorCall& call, uvc_stereo_rig_call_t& out) noexcept;

}  // namespace tovanel::uvc_stereo::c_api
