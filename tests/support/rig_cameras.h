#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "uvc_stereo/records.h"
#include "uvc_stereo/simulated_rig.h"

// Cameras of the supported models for the simulated rig, and the record a scan gives for one.
namespace tovanel::uvc_stereo::test_support {

// The path a camera of `vid`/`pid` reports, in the library's own spelling, with `instance` as its USB instance.
[[nodiscard]] std::string usb_path(std::uint16_t vid, std::uint16_t pid, const std::string& instance);

// A camera of row `model_index` of the model table, told apart by its serial number. Every text differs from its
// fallback (the library's device name, the product string and the manufacturer), so that a descriptor that cannot
// be read shows in a scan.
[[nodiscard]] sim::SimulatedCamera supported_camera(std::size_t model_index, const std::string& serial);

// The record a scan gives for `camera`.
[[nodiscard]] DeviceInfo info_of(const sim::SimulatedCamera& camera);

// `text` in ASCII capitals turned to small letters, as another capture backend may spell a path.
[[nodiscard]] std::string lower(std::string text);

}  // namespace tovanel::uvc_stereo::test_support
