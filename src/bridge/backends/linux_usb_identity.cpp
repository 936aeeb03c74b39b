#include "bridge/backends/linux_usb_identity.h"

#include <cstring>

#include "core/byte_order.h"

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

constexpr unsigned char kLinuxMark[8] = {'T', 'O', 'V', 'L', 'I', 'N', 'U', 'X'};
constexpr std::size_t kBusOffset = sizeof(kLinuxMark);
constexpr std::size_t kDeviceOffset = kBusOffset + 4;
constexpr std::size_t kFingerprintOffset = kDeviceOffset + 4;
static_assert(kFingerprintOffset + 8 <= sizeof(SonixLib::scDevice_t::reserved), "the stamp fits the record");

// 64-bit FNV-1a: a fingerprint, not a defence against a forger, and enough to tell apart the
// few devices that one port ever sees.
constexpr std::uint64_t kFnvOffset = 0xCBF29CE484222325ull;
constexpr std::uint64_t kFnvPrime = 0x100000001B3ull;

std::uint64_t mix(std::uint64_t hash, std::string_view bytes) noexcept {
  for (const char c : bytes) {
    hash = (hash ^ static_cast<unsigned char>(c)) * kFnvPrime;
  }
  return hash;
}

// Each field with its length in front, so that moving bytes from one field to the next
// changes the fingerprint.
std::uint64_t mix_field(std::uint64_t hash, std::string_view bytes) noexcept {
  char length[8];
  detail::store_le64(reinterpret_cast<std::uint8_t*>(length), bytes.size());
  return mix(mix(hash, std::string_view(length, sizeof(length))), bytes);
}

}  // namespace

std::optional<std::uint32_t> parse_sysfs_decimal(std::string_view text) noexcept {
  if (text.empty()) {
    return std::nullopt;
  }
  std::uint64_t value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') {
      return std::nullopt;
    }
    value = value * 10 + static_cast<std::uint64_t>(c - '0');
    if (value > 0xFFFFFFFFull) {
      return std::nullopt;
    }
  }
  return static_cast<std::uint32_t>(value);
}

LinuxUsbIdentity make_linux_usb_identity(std::string_view bus_number, std::string_view device_number,
                                         const std::optional<std::string_view>& serial,
                                         std::string_view descriptors) noexcept {
  LinuxUsbIdentity identity;
  identity.bus_number = parse_sysfs_decimal(bus_number).value_or(0);
  identity.device_number = parse_sysfs_decimal(device_number).value_or(0);
  std::uint64_t hash = mix_field(mix_field(kFnvOffset, bus_number), device_number);
  // A device without a serial number differs from one whose serial number is empty.
  hash = mix(hash, serial.has_value() ? std::string_view("S", 1) : std::string_view("N", 1));
  hash = mix_field(hash, serial.value_or(std::string_view()));
  identity.fingerprint = mix_field(hash, descriptors);
  return identity;
}

void stamp_linux_device_record(const LinuxUsbIdentity& identity, SonixLib::scDevice_t& record) noexcept {
  std::memset(record.reserved, 0, sizeof(record.reserved));
  std::memcpy(record.reserved, kLinuxMark, sizeof(kLinuxMark));
  detail::store_le32(record.reserved + kBusOffset, identity.bus_number);
  detail::store_le32(record.reserved + kDeviceOffset, identity.device_number);
  detail::store_le64(record.reserved + kFingerprintOffset, identity.fingerprint);
}

std::optional<LinuxUsbIdentity> linux_device_record_identity(const SonixLib::scDevice_t& record) noexcept {
  if (std::memcmp(record.reserved, kLinuxMark, sizeof(kLinuxMark)) != 0) {
    return std::nullopt;
  }
  LinuxUsbIdentity identity;
  identity.bus_number = detail::load_le32(record.reserved + kBusOffset);
  identity.device_number = detail::load_le32(record.reserved + kDeviceOffset);
  identity.fingerprint = detail::load_le64(record.reserved + kFingerprintOffset);
  return identity;
}

}  // namespace tovanel::uvc_stereo::detail::bridge
