#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tovanel::uvc_stereo::detail {

// One supported camera model and the firmware rules of its IMU.
struct SupportedModel {
  std::uint16_t vendor_id;
  std::uint16_t product_id;
  // The IMU is allowed only on exactly this firmware version; empty means any version.
  std::string_view required_version;
  // The IMU is refused on any firmware whose version text contains this; empty means none.
  std::string_view disabling_version;
};

inline constexpr std::size_t kSupportedModelCount = 5;

// Every supported model, in the order in which lookups search them.
[[nodiscard]] const std::array<SupportedModel, kSupportedModelCount>& supported_models() noexcept;

// The first model whose vendor and product id both match, or nullptr for an unsupported camera.
[[nodiscard]] const SupportedModel* find_supported_model(std::uint16_t vendor_id, std::uint16_t product_id) noexcept;

}  // namespace tovanel::uvc_stereo::detail
