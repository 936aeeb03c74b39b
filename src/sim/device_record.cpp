#include "sim/device_record.h"

#include <cstring>

#include "bridge/device_record_text.h"
#include "core/byte_order.h"

namespace tovanel::uvc_stereo::sim {
namespace {

constexpr unsigned char kRigMark[8] = {'T', 'O', 'V', 'S', 'I', 'M', 'R', 'G'};
constexpr std::size_t kIndexOffset = sizeof(kRigMark);

}  // namespace

void fill_simulated_device_record(int camera, std::string_view device_path, std::string_view device_name,
                                  SonixLib::scDevice_t& record) {
  detail::bridge::fill_device_record_text(device_path, record.devicePath);
  detail::bridge::fill_device_record_text(device_name, record.deviceName);
  std::memset(record.reserved, 0, sizeof(record.reserved));
  std::memcpy(record.reserved, kRigMark, sizeof(kRigMark));
  detail::store_le32(record.reserved + kIndexOffset, static_cast<std::uint32_t>(camera));
}

int simulated_camera_of(const SonixLib::scDevice_t* record) noexcept {
  if (record == nullptr || std::memcmp(record->reserved, kRigMark, sizeof(kRigMark)) != 0) {
    return -1;
  }
  const std::uint32_t index = detail::load_le32(record->reserved + kIndexOffset);
  return index > 0x7FFFFFFFu ? -1 : static_cast<int>(index);
}

}  // namespace tovanel::uvc_stereo::sim
