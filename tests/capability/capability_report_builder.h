#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "uvc_stereo/checksum.h"

namespace tovanel::uvc_stereo::testing {

// Lays out capability report bytes field by field, written separately from the SDK's own encoder so that the
// parser is checked against a second reading of the report format.
class CapabilityReportBuilder {
 public:
  using Bytes = std::array<std::uint8_t, 64>;

  // Magic "TOVA", major version 1, size 64, everything else zero.
  CapabilityReportBuilder() {
    bytes_[0] = 0x54;
    bytes_[1] = 0x4F;
    bytes_[2] = 0x56;
    bytes_[3] = 0x41;
    bytes_[4] = 1;
    bytes_[6] = 0x40;
  }

  CapabilityReportBuilder& byte(std::size_t offset, std::uint8_t value) {
    bytes_[offset] = value;
    return *this;
  }
  CapabilityReportBuilder& minor_version(std::uint8_t value) { return byte(5, value); }
  CapabilityReportBuilder& bits(std::uint64_t value) { return little_endian(7, value, 8); }
  CapabilityReportBuilder& flash(std::uint32_t start, std::uint32_t size) {
    little_endian(15, start, 4);
    return little_endian(19, size, 4);
  }
  CapabilityReportBuilder& model_bytes(const std::array<std::uint8_t, 8>& model) {
    for (std::size_t i = 0; i < model.size(); ++i) {
      bytes_[23 + i] = model[i];
    }
    return *this;
  }
  CapabilityReportBuilder& model(std::string_view text) {
    std::array<std::uint8_t, 8> model{};
    for (std::size_t i = 0; i < text.size() && i < model.size(); ++i) {
      model[i] = static_cast<std::uint8_t>(text[i]);
    }
    return model_bytes(model);
  }
  CapabilityReportBuilder& transport(std::uint8_t unit, std::uint8_t selector, std::uint8_t length) {
    bytes_[31] = unit;
    bytes_[32] = selector;
    return byte(33, length);
  }
  CapabilityReportBuilder& exponent(std::uint8_t value) { return byte(34, value); }
  CapabilityReportBuilder& temperature_offset(std::int16_t value) {
    return little_endian(35, static_cast<std::uint16_t>(value), 2);
  }
  CapabilityReportBuilder& scales(std::uint16_t temperature, std::uint16_t accel, std::uint16_t gyro) {
    little_endian(37, temperature, 2);
    little_endian(39, accel, 2);
    return little_endian(41, gyro, 2);
  }

  // A flash user space that passes every check: start 0x1F0000, 64 KiB.
  CapabilityReportBuilder& valid_flash() { return flash(0x1F0000, 0x10000); }

  // An IMU block that passes every check: model "BMI088", unit 4, selector 10, 17 bytes, exponent 2,
  // temperature offset -10, scales 12800, 2048 and 1640.
  CapabilityReportBuilder& valid_imu() {
    model("BMI088");
    transport(4, 10, 17);
    exponent(2);
    temperature_offset(-10);
    return scales(12800, 2048, 1640);
  }

  CapabilityReportBuilder& valid_fields() {
    valid_flash();
    return valid_imu();
  }

  // The bytes sealed with the CRC-32C of bytes 0 to 59.
  [[nodiscard]] Bytes build() const {
    Bytes sealed = bytes_;
    const std::uint32_t crc = detail::crc32c(sealed.data(), 60);
    for (std::size_t i = 0; i < 4; ++i) {
      sealed[60 + i] = static_cast<std::uint8_t>(crc >> (8 * i));
    }
    return sealed;
  }

  // The bytes as laid out, CRC field included, without sealing.
  [[nodiscard]] const Bytes& unsealed() const { return bytes_; }

 private:
  CapabilityReportBuilder& little_endian(std::size_t offset, std::uint64_t value, std::size_t width) {
    for (std::size_t i = 0; i < width; ++i) {
      bytes_[offset + i] = static_cast<std::uint8_t>((value >> (8 * i)) & 0xFF);
    }
    return *this;
  }

  Bytes bytes_{};
};

}  // namespace tovanel::uvc_stereo::testing
