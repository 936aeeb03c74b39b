#include "c_api/records.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>

#include "c_api/boundary.h"

namespace tovanel::uvc_stereo::c_api {
namespace {

// The C structs name their fields as the C++ records do, so one copy serves both directions.
template <typename From, typename To>
void copy_scales(const From& from, To& to) noexcept {
  to.temperature_offset_c = from.temperature_offset_c;
  to.temperature_lsb_per_c = from.temperature_lsb_per_c;
  to.accel_lsb_per_g = from.accel_lsb_per_g;
  to.gyro_lsb_per_dps = from.gyro_lsb_per_dps;
}

template <typename From, typename To>
void copy_imu_block(const From& from, To& to) noexcept {
  to.xu_unit = from.xu_unit;
  to.xu_selector = from.xu_selector;
  to.xu_length = from.xu_length;
  to.decimal_exponent = from.decimal_exponent;
  copy_scales(from, to);
}

template <typename From, typename To>
void copy_raw_sample(const From& from, To& to) noexcept {
  to.sample_counter = from.sample_counter;
  to.host_timestamp_ns = from.host_timestamp_ns;
  to.temperature_raw = from.temperature_raw;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    to.accel_raw[axis] = from.accel_raw[axis];
    to.gyro_raw[axis] = from.gyro_raw[axis];
  }
}

void to_c(const ReportedImuInfo& imu, uvc_stereo_reported_imu_t& out) noexcept {
  std::memset(out.model, 0, sizeof(out.model));
  imu.model.copy(out.model, std::min(imu.model.size(), sizeof(out.model) - 1));
  copy_imu_block(imu, out);
}

ReportedImuInfo from_c(const uvc_stereo_reported_imu_t& imu) {
  ReportedImuInfo out;
  // The model need not be NUL-terminated when it fills the whole field.
  const auto* end = std::find(std::begin(imu.model), std::end(imu.model), '\0');
  out.model.assign(std::begin(imu.model), end);
  copy_imu_block(imu, out);
  return out;
}

}  // namespace

void to_c(const DeviceInfo& info, uvc_stereo_device_info_t& out) noexcept {
  out.vendor_id = info.vendor_id;
  out.product_id = info.product_id;
  out.aux_flag_a = info.aux_flag_a;
  out.aux_flag_b = info.aux_flag_b;
  out.serial_number = info.serial_number.c_str();
  out.descriptor_text = info.descriptor_text.c_str();
  out.friendly_name = info.friendly_name.c_str();
  out.extra_text = info.extra_text.c_str();
  out.device_path = info.device_path.c_str();
  std::uint32_t count = 0;
  for (const auto& [backend, index] : info.backend_indices) {
    if (count == UVC_STEREO_MAX_BACKEND_INDICES) {
      break;
    }
    out.backend_indices[count].backend = static_cast<std::int32_t>(backend);
    out.backend_indices[count].index = index;
    ++count;
  }
  for (std::uint32_t unused = count; unused < UVC_STEREO_MAX_BACKEND_INDICES; ++unused) {
    out.backend_indices[unused] = uvc_stereo_backend_index_t{0, 0};
  }
  out.backend_index_count = count;
}

DeviceInfo from_c(const uvc_stereo_device_info_t& info) {
  DeviceInfo out;
  out.vendor_id = info.vendor_id;
  out.product_id = info.product_id;
  out.aux_flag_a = info.aux_flag_a;
  out.aux_flag_b = info.aux_flag_b;
  out.serial_number = or_empty(info.serial_number);
  out.descriptor_text = or_empty(info.descriptor_text);
  out.friendly_name = or_empty(info.friendly_name);
  out.extra_text = or_empty(info.extra_text);
  out.device_path = or_empty(info.device_path);
  const std::uint32_t count = std::min<std::uint32_t>(info.backend_index_count, UVC_STEREO_MAX_BACKEND_INDICES);
  for (std::uint32_t i = 0; i < count; ++i) {
    out.backend_indices[static_cast<OpenCvBackend>(info.backend_indices[i].backend)] = info.backend_indices[i].index;
  }
  return out;
}

