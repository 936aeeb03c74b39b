// The IMU family of a device in the C interface: open, read, close and convert.

#include <cstddef>
#include <string>

#include "c_api/boundary.h"
#include "c_api/handles.h"
#include "c_api/records.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/uvc_stereo_c.h"

using namespace tovanel::uvc_stereo;

namespace {

// One sample into a caller's struct; nothing on this path allocates unless the read fails.
Status read_one(Device& device, uvc_stereo_imu_sample_t& sample) { return c_api::deliver(device.read_imu(), sample); }

}  // namespace

extern "C" {

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_open_imu(uvc_stereo_device_t* device) {
  constexpr const char* kFunction = "uvc_stereo_device_open_imu";
  return c_api::on_device(
      kFunction, device, c_api::HandleUse::Kind::UsesCamera, [] { return c_api::no_other_arguments(); },
      [&] { return device->device.open_imu(); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_read_imu(uvc_stereo_device_t* device,
                                                              uvc_stereo_imu_sample_t* sample) {
  constexpr const char* kFunction = "uvc_stereo_device_read_imu";
  return c_api::on_device(
      kFunction, device, c_api::HandleUse::Kind::UsesCamera,
      [&] { return c_api::require_struct(sample, kFunction, "sample", "uvc_stereo_imu_sample_t"); },
      [&] { return read_one(device->device, *sample); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_read_imu_samples(uvc_stereo_device_t* device,
                                                                      uvc_stereo_imu_sample_t* samples,
                                                                      std::size_t count, std::size_t* samples_read) {
  constexpr const char* kFunction = "uvc_stereo_device_read_imu_samples";
  return c_api::on_device(
      kFunction, device, c_api::HandleUse::Kind::UsesCamera,
      [&] {
        Status checked = c_api::require(samples_read, kFunction, "samples_read");
        if (checked.ok()) {
          *samples_read = 0;
          checked = c_api::require_items(samples, count, kFunction, "samples");
        }
        return checked;
      },
      [&] {
        Status read;
        for (std::size_t i = 0; read.ok() && i < count; ++i) {
          // A close begun on another thread ends the run between two samples.
          if (device->use.closing()) {
            return Status(ErrorCode::InvalidArgument, std::string(kFunction) + ": device is closed");
          }
          read = c_api::require_struct(samples + i, kFunction, "samples[i]", "uvc_stereo_imu_sample_t");
          if (read.ok()) {
            read = read_one(device->device, samples[i]);
          }
          if (read.ok()) {
            *samples_read = i + 1;
          }
        }
        return read;
      });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_close_imu(uvc_stereo_device_t* device) {
  constexpr const char* kFunction = "uvc_stereo_device_close_imu";
  return c_api::on_device(
      kFunction, device, c_api::HandleUse::Kind::UsesCamera, [] { return c_api::no_other_arguments(); },
      [&] { return device->device.close_imu(); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_imu_conversion_options(
    const uvc_stereo_device_t* device, uvc_stereo_imu_conversion_options_t* options) {
  constexpr const char* kFunction = "uvc_stereo_device_imu_conversion_options";
  return c_api::on_device(
      kFunction, device, c_api::HandleUse::Kind::Reading,
      [&] { return c_api::require_struct(options, kFunction, "options", "uvc_stereo_imu_conversion_options_t"); },
      [&] { return c_api::deliver(device->device.imu_conversion_options(), *options); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_convert_imu(const uvc_stereo_device_t* device,
                                                                 const uvc_stereo_imu_sample_t* raw,
                                                                 uvc_stereo_imu_converted_t* converted) {
  constexpr const char* kFunction = "uvc_stereo_device_convert_imu";
  return c_api::on_device(
      kFunction, device, c_api::HandleUse::Kind::Reading,
      [&] {
        return c_api::first_failure(
            c_api::require_struct(raw, kFunction, "raw", "uvc_stereo_imu_sample_t"),
            c_api::require_struct(converted, kFunction, "converted", "uvc_stereo_imu_converted_t"));
      },
      [&] { return c_api::deliver(device->device.convert_imu(c_api::from_c(*raw)), *converted); });
}

}  // extern "C"
