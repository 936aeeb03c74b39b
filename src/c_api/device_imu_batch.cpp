// Converting a whole batch of IMU samples in one call of the C interface, so that a
// language binding pays one foreign call per batch rather than one per sample.

#include <cstddef>

#include "c_api/boundary.h"
#include "c_api/handles.h"
#include "c_api/records.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/imu.h"
#include "uvc_stereo/uvc_stereo_c.h"

using namespace tovanel::uvc_stereo;

extern "C" {

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_convert_imu_samples(const uvc_stereo_device_t* device,
                                                                         const uvc_stereo_imu_sample_t* raw,
                                                                         std::size_t count,
                                                                         uvc_stereo_imu_converted_t* converted,
                                                                         std::size_t* samples_converted) {
  constexpr const char* kFunction = "uvc_stereo_device_convert_imu_samples";
  return c_api::guarded(kFunction, [&] {
    Status checked = c_api::first_failure(c_api::require(device, kFunction, "device"),
                                          c_api::require(samples_converted, kFunction, "samples_converted"));
    if (!checked.ok()) {
      return checked;
    }
    *samples_converted = 0;
    if (count != 0) {
      checked = c_api::first_failure(c_api::require(raw, kFunction, "raw"),
                                     c_api::require(converted, kFunction, "converted"));
    }
    if (!checked.ok()) {
      return checked;
    }
    // The factors are the device's for the whole batch: asked for once, not once a sample.
    const Result<ImuConversionOptions> options = device->device.imu_conversion_options();
    if (!options.ok()) {
      return options.status();
    }
    for (std::size_t i = 0; i < count; ++i) {
      checked = c_api::first_failure(
          c_api::require_struct(raw + i, kFunction, "raw[i]", "uvc_stereo_imu_sample_t"),
          c_api::require_struct(converted + i, kFunction, "converted[i]", "uvc_stereo_imu_converted_t"));
      if (!checked.ok()) {
        return checked;
      }
      const Result<ConvertedImuResult> result = convert_imu(c_api::from_c(raw[i]), options.value());
      if (!result.ok()) {
        return result.status();
      }
      c_api::to_c(result.value(), converted[i]);
      *samples_converted = i + 1;
    }
    return Status();
  });
}

}  // extern "C"
