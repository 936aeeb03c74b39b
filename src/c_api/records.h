#pragma once

// Conversions between the C interface's structs and the C++ records. Only the fields of
// the first released layout are read or written; strings going out point into the C++
// record, which must outlive their use.

#include "uvc_stereo/capability.h"
#include "uvc_stereo/flash_config.h"
#include "uvc_stereo/records.h"
#include "uvc_stereo/result.h"
#include "uvc_stereo/uvc_stereo_c.h"

namespace tovanel::uvc_stereo::c_api {

// Out: pointers into `info`'s strings; every field of the struct's first layout is written.
void to_c(const DeviceInfo& info, uvc_stereo_device_info_t& out) noexcept;
// In: null strings read as "".
[[nodiscard]] DeviceInfo from_c(const uvc_stereo_device_info_t& info);

void to_c(const CapabilityReport& report, uvc_stereo_capability_report_t& out) noexcept;
[[nodiscard]] CapabilityReport from_c(const uvc_stereo_capability_report_t& report);

void to_c(const FlashConfig& config, uvc_stereo_flash_config_t& out) noexcept;

void to_c(const ImuConversionOptions& options, uvc_stereo_imu_conversion_options_t& out) noexcept;
[[nodiscard]] ImuConversionOptions from_c(const uvc_stereo_imu_conversion_options_t& options) noexcept;

void to_c(const ReadImuResult& sample, uvc_stereo_imu_sample_t& out) noexcept;
[[nodiscard]] ReadImuResult from_c(const uvc_stereo_imu_sample_t& sample) noexcept;

void to_c(const ConvertedImuResult& sample, uvc_stereo_imu_converted_t& out) noexcept;

[[nodiscard]] DeviceScanFilter from_c(const uvc_stereo_scan_filter_t& filter) noexcept;
[[nodiscard]] OpenDeviceOptions from_c(const uvc_stereo_open_options_t& options) noexcept;

// What an operation answered, into the caller's struct: its failure, or its value written with to_c().
template <typename Value, typename Struct>
[[nodiscard]] Status deliver(const Result<Value>& answered, Struct& out) {
  if (!answered.ok()) {
    return answered.status();
  }
  to_c(answered.value(), out);
  return Status();
}

}  // namespace tovanel::uvc_stereo::c_api
