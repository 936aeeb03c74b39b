#pragma once

#include <string_view>

#include "bridge/sonix_camera.h"

namespace tovanel::uvc_stereo::sim {

// Fills the vendor library's record for rig camera `camera`: path and name as UTF-16,
// cut to fit with their terminating NUL, and a rig mark in the reserved bytes so later
// calls know which camera the record names.
void fill_simulated_device_record(int camera, std::string_view device_path, std::string_view device_name,
                                  SonixLib::scDevice_t& record);

// The rig camera a record names; -1 for a null record or one the rig did not write.
[[nodiscard]] int simulated_camera_of(const SonixLib::scDevice_t* record) noexcept;

}  // namespace tovanel::uvc_stereo::sim
