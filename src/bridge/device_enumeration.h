#pragma once

#include <vector>

#include "bridge/sonix_camera.h"
#include "uvc_stereo/records.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::win_detail {

// A camera as the vendor library lists it: the library's own record, kept for later
// calls on the same session, and its public description.
struct EnumeratedDevice {
  SonixLib::scDevice_t device{};
  DeviceInfo info;
};

// Lists the supported cameras the vendor library sees, filtered, in the library's
// order; with `with_backend_candidates` each also gets its capture-backend indices.
// The caller holds the vendor lock and has an open library session. Any exception becomes
// the scan's failure; only a thread's forced unwind passes through.
[[nodiscard]] Result<std::vector<EnumeratedDevice>> enumerate_devices_with_active_runtime(
    const DeviceScanFilter& filter, bool with_backend_candidates);

}  // namespace tovanel::uvc_stereo::win_detail
