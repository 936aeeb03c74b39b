#include "bridge/vendor_error_names.h"

#include <array>

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

// Spelled as the vendor library spells its enumerators (its "Unknow" included), so messages
// match the names the vendor library itself uses.
constexpr std::array<std::string_view, 22> kVendorErrorNames = {
    "ecUnknow",
    "ecCoInitializeEx",
    "ecLibInitFail",
    "ecEnumDeviceFail",
    "ecNotFindDevice",
    "ecGetKsControlFail",
    "ecMemoryMallocFail",
    "ecDeviceDisconnect",
    "ecSyncTransTimeOut",
    "ecBurnCheckFail",
    "ecSectorEraseFail",
    "ecBlockEraseFail",
    "ecWriteFlashFail",
    "ecChipEraseFail",
    "ecWriteFlashCheckFail",
    "ecGetParamTabFail",
    "ecGetChipArchTypeFail",
    "ecGetChipRomVersionFail",
    "ecDisableWriteProtectFail",
    "ecNoBootLoaderInSF",
    "ecNoCFUInSF",
    "ecUnknowPowerOnAreaInSF",
};

constexpr std::int32_t kNotFindDevice = 4;

}  // namespace

std::string_view vendor_error_name(std::int32_t code) noexcept {
  // Read as unsigned so that a negative code falls outside the table instead of indexing before it.
  const auto index = static_cast<std::uint32_t>(code);
  return index < kVendorErrorNames.size() ? kVendorErrorNames[index] : std::string_view("unknown");
}

}  // namespace tovanel::uvc_stereo::detail::bridge

namespace tovanel::uvc_stereo::win_detail {

bool is_no_device_error(std::int32_t code) noexcept { return code == detail::bridge::kNotFindDevice; }

}  // namespace tovanel::uvc_stereo::win_detail
