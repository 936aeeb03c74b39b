#include <cstddef>
#include <cstdint>
#include <limits>

#include "core/format.h"
#include "uvc_stereo/flash.h"

namespace tovanel::uvc_stereo {
namespace {

// Range messages are formatted into a buffer of this size; a longer text (a long request
// name) is cut rather than refused.
constexpr std::size_t kRangeMessageBufferSize = 320;

// Serial flash erases whole sectors of this size unless the configuration says otherwise.
constexpr std::uint32_t kDefaultEraseSectorSize = 4096;

// One past the last byte of the user space; may be 0x100000000, hence 64 bits.
std::uint64_t user_space_end(const FlashConfig& config) noexcept {
  return static_cast<std::uint64_t>(config.user_space_address) + config.user_space_size;
}

bool sum_wraps(std::uint32_t address, std::uint64_t length) noexcept {
  return length > std::numeric_limits<std::uint64_t>::max() - address;
}

// Called only once the sum is known not to wrap.
bool inside_user_space(const FlashConfig& config, std::uint32_t address, std::uint64_t length) noexcept {
  return config.user_space_size != 0 && address >= config.user_space_address &&
         address + length <= user_space_end(config);
}

Status outside_user_space(const FlashConfig& config, const char* what, std::uint32_t address, std::uint64_t length) {
  return Status(ErrorCode::InvalidArgument,
                detail::format_fixed<kRangeMessageBufferSize>(
                    "%s range is outside Flash user space (address=0x%08X, length=%llu, allowed=[0x%08X,0x%llX))", what,
                    static_cast<unsigned int>(address), static_cast<unsigned long long>(length),
                    static_cast<unsigned int>(config.user_space_address),
                    static_cast<unsigned long long>(user_space_end(config))));
}

Status length_overflows() {
  return Status(ErrorCode::InvalidArgument, "Flash transfer length overflows address range");
}

}  // namespace

Status validate_flash_transfer_range(const FlashConfig& config, std::uint32_t address, std::uint64_t length,
                                     const char* what) {
  if (sum_wraps(address, length)) {
    return length_overflows();
  }
  if (!inside_user_space(config, address, length)) {
    return outside_user_space(config, what != nullptr ? what : "Flash transfer", address, length);
  }
  return Status();
}

Status validate_flash_erase_range(const FlashConfig& config, std::uint32_t address, std::uint64_t length) {
  // Erases share the transfer wording for a wrapping length: it is the same mistake.
  if (sum_wraps(address, length)) {
    return length_overflows();
  }
  if (!inside_user_space(config, address, length)) {
    return outside_user_space(config, "Flash erase request", address, length);
  }
  if (length == 0) {
    return Status();
  }

  // The flash erases whole sectors, so the widened range must stay inside the user space's
  // own bounds; a user space that is not sector-aligned refuses erases that would spill over.
  const std::uint64_t sector = config.erase_sector_size != 0 ? config.erase_sector_size : kDefaultEraseSectorSize;
  const std::uint64_t erase_start = address - (address % sector);
  const std::uint64_t last_rounded = address + length + sector - 1;
  const std::uint64_t erase_end = last_rounded - (last_rounded % sector);
  const std::uint64_t end = user_space_end(config);
  if (erase_start >= config.user_space_address && erase_end <= end) {
    return Status();
  }
  return Status(ErrorCode::InvalidArgument,
                detail::format_fixed<kRangeMessageBufferSize>(
                    "aligned Flash erase range crosses user-space boundary (address=0x%08X, length=%llu, "
                    "erase=[0x%llX,0x%llX), allowed=[0x%08X,0x%llX))",
                    static_cast<unsigned int>(address), static_cast<unsigned long long>(length),
                    static_cast<unsigned long long>(erase_start), static_cast<unsigned long long>(erase_end),
                    static_cast<unsigned int>(config.user_space_address), static_cast<unsigned long long>(end)));
}

}  // namespace tovanel::uvc_stereo
