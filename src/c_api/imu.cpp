// The IMU record family of the C interface: conversion options and the conversion itself.

#include "uvc_stereo/imu.h"

#include "c_api/boundary.h"
#include "c_api/records.h"
#include "uvc_stereo/uvc_stereo_c.h"

using namespace tovanel::uvc_stereo;

extern "C" {

uvc_stereo_error_t UVC_STEREO_CALL
uvc_stereo_imu_conversion_options_defaults(uvc_stereo_imu_conversion_options_t* options) {
  return c_api::write_struct("uvc_stereo_imu_conversion_options_defaults", options, "options",
                             "uvc_stereo_imu_conversion_options_t",
                             [](auto& out) { c_api::to_c(ImuConversionOptions{}, out); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_convert_imu(const uvc_stereo_imu_sample_t* raw,
                                                          const uvc_stereo_imu_conversion_options_t* options,
                                                          uvc_stereo_imu_converted_t* converted) {
  constexpr const char* kFunction = "uvc_stereo_convert_imu";
  return c_api::checked_call(
      kFunction,
      [&] {
        return c_api::first_failure(
            c_api::require_struct(raw, kFunction, "raw", "uvc_stereo_imu_sample_t"),
            c_api::require_struct(options, kFunction, "options", "uvc_stereo_imu_conversion_options_t"),
            c_api::require_struct(converted, kFunction, "converted", "uvc_stereo_imu_converted_t"));
      },
      [&] { return c_api::deliver(convert_imu(c_api::from_c(*raw), c_api::from_c(*options)), *converted); });
}

}  // extern "C"
