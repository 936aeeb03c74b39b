#include "support/stand_in_library.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "bridge/device_record_text.h"
#include "bridge/sonix_camera.h"
#include "bridge/vendor_backend.h"

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

// The library fills at most this many records per enumeration.
constexpr std::int32_t kLibraryListSize = 64;

// What the instant library answers from, prepared before it is put in force. The stand-in finds its camera again
// from the record, as the real library does from its handle: the index sits in the reserved bytes.
struct InstantScene {
  std::vector<SonixLib::scDevice_t> records;
  std::vector<StandInCamera> cameras;
  std::vector<SonixLib::scDevice_t> scratch;
};

InstantScene& instant_scene() {
  static InstantScene scene;
  return scene;
}

int camera_of(const SonixLib::scDevice_t* record) {
  int camera = 0;
  std::memcpy(&camera, record->reserved, sizeof(camera));
  return camera;
}

bool yes() { return true; }

bool enum_cameras(std::int32_t* count, SonixLib::scDevice_t* devices, std::int32_t max_count) {
  const std::vector<SonixLib::scDevice_t>& records = instant_scene().records;
  const auto n = static_cast<std::int32_t>(records.size());
  *count = n;
  std::memcpy(devices, records.data(), sizeof(SonixLib::scDevice_t) * static_cast<std::size_t>(std::min(n, max_count)));
  return true;
}

bool get_error_code(SonixLib::scDevice_t*, SonixLib::scErrorCode_t* code) {
  *code = SonixLib::ecUnknow;
  return true;
}

bool get_dev_descriptor(SonixLib::scDevice_t* device, std::uint8_t type, std::uint8_t* buffer, std::uint32_t length,
                        std::int32_t, std::int32_t) {
  const StandInCamera& camera = instant_scene().cameras[static_cast<std::size_t>(camera_of(device))];
  std::memset(buffer, 0, length);
  if (type == 0) {
    if (length < 4) {
      return false;
    }
    buffer[0] = static_cast<std::uint8_t>(camera.vendor_id >> 8);
    buffer[1] = static_cast<std::uint8_t>(camera.vendor_id & 0xFFu);
    buffer[2] = static_cast<std::uint8_t>(camera.product_id >> 8);
    buffer[3] = static_cast<std::uint8_t>(camera.product_id & 0xFFu);
    return true;
  }
  const std::string& text = type == 2 ? camera.device_name : type == 4 ? camera.serial_number : camera.other_strings;
  std::memcpy(buffer, text.data(), std::min<std::size_t>(text.size(), length));
  return true;
}

template <class... Args>
bool refuse(Args...) {
  return false;
}

const VendorBackend kInstantCameras = {
    "instant stand-in",
    yes,
    yes,
    enum_cameras,
    get_error_code,
    get_dev_descriptor,
    refuse<SonixLib::scDevice_t*, std::uint8_t, const std::uint8_t*>,
    refuse<SonixLib::scDevice_t*, std::uint8_t*, std::uint8_t, std::uint8_t, std::uint8_t>,
    refuse<SonixLib::scDevice_t*, char*, std::uint32_t, std::int32_t>,
    refuse<SonixLib::scDevice_t*, SonixLib::SERIAL_FLASH_TYPE*>,
    refuse<SonixLib::scDevice_t*, std::uint32_t, std::uint8_t*, std::uint32_t>,
    refuse<SonixLib::scDevice_t*, std::uint32_t, const std::uint8_t*, std::uint32_t>,
    refuse<SonixLib::scDevice_t*, std::uint32_t, std::uint8_t>,
    refuse<SonixLib::scDevice_t*, std::uint8_t, std::uint8_t>,
    refuse<SonixLib::scDevice_t*, std::uint8_t, std::uint8_t, std::uint8_t, std::uint8_t, std::uint8_t, std::uint8_t>,
};

// Prepares the scene the instant library answers from, then names the library.
PlatformTable instant_cameras_for(const std::vector<StandInCamera>& cameras) {
  InstantScene& scene = instant_scene();
  scene.cameras = cameras;
  scene.records.assign(cameras.size(), SonixLib::scDevice_t{});
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    SonixLib::scDevice_t& record = scene.records[i];
    fill_device_record_text(cameras[i].device_path, record.devicePath);
    fill_device_record_text(cameras[i].device_name, record.deviceName);
    const auto index = static_cast<int>(i);
    std::memcpy(record.reserved, &index, sizeof(index));
  }
  scene.scratch.assign(kLibraryListSize, SonixLib::scDevice_t{});
  return replacing_vendor_backend(kInstantCameras);
}

// The instant extension unit: its bytes, and the backend it stands in front of with its reads replaced. Kept at
// namespace scope, so that a read costs no more than the copy.
struct InstantUnit {
  std::array<std::uint8_t, 256> bytes{};
  std::size_t size = 0;
  bool count_imu_samples = false;
  VendorBackend backend{};
};

InstantUnit g_unit;

bool instant_xu_read(SonixLib::scDevice_t*, std::uint8_t* buffer, std::uint8_t length, std::uint8_t, std::uint8_t) {
  std::memcpy(buffer, g_unit.bytes.data(), std::min<std::size_t>(length, g_unit.size));
  if (g_unit.count_imu_samples) {
    // The counter's bits 15..8, 7..0 and 19..16 lie in bytes 14, 15 and 16.
    std::uint32_t counter = (static_cast<std::uint32_t>(g_unit.bytes[16] & 0x0Fu) << 16) |
                            (static_cast<std::uint32_t>(g_unit.bytes[14]) << 8) | g_unit.bytes[15];
    counter = (counter + 1) & 0xFFFFFu;
    g_unit.bytes[14] = static_cast<std::uint8_t>(counter >> 8);
    g_unit.bytes[15] = static_cast<std::uint8_t>(counter);
    g_unit.bytes[16] = static_cast<std::uint8_t>((g_unit.bytes[16] & 0xF0u) | (counter >> 16));
  }
  return true;
}

PlatformTable instant_unit_for(const std::vector<std::uint8_t>& bytes, bool count_imu_samples) {
  // A read asks for at most 255 bytes, so no more are kept.
  g_unit.size = std::min(bytes.size(), g_unit.bytes.size());
  std::copy_n(bytes.begin(), g_unit.size, g_unit.bytes.begin());
  g_unit.count_imu_samples = count_imu_samples && g_unit.size >= 17;
  g_unit.backend = active_vendor_backend();
  g_unit.backend.xu_read = instant_xu_read;
  return replacing_vendor_backend(g_unit.backend);
}

}  // namespace

InstantCameras::InstantCameras(const std::vector<StandInCamera>& cameras) : in_force_(instant_cameras_for(cameras)) {}

InstantCameras::~InstantCameras() = default;

int InstantCameras::enumerate_alone() {
  std::int32_t count = 0;
  static_cast<void>(enum_cameras(&count, instant_scene().scratch.data(), kLibraryListSize));
  return count;
}

InstantExtensionUnit::InstantExtensionUnit(const std::vector<std::uint8_t>& bytes, bool count_imu_samples)
    : in_force_(instant_unit_for(bytes, count_imu_samples)) {}

InstantExtensionUnit::~InstantExtensionUnit() = default;

bool InstantExtensionUnit::read_through_dispatch(std::uint8_t* buffer, std::uint8_t length, std::uint8_t selector,
                                                 std::uint8_t unit_id) {
  static SonixLib::scDevice_t no_camera{};
  return SonixCam_XuRead(&no_camera, buffer, length, selector, unit_id);
}

}  // namespace tovanel::uvc_stereo::detail::bridge
