// The vendor operations served by the Linux kernel's UVC driver. A session keeps the
// cameras it listed and the capture nodes it opened until its last UnInit; every call
// arrives under the process-wide vendor lock, which guards that state.
#include <cerrno>
#include <cstring>
#include <exception>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "bridge/backends/linux_backend.h"
#include "bridge/backends/linux_sysfs.h"
#include "bridge/backends/linux_usb_identity.h"
#include "bridge/backends/linux_uvc_ioctl.h"
#include "bridge/device_record_text.h"
#include "bridge/linux_kernel.h"
#include "core/format.h"
#include "core/guard.h"
#include "imu/model_table.h"

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

using SonixLib::scErrorCode_t;

constexpr std::uint8_t kVidPidDescriptor = 0;
constexpr std::uint32_t kVidPidLength = 4;

// A capture node opened for one camera. It stays in the session until the session's last
// UnInit: once its camera has gone (unplugged, or another camera now at its port) its
// descriptor is closed and every call for that camera answers ecDeviceDisconnect.
struct OpenCaptureNode {
  LinuxUsbIdentity identity;  ///< the camera it was opened for
  std::string device_path;
  LinuxVideoNode node;
  bool gone = false;
};

struct LinuxSession {
  int open_sessions = 0;
  std::vector<LinuxUvcCamera> cameras;
  std::vector<OpenCaptureNode> nodes;
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

// The identity a device record names; nothing (with the code left) for a call outside a
// session or with a record this backend did not hand out.
std::optional<LinuxUsbIdentity> identity_of(const SonixLib::scDevice_t* device) noexcept {
  if (session().open_sessions == 0) {
    fail(SonixLib::ecLibInitFail);
    return std::nullopt;
  }
  std::optional<LinuxUsbIdentity> identity =
      device != nullptr ? linux_device_record_identity(*device) : std::optional<LinuxUsbIdentity>();
  if (!identity.has_value()) {
    fail(SonixLib::ecNotFindDevice);
  }
  return identity;
}

// Whether the camera at `device_path` is still the one with `identity`. Reads sysfs, so it
// is asked when a camera's node is opened and when a call on it fails, never per read.
bool still_there(const std::string& device_path, const LinuxUsbIdentity& identity) {
  const std::optional<LinuxUsbIdentity> now = read_linux_usb_identity(device_path);
  if (!now.has_value()) {
    report_linux_problem("Linux UVC: " + device_path + " has been unplugged");
    return false;
  }
  if (*now != identity) {
    report_linux_problem("Linux UVC: " + device_path + " has been unplugged and another camera now holds its port");
    return false;
  }
  return true;
}

// The listed camera that a device record names; null (with the code left) otherwise. The
// listing is the session's own, read from sysfs when the session started or enumerated: a
// record whose camera is no longer listed names a camera that has gone.
const LinuxUvcCamera* camera_of(const SonixLib::scDevice_t* device) {
  const std::optional<LinuxUsbIdentity> identity = identity_of(device);
  if (!identity.has_value()) {
    return nullptr;
  }
  for (const LinuxUvcCamera& camera : session().cameras) {
    if (camera.identity == *identity) {
      return &camera;
    }
  }
  report_linux_problem("Linux UVC: " + device_record_text(device->devicePath) +
                       " no longer holds the camera it was listed with");
  fail(SonixLib::ecDeviceDisconnect);
  return nullptr;
}

// The capture node opened for the camera of `identity`, if any.
OpenCaptureNode* open_node_of(const LinuxUsbIdentity& identity) noexcept {
  for (OpenCaptureNode& open : session().nodes) {
    if (open.identity == identity) {
      return &open;
    }
  }
  return nullptr;
}

// Closes a node whose camera has gone; its camera's calls answer ecDeviceDisconnect from now on.
bool camera_gone(OpenCaptureNode& open) {
  open.gone = true;
  open.node.close();
  return fail(SonixLib::ecDeviceDisconnect);
}

// The camera's capture node, opened once per session, after which the camera is checked to
// be the one listed (the node may already belong to a camera plugged in since); null (with
// the code left and the reason on the diagnostic output) when it cannot be opened.
OpenCaptureNode* capture_node_of(const LinuxUvcCamera& camera) {
  LinuxSession& state = session();
  if (OpenCaptureNode* known = open_node_of(camera.identity)) {
    if (known->gone) {
      fail(SonixLib::ecDeviceDisconnect);
      return nullptr;
    }
    return known;
  }
  LinuxVideoNode node(active_linux_kernel(), camera.capture_node);
  if (!node.is_open()) {
    const int error = node.open_error();
    report_linux_problem("Linux UVC: cannot open " + camera.capture_node + ": " + system_error_text(error));
    fail(vendor_code_of(error, Access::Opening));
    return nullptr;
  }
  if (!still_there(camera.device_path, camera.identity)) {
    fail(SonixLib::ecDeviceDisconnect);
    return nullptr;
  }
  state.nodes.push_back(OpenCaptureNode{camera.identity, camera.device_path, std::move(node), false});
  return &state.nodes.back();
}

// Every operation's edge: what it throws becomes the code the vendor library would report
// (ecMemoryMallocFail when memory ran out, ecUnknow otherwise); a thread ending inside passes.
template <typename Operation>
bool guarded(Operation operation) {
  return detail::catch_failures(operation, [](const std::exception* failure) {
    return fail(dynamic_cast<const std::bad_alloc*>(failure) != nullptr ? SonixLib::ecMemoryMallocFail
                                                                        : SonixLib::ecUnknow);
  });
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
      fill_device_record_text(state.cameras[i].device_path, record.devicePath);
      fill_device_record_text(state.cameras[i].node_name, record.deviceName);
      stamp_linux_device_record(state.cameras[i].identity, record);
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

// How many bytes of UTF-8 `text` fit in `capacity` without cutting a character: all of it
// when it fits, else up to the last character boundary within it. A string descriptor holds
// up to 126 UTF-16 code units, up to 378 bytes of UTF-8: a buffer that large gets the text
// whole, and a smaller one gets a shorter text that is still valid.
std::size_t whole_characters_within(const std::string& text, std::size_t capacity) noexcept {
  if (text.size() <= capacity) {
    return text.size();
  }
  std::size_t cut = capacity;
  // Step back over continuation bytes (10xxxxxx) to the start of the character that would be split.
  while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0u) == 0x80u) {
    --cut;
  }
  return cut;
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
    const std::size_t copied = whole_characters_within((**text), length);
    std::memcpy(buffer, (*text)->data(), copied);
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
    // account may, and whether the camera is still the one listed.
    return capture_node_of(*camera) != nullptr;
  });
}

