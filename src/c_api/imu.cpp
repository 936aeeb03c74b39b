// The IMU record family of the C interface: conversion options and the conversion itself.

#include "uvc_stereo/imu.h"

#include "c_api/boundary.h"
#include "c_api/records.h"
#include "uvc_stereo/uvc_stereo_c.h"

using namespace tovanel::uvc_stereo;

extern "C" {

uvc_stereo_error_t UVC_STEREO_CALL
uvc_stereo_imu_conversion_options_defaults(uvc_stereo_imu_conversion_options_t* options) {
  constexpr const char* kFunction = "uvc_stereo_imu_conversion_options_defaults";
  return c_api::guarded(kFunction, [&] {
    Status checked = c_api::require_struct(options, kFunction, "options", "uvc_stereo_imu_conversion_options_t");
    if (checked.ok()) {
      c_api::to_c(ImuConversionOptions{}, *options);
    }
    return checked;
  });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_convert_imu(const uvc_stereo_imu_sample_t* raw,
                                                          const uvc_stereo_imu_conversion_options_t* options,
                                                          uvc_stereo_imu_converted_t* converted) {
  constexpr const char* kFunction = "uvc_stereo_convert_imu";
  return c_api::guarded(kFunction, [&] {
    Status checked = c_api::first_failure(
        c_api::require_struct(raw, kFunction, "raw", "uvc_stereo_imu_sample_t"),
        c_api::require_struct(options, kFunction, "options", "uvc_stereo_imu_conversion_options_t"),
        c_api::require_struct(converted, kFunction, "converted", "uvc_stereo_imu_converted_t"));
    if (!checked.ok()) {
      return checked;
    }
    const Result<ConvertedImuResult> result = convert_imu(c_api::from_c(*raw), c_api::from_c(*options));
    if (!result.ok()) {
      return result.status();
    }
    c_api::to_c(result.value(), *converted);
    return Status();
  });
}

}  // extern "C"
