#include "bridge/device_enumeration.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>

#include "bridge/backend_matching.h"
#include "bridge/device_record_text.h"
#include "bridge/os/capture_listing.h"
#include "bridge/vendor_status.h"
#include "core/byte_order.h"
#include "core/guard.h"
#include "imu/model_table.h"
#include "win/device_path.h"

namespace tovanel::uvc_stereo::win_detail {
namespace {

// The library fills at most this many records per enumeration.
constexpr std::int32_t kMaxDevices = 64;
constexpr std::uint32_t kStringDescriptorBytes = 64;

constexpr std::uint8_t kVidPidDescriptor = 0;
constexpr std::uint8_t kProductStringDescriptor = 2;
constexpr std::uint8_t kDescriptorTextDescriptor = 3;
constexpr std::uint8_t kSerialNumberDescriptor = 4;

std::unordered_set<std::string> supported_vidpid_set() {
  std::unordered_set<std::string> supported;
  supported.reserve(detail::kSupportedModelCount);
  for (const detail::SupportedModel& model : detail::supported_models()) {
    supported.insert(make_vidpid_string(model.vendor_id, model.product_id));
  }
  return supported;
}

bool same_pair(const UsbVidPid& a, const UsbVidPid& b) { return a.vid == b.vid && a.pid == b.pid; }

bool both_non_zero(const UsbVidPid& ids) { return ids.vid != 0 && ids.pid != 0; }

// The four descriptor bytes come in either byte order depending on the firmware, so both
// readings are formed and the device's path, then the supported models, decide between them.
std::optional<UsbVidPid> vid_pid_from_descriptor(SonixLib::scDevice_t& record, const std::string& device_path,
                                                 const std::unordered_set<std::string>& supported) {
  std::uint8_t bytes[4] = {};
  if (!SonixCam_GetDevDescriptor(&record, kVidPidDescriptor, bytes, sizeof(bytes), 0, 0)) {
    return std::nullopt;
  }
  const UsbVidPid big_endian{detail::load_be16(bytes), detail::load_be16(bytes + 2)};
  const UsbVidPid little_endian{detail::load_le16(bytes), detail::load_le16(bytes + 2)};

  if (const std::optional<UsbVidPid> from_path = vid_pid_from_path(device_path); from_path.has_value()) {
    if (same_pair(big_endian, *from_path)) {
      return big_endian;
    }
    if (same_pair(little_endian, *from_path)) {
      return little_endian;
    }
  }

  const bool big_supported = supported.count(make_vidpid_string(big_endian.vid, big_endian.pid)) != 0;
  const bool little_supported = supported.count(make_vidpid_string(little_endian.vid, little_endian.pid)) != 0;
  if (big_supported != little_supported) {
    return big_supported ? big_endian : little_endian;
  }
  if (both_non_zero(big_endian)) {
    return big_endian;
  }
  if (both_non_zero(little_endian)) {
    return little_endian;
  }
  return std::nullopt;
}

// Descriptor text up to its first NUL, without the padding some firmware leaves at the end;
// nothing when the camera does not answer.
std::optional<std::string> read_string_descriptor(SonixLib::scDevice_t& record, std::uint8_t type) {
  std::uint8_t buffer[kStringDescriptorBytes] = {};
  if (!SonixCam_GetDevDescriptor(&record, type, buffer, kStringDescriptorBytes, 0, 0)) {
    return std::nullopt;
  }
  std::size_t length = 0;
  while (length < kStringDescriptorBytes && buffer[length] != 0) {
    ++length;
  }
  std::string text(reinterpret_cast<const char*>(buffer), length);
  static constexpr char kTrailingPadding[] = {'\0', '\t', '\n', '\r', ' '};
  const std::size_t last = text.find_last_not_of(kTrailingPadding, std::string::npos, sizeof(kTrailingPadding));
  text.erase(last == std::string::npos ? 0 : last + 1);
  return text;
}

bool passes_filter(const DeviceInfo& info, const DeviceScanFilter& filter) {
  if (filter.vendor_id.has_value() && *filter.vendor_id != info.vendor_id) {
    return false;
  }
  if (filter.product_id.has_value() && *filter.product_id != info.product_id) {
    return false;
  }
  return !(filter.require_serial_number && info.serial_number.empty());
}

// The description of one library record, or nothing when it is not a supported camera.
std::optional<DeviceInfo> describe_record(SonixLib::scDevice_t& record,
                                          const std::unordered_set<std::string>& supported) {
  DeviceInfo info;
  info.device_path = detail::bridge::device_record_text(record.devicePath);
  info.friendly_name = detail::bridge::device_record_text(record.deviceName);

  std::optional<UsbVidPid> ids = vid_pid_from_descriptor(record, info.device_path, supported);
  if (!ids.has_value()) {
    ids = vid_pid_from_path(info.device_path);
  }
  if (!ids.has_value() || detail::find_supported_model(ids->vid, ids->pid) == nullptr) {
    return std::nullopt;
  }
  info.vendor_id = ids->vid;
  info.product_id = ids->pid;

  if (std::optional<std::string> text = read_string_descriptor(record, kDescriptorTextDescriptor)) {
    info.descriptor_text = std::move(*text);
  }
  // The product string names the camera better than the driver's name, when the firmware has one.
  if (std::optional<std::string> product = read_string_descriptor(record, kProductStringDescriptor);
      product.has_value() && !product->empty()) {
    info.friendly_name = std::move(*product);
  }
  if (std::optional<std::string> serial = read_string_descriptor(record, kSerialNumberDescriptor)) {
    info.serial_number = std::move(*serial);
  }
  return info;
}

void add_backend_indices(std::vector<EnumeratedDevice>& devices) {
  std::vector<DeviceInfo*> infos;
  infos.reserve(devices.size());
  for (EnumeratedDevice& device : devices) {
    infos.push_back(&device.info);
  }
  // A backend that cannot list its devices only costs its indices, not the scan.
  for (const OpenCvBackend backend : {OpenCvBackend::Msmf, OpenCvBackend::Dshow, OpenCvBackend::V4l2}) {
    const Result<std::vector<WinOpenCvCameraCandidate>> candidates = detail::bridge::list_capture_candidates(backend);
    if (candidates.ok()) {
      detail::bridge::match_backend_candidates(infos, candidates.value());
    }
  }
}

Result<std::vector<EnumeratedDevice>> enumerate_devices(const DeviceScanFilter& filter, bool with_backend_candidates) {
  std::vector<SonixLib::scDevice_t> records(static_cast<std::size_t>(kMaxDevices));
  std::int32_t count = 0;
  if (!SonixCam_EnumCameras(&count, records.data(), kMaxDevices)) {
    SonixLib::scErrorCode_t code = SonixLib::ecUnknow;
    const bool code_read = SonixCam_GetErrorCode(nullptr, &code);
    // No camera attached is an empty list, not a failure.
    if ((code_read && code == SonixLib::ecNotFindDevice) || count == 0) {
      return std::vector<EnumeratedDevice>{};
    }
    // The message asks the library for its code once more, reading 0 when it cannot say.
    return make_vendor_status(ErrorCode::PlatformError, "SonixCam_EnumCameras", nullptr);
  }

  // The library counts every camera it sees but fills only the records it was given.
  count = count < 0 ? 0 : (count > kMaxDevices ? kMaxDevices : count);
  const std::unordered_set<std::string> supported = supported_vidpid_set();
  std::vector<EnumeratedDevice> devices;
  devices.reserve(static_cast<std::size_t>(count));
  for (std::int32_t i = 0; i < count; ++i) {
    SonixLib::scDevice_t& record = records[static_cast<std::size_t>(i)];
    std::optional<DeviceInfo> info = describe_record(record, supported);
    if (!info.has_value() || !passes_filter(*info, filter)) {
      continue;
    }
    EnumeratedDevice device;
    device.device = record;
    device.info = std::move(*info);
    devices.push_back(std::move(device));
  }

  if (with_backend_candidates) {
    add_backend_indices(devices);
  }
  return devices;
}

}  // namespace

Result<std::vector<EnumeratedDevice>> enumerate_devices_with_active_runtime(const DeviceScanFilter& filter,
                                                                            bool with_backend_candidates) {
  // Callers end the library session right after this returns, so nothing may escape past them; running out of
  // memory while listing becomes the scan's failure instead.
  return detail::guard_operation("unknown exception during device enumeration",
                                 [&] { return enumerate_devices(filter, with_backend_candidates); });
}

}  // namespace tovanel::uvc_stereo::win_detail
