#include "flash/readback_verify.h"

#include <algorithm>
#include <cstddef>

#include "core/format.h"

namespace tovanel::uvc_stereo::detail {
namespace {

Status readback_mismatch(std::size_t offset, unsigned expected, unsigned actual) {
  return Status(ErrorCode::WriteFailed,
                format_fixed<192>(
                    "verify_after_write failed: readback mismatch at offset 0x%llX (expected=0x%02X, actual=0x%02X)",
                    static_cast<unsigned long long>(offset), expected, actual));
}

}  // namespace

Status verify_readback(const std::vector<std::uint8_t>& record, const std::vector<std::uint8_t>& readback) {
  if (record == readback) {
    return Status();
  }
  const std::size_t common = std::min(record.size(), readback.size());
  for (std::size_t i = 0; i < common; ++i) {
    if (record[i] != readback[i]) {
      return readback_mismatch(i, record[i], readback[i]);
    }
  }
  if (record.size() != readback.size()) {
    const unsigned expected = common < record.size() ? record[common] : 0u;
    const unsigned actual = common < readback.size() ? readback[common] : 0u;
    return readback_mismatch(common, expected, actual);
  }
  // Equal sizes with no differing byte means equal contents, so this stays as the last word only.
  return Status(ErrorCode::WriteFailed, "verify_after_write failed: readback size mismatch");
}

}  // namespace tovanel::uvc_stereo::detail