// A read that failed: the camera is asked whether it is still the one the node was opened for.
bool read_failed(OpenCaptureNode& open, int error, std::uint8_t selector, std::uint8_t unit_id) {
  report_linux_problem(detail::format_fixed<256>("Linux UVC: reading control %u of extension unit %u on %s failed: %s",
                                                 static_cast<unsigned>(selector), static_cast<unsigned>(unit_id),
                                                 open.node.path().c_str(), system_error_text(error).c_str()));
  const scErrorCode_t code = vendor_code_of(error, Access::Control);
  if (!still_there(open.device_path, open.identity) || code == SonixLib::ecDeviceDisconnect) {
    return camera_gone(open);
  }
  return fail(code);
}

// The IMU's path: for a camera whose node is open, one control query and nothing else (no
// allocation, no look at sysfs); the camera's identity was checked when the node was opened
// and is checked again only if the query fails.
bool linux_xu_read(SonixLib::scDevice_t* device, std::uint8_t* buffer, std::uint8_t length, std::uint8_t selector,
                   std::uint8_t unit_id) {
  return guarded([&] {
    const std::optional<LinuxUsbIdentity> identity = identity_of(device);
    if (!identity.has_value()) {
      return false;
    }
    if (buffer == nullptr || length == 0) {
      return fail(SonixLib::ecGetKsControlFail);
    }
    OpenCaptureNode* open = open_node_of(*identity);
    if (open == nullptr) {
      const LinuxUvcCamera* camera = camera_of(device);
      open = camera != nullptr ? capture_node_of(*camera) : nullptr;
    }
    if (open == nullptr) {
      return false;
    }
    if (open->gone) {
      return fail(SonixLib::ecDeviceDisconnect);
    }
    const int error = open->node.get_current(unit_id, selector, buffer, length);
    return error == 0 || read_failed(*open, error, selector, unit_id);
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
  table.serves_kernel_nodes = true;
  return table;
}

constexpr VendorBackend kLinuxBackend = linux_backend();

}  // namespace

const VendorBackend& linux_vendor_backend() noexcept { return kLinuxBackend; }

}  // namespace tovanel::uvc_stereo::detail::bridge
