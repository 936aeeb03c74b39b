// The rig's answers to descriptor, extension-unit and firmware-version requests.
#include <algorithm>
#include <cstring>
#include <optional>
#include <string>

#include "core/byte_order.h"
#include "sim/backend_ops.h"
#include "sim/call_scope.h"
#include "sim/extension_unit.h"

namespace tovanel::uvc_stereo::sim {
namespace {

// The extension unit of the camera's bridge chip; any other GUID names a unit it lacks.
constexpr std::uint8_t kExtensionUnitGuid[16] = {0x94, 0x73, 0xDF, 0xDD, 0x3E, 0x97, 0x27, 0x47,
                                                 0xBE, 0xD9, 0x04, 0xED, 0x64, 0x26, 0xDC, 0x67};

constexpr std::uint8_t kDescriptorVidPid = 0;
constexpr std::uint32_t kVidPidLength = 4;

const std::optional<std::string>* string_descriptor(const SimulatedCamera& camera, std::uint8_t type) {
  switch (type) {
    case 2:
      return &camera.product_string;
    case 3:
      return &camera.descriptor_3;
    case 4:
      return &camera.serial_number;
    default:
      return nullptr;
  }
}

void write_vid_pid(const SimulatedCamera& camera, std::uint8_t* out) {
  if (camera.descriptor_order == DescriptorByteOrder::BigEndian) {
    detail::store_be16(out, camera.vendor_id);
    detail::store_be16(out + 2, camera.product_id);
  } else {
    detail::store_le16(out, camera.vendor_id);
    detail::store_le16(out + 2, camera.product_id);
  }
}

enum class Path : std::uint8_t { Descriptors, VideoNode };

// The camera a call that fills `buffer` is for, once the rig is active, the record names a plugged camera (whose
// node this account may open, for a call through the node) and the buffer is there; null when the call has already
// failed. Descriptors come from what the bus reported when the camera was plugged, which needs no node.
CameraState* admit_with_buffer(VendorCallScope& call, const void* buffer, Path path) {
  CameraState* camera = path == Path::VideoNode ? call.admit_node() : call.admit_device();
  if (camera != nullptr && buffer == nullptr) {
    static_cast<void>(call.fail(SonixLib::ecGetKsControlFail));
    return nullptr;
  }
  return camera;
}

}  // namespace

bool sim_get_dev_descriptor(SonixLib::scDevice_t* device, std::uint8_t type, std::uint8_t* buffer, std::uint32_t length,
                            std::int32_t reserved_a, std::int32_t reserved_b) {
  VendorCallScope call("SonixCam_GetDevDescriptor", device, {type, length, reserved_a, reserved_b});
  CameraState* camera = admit_with_buffer(call, buffer, Path::Descriptors);
  if (camera == nullptr) {
    return false;
  }
  if (type == kDescriptorVidPid) {
    if (length < kVidPidLength) {
      return call.fail(SonixLib::ecGetKsControlFail);
    }
    std::memset(buffer, 0, length);
    write_vid_pid(camera->config, buffer);
    return call.succeed();
  }
  const std::optional<std::string>* text = string_descriptor(camera->config, type);
  if (text == nullptr || !text->has_value()) {
    return call.fail(SonixLib::ecGetKsControlFail);
  }
  std::memset(buffer, 0, length);
  std::memcpy(buffer, (*text)->data(), std::min<std::size_t>((*text)->size(), length));
  return call.succeed();
}

bool sim_set_node_id(SonixLib::scDevice_t* device, std::uint8_t node_id, const std::uint8_t guid[16]) {
  VendorCallScope call("SonixCam_SetNodeID", device, {node_id});
  if (call.admit_node() == nullptr) {
    return false;
  }
  if (guid == nullptr || std::memcmp(guid, kExtensionUnitGuid, sizeof(kExtensionUnitGuid)) != 0) {
    return call.fail(SonixLib::ecGetKsControlFail);
  }
  return call.succeed();
}

bool sim_xu_read(SonixLib::scDevice_t* device, std::uint8_t* buffer, std::uint8_t length, std::uint8_t selector,
                 std::uint8_t unit_id) {
  VendorCallScope call("SonixCam_XuRead", device, {length, selector, unit_id});
  CameraState* camera = admit_with_buffer(call, buffer, Path::VideoNode);
  if (camera == nullptr) {
    return false;
  }
  std::uint64_t transfer_ns = 0;
  if (read_extension_unit(*camera, selector, unit_id, buffer, length, call.rig().clock.now_ns(), transfer_ns)) {
    call.take_time(transfer_ns);
    return call.succeed();
  }
  return call.fail(SonixLib::ecGetKsControlFail);
}

bool sim_get_version(SonixLib::scDevice_t* device, char* buffer, std::uint32_t length, std::int32_t flags) {
  VendorCallScope call("SonixCam_GetVersion", device, {length, flags});
  CameraState* camera = call.admit_node();
  if (camera == nullptr) {
    return false;
  }
  if (buffer == nullptr || length == 0) {
    return call.fail(SonixLib::ecGetKsControlFail);
  }
  std::memset(buffer, 0, length);
  const std::string& version = camera->config.firmware_version;
  std::memcpy(buffer, version.data(), std::min<std::size_t>(version.size(), length - 1));
  return call.succeed();
}

}  // namespace tovanel::uvc_stereo::sim
