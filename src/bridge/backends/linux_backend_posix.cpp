// The vendor operations served by the Linux kernel's UVC driver. A session keeps the
// cameras it listed and the capture nodes it opened until its last UnInit; every call
// arrives under the process-wide vendor lock, which guards that state.
#include <cerrno>
#include <cstring>
#include <exception>
#include <map>
#include <new>
#include <string>
#include <vector>

#include "bridge/backends/linux_backend.h"
#include "bridge/backends/linux_sysfs.h"
#include "bridge/backends/linux_uvc_ioctl.h"
#include "bridge/device_record_text.h"
#include "bridge/linux_kernel.h"
#include "core/format.h"
#include "imu/model_table.h"

namespace tovanel::uvc_stereo::vendor {
namespace {

using SonixLib::scErrorCode_t;

constexpr std::uint8_t kVidPidDescriptor = 0;
constexpr std::uint32_t kVidPidLength = 4;

struct LinuxSession {
  int open_sessions = 0;
  std::vector<LinuxUvcCamera> cameras;
  std::map<std::string, LinuxVideoNode> nodes;  ///< open capture nodes, by path
  scErrorCode_t last_error = SonixLib::ecUnknow;
};

// Never destroyed: a reader closed while the process exits still finds it.
LinuxSession& session() {
  alignas(LinuxSession) static unsigned char storage[sizeof(LinuxSession)];
  static LinuxSession* const state = new (storage) LinuxSession();
  return *state;
}

bool fail(scErrorCode_t code) {
  session().last_error = code;
  return false;
}

enum class Access : std::uint8_t { Opening, Control };

// The vendor code for a system error. A node that has vanished cannot be opened (ENOENT);
// an open node of an unplugged camera answers ENODEV, while ENOENT from a control request
// means the camera lacks that unit or control.
scErrorCode_t vendor_code_of(int error, Access access) noexcept {
  if (error == ENOENT) {
    return access == Access::Opening ? SonixLib::ecDeviceDisconnect : SonixLib::ecGetKsControlFail;
  }
  switch (error) {
    case ENODEV:
    case ENXIO:
    case ESHUTDOWN:
      return SonixLib::ecDeviceDisconnect;
    case ETIMEDOUT:
    case ETIME:
      return SonixLib::ecSyncTransTimeOut;
    case ENOMEM:
      return SonixLib::ecMemoryMallocFail;
    default:
      return SonixLib::ecGetKsControlFail;
  }
}

bool has_supported_camera(const std::vector<LinuxUvcCamera>& cameras) noexcept {
  for (const LinuxUvcCamera& camera : cameras) {
    if (detail::find_supported_model(camera.descriptors.device.vendor_id, camera.descriptors.device.product_id) !=
        nullptr) {
      return true;
    }
  }
  return false;
}

// The session's camera that a device record names, when it is still plugged in; null
// (with the code left) otherwise.
const LinuxUvcCamera* camera_of(const SonixLib::scDevice_t* device) {
  LinuxSession& state = session();
  if (state.open_sessions == 0) {
    fail(SonixLib::ecLibInitFail);
    return nullptr;
  }
  if (device == nullptr) {
    fail(SonixLib::ecNotFindDevice);
    return nullptr;
  }
  const std::string path = win_detail::device_record_text(device->devicePath);
  for (const LinuxUvcCamera& camera : state.cameras) {
    if (camera.device_path == path) {
      if (!linux_usb_device_present(camera.device_path)) {
        report_linux_problem("Linux UVC: " + camera.device_path + " has been unplugged");
        fail(SonixLib::ecDeviceDisconnect);
        return nullptr;
      }
      return &camera;
    }
  }
  fail(SonixLib::ecNotFindDevice);
  return nullptr;
}

// The camera's capture node, opened once per session; null (with the code left and the
// reason on the diagnostic output) when it cannot be opened.
const LinuxVideoNode* capture_node_of(const LinuxUvcCamera& camera) {
  LinuxSession& state = session();
  auto found = state.nodes.find(camera.capture_node);
  if (found == state.nodes.end()) {
    found = state.nodes.emplace(camera.capture_node, LinuxVideoNode(active_linux_kernel(), camera.capture_node)).first;
  }
  if (!found->second.is_open()) {
    const int error = found->second.open_error();
    report_linux_problem("Linux UVC: cannot open " + camera.capture_node + ": " + system_error_text(error));
    state.nodes.erase(found);
    fail(vendor_code_of(error, Access::Opening));
    return nullptr;
  }
  return &found->second;
}

template <typename Operation>
bool guarded(Operation operation) noexcept {
  try {
    return operation();
  } catch (const std::bad_alloc&) {
    return fail(SonixLib::ecMemoryMallocFail);
  } catch (...) {
    return fail(SonixLib::ecUnknow);
  }
}

bool linux_init() {
  return guarded([] {
    LinuxSession& state = session();
    if (state.open_sessions > 0) {
      ++state.open_sessions;
      return true;
    }
    LinuxUvcListing listing = list_linux_uvc_cameras(active_linux_kernel());
    if (!listing.sysfs_present) {
      report_linux_problem(std::string("Linux UVC: sysfs cannot be read at ") + active_linux_kernel().sysfs_root);
      return fail(SonixLib::ecLibInitFail);
    }
    if (!has_supported_camera(listing.cameras)) {
      return fail(SonixLib::ecNotFindDevice);
    }
    state.cameras = std::move(listing.cameras);
    state.open_sessions = 1;
    return true;
  });
}

bool linux_uninit() {
  return guarded([] {
    LinuxSession& state = session();
    if (state.open_sessions == 0) {
      return fail(SonixLib::ecLibInitFail);
    }
    if (--state.open_sessions == 0) {
      state.nodes.clear();
      state.cameras.clear();
    }
    return true;
  });
}

bool linux_enum_cameras(std::int32_t* count, SonixLib::scDevice_t* devices, std::int32_t max_count) {
  return guarded([&] {
    if (count != nullptr) {
      *count = 0;
    }
    LinuxSession& state = session();
    if (state.open_sessions == 0) {
      return fail(SonixLib::ecLibInitFail);
    }
    if (count == nullptr || (devices == nullptr && max_count > 0)) {
      return fail(SonixLib::ecEnumDeviceFail);
    }
    // A fresh look, so a camera plugged in or out since Init is seen as it is now.
    LinuxUvcListing listing = list_linux_uvc_cameras(active_linux_kernel());
    state.cameras = std::move(listing.cameras);
    if (state.cameras.empty()) {
      return fail(SonixLib::ecNotFindDevice);
    }
    *count = static_cast<std::int32_t>(state.cameras.size());
    const std::size_t filled = std::min<std::size_t>(state.cameras.size(), max_count < 0 ? 0 : max_count);
    for (std::size_t i = 0; i < filled; ++i) {
      SonixLib::scDevice_t& record = devices[i];
      std::memset(&record, 0, sizeof(record));
      win_detail::fill_device_record_text(state.cameras[i].device_path, record.devicePath);
      win_detail::fill_device_record_text(state.cameras[i].node_name, record.deviceName);
    }
    return true;
  });
}

bool linux_get_error_code(SonixLib::scDevice_t*, scErrorCode_t* code) {
  if (code == nullptr) {
    return false;
  }
  *code = session().last_error;
  return true;
}

// The sysfs text of USB string descriptor `index`; null when the device has no such string.
const std::optional<std::string>* string_of(const LinuxUvcCamera& camera, std::uint8_t index) {
  const UsbDeviceDescriptor& device = camera.descriptors.device;
  if (index == 0) {
    return nullptr;
  }
  if (index == device.product_index) {
    return &camera.product;
  }
  if (index == device.manufacturer_index) {
    return &camera.manufacturer;
  }
  if (index == device.serial_number_index) {
    return &camera.serial;
  }
  return nullptr;
}

bool linux_get_dev_descriptor(SonixLib::scDevice_t* device, std::uint8_t type, std::uint8_t* buffer,
                              std::uint32_t length, std::int32_t, std::int32_t) {
  return guarded([&] {
    const LinuxUvcCamera* camera = camera_of(device);
    if (camera == nullptr) {
      return false;
    }
    if (buffer == nullptr) {
      return fail(SonixLib::ecGetKsControlFail);
    }
    if (type == kVidPidDescriptor) {
      if (length < kVidPidLength) {
        return fail(SonixLib::ecGetKsControlFail);
      }
      // Vendor id then product id, each high byte first.
      const UsbDeviceDescriptor& ids = camera->descriptors.device;
      std::memset(buffer, 0, length);
      buffer[0] = static_cast<std::uint8_t>(ids.vendor_id >> 8);
      buffer[1] = static_cast<std::uint8_t>(ids.vendor_id & 0xFFu);
      buffer[2] = static_cast<std::uint8_t>(ids.product_id >> 8);
      buffer[3] = static_cast<std::uint8_t>(ids.product_id & 0xFFu);
      return true;
    }
    const std::optional<std::string>* text = string_of(*camera, type);
    if (text == nullptr || !text->has_value()) {
      return fail(SonixLib::ecGetKsControlFail);
    }
    std::memset(buffer, 0, length);
    std::memcpy(buffer, (*text)->data(), std::min<std::size_t>((*text)->size(), length));
    return true;
  });
}

bool linux_set_node_id(SonixLib::scDevice_t* device, std::uint8_t node_id, const std::uint8_t guid[16]) {
  return guarded([&] {
    const LinuxUvcCamera* camera = camera_of(device);
    if (camera == nullptr) {
      return false;
    }
    bool found = false;
    for (const UvcExtensionUnit& unit : camera->descriptors.extension_units) {
      found = found || (guid != nullptr && unit.unit_id == node_id &&
                        std::memcmp(unit.guid.data(), guid, unit.guid.size()) == 0);
    }
    if (!found) {
      report_linux_problem(detail::format_fixed<256>("Linux UVC: %s has no extension unit %u with the requested GUID",
                                                     camera->device_path.c_str(), static_cast<unsigned>(node_id)));
      return fail(SonixLib::ecGetKsControlFail);
    }
    // The unit is read through the capture node: opening it now tells at once whether this
    // account may.
    return capture_node_of(*camera) != nullptr;
  });
}

bool linux_xu_read(SonixLib::scDevice_t* device, std::uint8_t* buffer, std::uint8_t length, std::uint8_t selector,
                   std::uint8_t unit_id) {
  return guarded([&] {
    const LinuxUvcCamera* camera = camera_of(device);
    if (camera == nullptr) {
      return false;
    }
    if (buffer == nullptr || length == 0) {
      return fail(SonixLib::ecGetKsControlFail);
    }
    const LinuxVideoNode* node = capture_node_of(*camera);
    if (node == nullptr) {
      return false;
    }
    const int error = node->get_current(unit_id, selector, buffer, length);
    if (error == 0) {
      return true;
    }
    report_linux_problem(detail::format_fixed<256>(
        "Linux UVC: reading control %u of extension unit %u on %s failed: %s", static_cast<unsigned>(selector),
        static_cast<unsigned>(unit_id), camera->capture_node.c_str(), system_error_text(error).c_str()));
    const scErrorCode_t code = vendor_code_of(error, Access::Control);
    // A later read, after the camera is back, opens the node afresh.
    if (code == SonixLib::ecDeviceDisconnect) {
      session().nodes.erase(camera->capture_node);
    }
    return fail(code);
  });
}

// The firmware version and the serial flash are behind the chip maker's private commands.
bool no_vendor_library() {
  report_linux_problem(
      "Linux UVC: the firmware version and the serial flash are reached only through the camera vendor's library");
  return fail(kLinuxNoVendorLibraryCode);
}

bool linux_get_version(SonixLib::scDevice_t*, char*, std::uint32_t, std::int32_t) { return no_vendor_library(); }
bool linux_get_serial_flash_type(SonixLib::scDevice_t*, SonixLib::SERIAL_FLASH_TYPE*) { return no_vendor_library(); }
bool linux_read_flash(SonixLib::scDevice_t*, std::uint32_t, std::uint8_t*, std::uint32_t) {
  return no_vendor_library();
}
bool linux_write_flash(SonixLib::scDevice_t*, std::uint32_t, const std::uint8_t*, std::uint32_t) {
  return no_vendor_library();
}
bool linux_sector_erase(SonixLib::scDevice_t*, std::uint32_t, std::uint8_t) { return no_vendor_library(); }
bool linux_set_write_protected(SonixLib::scDevice_t*, std::uint8_t, std::uint8_t) { return no_vendor_library(); }
bool linux_set_status_reg_bit_wp(SonixLib::scDevice_t*, std::uint8_t, std::uint8_t, std::uint8_t, std::uint8_t,
                                 std::uint8_t, std::uint8_t) {
  return no_vendor_library();
}

constexpr VendorBackend linux_backend() {
  VendorBackend table;
  table.name = "Linux UVC";
  table.init = linux_init;
  table.uninit = linux_uninit;
  table.enum_cameras = linux_enum_cameras;
  table.get_error_code = linux_get_error_code;
  table.get_dev_descriptor = linux_get_dev_descriptor;
  table.set_node_id = linux_set_node_id;
  table.xu_read = linux_xu_read;
  table.get_version = linux_get_version;
  table.get_serial_flash_type = linux_get_serial_flash_type;
  table.read_flash = linux_read_flash;
  table.write_flash = linux_write_flash;
  table.sector_erase = linux_sector_erase;
  table.set_write_protected = linux_set_write_protected;
  table.set_status_reg_bit_wp = linux_set_status_reg_bit_wp;
  return table;
}

constexpr VendorBackend kLinuxBackend = linux_backend();

}  // namespace

const VendorBackend& linux_vendor_backend() noexcept { return kLinuxBackend; }

}  // namespace tovanel::uvc_stereo::vendor