void to_c(const CapabilityReport& report, uvc_stereo_capability_report_t& out) noexcept {
  out.major_version = report.major_version;
  out.minor_version = report.minor_version;
  out.capability_bits = report.capability_bits;
  out.has_flash_user_space = report.flash_user_space.has_value();
  const FlashUserSpace user_space = report.flash_user_space.value_or(FlashUserSpace{});
  out.flash_user_space_start = user_space.start;
  out.flash_user_space_size = user_space.size;
  out.has_imu = report.imu.has_value();
  to_c(report.imu ? *report.imu : ReportedImuInfo{}, out.imu);
}

CapabilityReport from_c(const uvc_stereo_capability_report_t& report) {
  CapabilityReport out;
  out.major_version = report.major_version;
  out.minor_version = report.minor_version;
  out.capability_bits = report.capability_bits;
  if (report.has_flash_user_space) {
    out.flash_user_space = FlashUserSpace{report.flash_user_space_start, report.flash_user_space_size};
  }
  if (report.has_imu) {
    out.imu = from_c(report.imu);
  }
  return out;
}

void to_c(const FlashConfig& config, uvc_stereo_flash_config_t& out) noexcept {
  out.vidpid = config.vidpid.c_str();
  out.auto_select = config.auto_select;
  out.vendor_id = config.vendor_id;
  out.product_id = config.product_id;
  out.aux_flag_a = config.aux_flag_a;
  out.aux_flag_b = config.aux_flag_b;
  out.serial_number = config.serial_number.c_str();
  out.device_path = config.device_path.c_str();
  out.user_space_address = config.user_space_address;
  out.erase_sector_size = config.erase_sector_size;
  out.magic = config.magic;
  out.user_space_size = config.user_space_size;
  out.min_header_size = config.min_header_size;
  out.max_header_size = config.max_header_size;
  out.verify_crc = config.verify_crc;
  out.verify_after_write = config.verify_after_write;
  if (covers(out, offsetof(uvc_stereo_flash_config_t, busy_wait_ms) + sizeof(out.busy_wait_ms))) {
    out.busy_wait_ms = config.busy_wait_ms;
  }
}

void to_c(const ImuConversionOptions& options, uvc_stereo_imu_conversion_options_t& out) noexcept {
  copy_scales(options, out);
}

ImuConversionOptions from_c(const uvc_stereo_imu_conversion_options_t& options) noexcept {
  ImuConversionOptions out;
  copy_scales(options, out);
  return out;
}

void to_c(const ReadImuResult& sample, uvc_stereo_imu_sample_t& out) noexcept { copy_raw_sample(sample, out); }

ReadImuResult from_c(const uvc_stereo_imu_sample_t& sample) noexcept {
  ReadImuResult out;
  copy_raw_sample(sample, out);
  return out;
}

void to_c(const ConvertedImuResult& sample, uvc_stereo_imu_converted_t& out) noexcept {
  out.host_timestamp_ns = sample.host_timestamp_ns;
  out.temperature_c = sample.temperature_c;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    out.accel_g[axis] = sample.accel_g[axis];
    out.gyro_dps[axis] = sample.gyro_dps[axis];
  }
}

DeviceScanFilter from_c(const uvc_stereo_scan_filter_t& filter) noexcept {
  DeviceScanFilter out;
  if (filter.has_vendor_id) {
    out.vendor_id = filter.vendor_id;
  }
  if (filter.has_product_id) {
    out.product_id = filter.product_id;
  }
  out.require_serial_number = filter.require_serial_number;
  return out;
}

OpenDeviceOptions from_c(const uvc_stereo_open_options_t& options) noexcept {
  OpenDeviceOptions out;
  out.required_capabilities = options.required_capabilities;
  // All zero is the default in C, so 0 keeps the C++ default wait; so does a struct of the
  // first layout, which has no such field.
  if (covers(options, offsetof(uvc_stereo_open_options_t, busy_wait_ms) + sizeof(options.busy_wait_ms)) &&
      options.busy_wait_ms != 0) {
    out.busy_wait_ms = options.busy_wait_ms;
  }
  return out;
}

}  // namespace tovanel::uvc_stereo::c_api
