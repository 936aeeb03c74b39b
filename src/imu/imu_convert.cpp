#include <cstddef>
#include <utility>

#include "uvc_stereo/imu.h"

namespace tovanel::uvc_stereo {

Result<ConvertedImuResult> convert_imu(const ReadImuResult& raw, const ImuConversionOptions& options) {
  if (options.temperature_lsb_per_c == 0.0) {
    return Status(ErrorCode::InvalidArgument, "temperature_lsb_per_c must not be zero");
  }
  ConvertedImuResult converted;
  converted.host_timestamp_ns = raw.host_timestamp_ns;
  converted.temperature_c =
      static_cast<double>(raw.temperature_raw) / options.temperature_lsb_per_c + options.temperature_offset_c;
  // A zero scale means the sensor's output is not wanted, not that the options are broken.
  for (std::size_t axis = 0; axis < 3; ++axis) {
    converted.accel_g[axis] =
        options.accel_lsb_per_g != 0.0 ? static_cast<double>(raw.accel_raw[axis]) / options.accel_lsb_per_g : 0.0;
    converted.gyro_dps[axis] =
        options.gyro_lsb_per_dps != 0.0 ? static_cast<double>(raw.gyro_raw[axis]) / options.gyro_lsb_per_dps : 0.0;
  }
  return Result<ConvertedImuResult>(std::move(converted));
}

}  // namespace tovanel::uvc_stereo
