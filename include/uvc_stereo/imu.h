#pragma once

#include "uvc_stereo/export.h"
#include "uvc_stereo/records.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo {

/// Converts a raw sample to degrees Celsius, g and degrees per second.
/// A zero accelerometer or gyroscope scale yields zeros; a zero temperature scale fails.
[[nodiscard]] UVC_STEREO_API Result<ConvertedImuResult> convert_imu(const ReadImuResult& raw,
                                                                    const ImuConversionOptions& options);

}  // namespace tovanel::uvc_stereo
