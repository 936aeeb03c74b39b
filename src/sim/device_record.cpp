#include "sim/device_record.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "core/byte_order.h"
#include "core/utf.h"

namespace tovanel::uvc_stereo::sim {
namespace {

constexpr unsigned char kRigMark[8] = {'T', 'O', 'V', 'S', 'I', 'M', 'R', 'G'};
constexpr std::size_t kIndexOffset = sizeof(kRigMark);

// Copies as much of `text` as fits before the terminating NUL, never splitting a
// surrogate pair, and zero-fills the rest.
void fill_wide(std::string_view text, SonixLib::scWideChar* out, std::size_t capacity) {
  const std::u16string wide = detail::utf8_to_utf16(text);
  std::size_t length = std::min(wide.size(), capacity - 1);
  if (length > 0 && length < wide.size() && wide[length - 1] >= 0xD800u && wide[length - 1] <= 0xDBFFu) {
    --length;
  }
  for (std::size_t i = 0; i < capacity; ++i) {
    out[i] = i < length ? static_cast<SonixLib::scWideChar>(wide[i]) : SonixLib::scWideChar{0};
  }
}

}  // namespace

void fill_simulated_device_record(int camera, std::string_view device_path, std::string_view device_name,
                                  SonixLib::scDevice_t& record) {
  fill_wide(device_path, record.devicePath, SonixLib::kDevicePathChars);
  fill_wide(device_name, record.deviceName, SonixLib::kDeviceNameChars);
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
