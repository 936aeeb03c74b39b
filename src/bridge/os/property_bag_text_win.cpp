#include "bridge/os/property_bag_text_win.h"

#include "bridge/os/capture_system_calls_win.h"
#include "bridge/os/wide_text_win.h"

namespace tovanel::uvc_stereo::win_detail {
namespace {

// Clears the variant on every way out, the conversion's exceptions included, so a string
// the bag allocated is never leaked.
class ClearedVariant {
 public:
  ClearedVariant() { VariantInit(&value); }
  ClearedVariant(const ClearedVariant&) = delete;
  ClearedVariant& operator=(const ClearedVariant&) = delete;
  ~ClearedVariant() { static_cast<void>(capture_system_calls().variant_clear(&value)); }

  VARIANT value;
};

}  // namespace

std::string read_property_text(IPropertyBag& bag, const wchar_t* name) {
  ClearedVariant variant;
  if (FAILED(bag.Read(name, &variant.value, nullptr))) {
    return {};
  }
  if (variant.value.vt != VT_BSTR || variant.value.bstrVal == nullptr) {
    return {};
  }
  return wide_to_utf8(variant.value.bstrVal);
}

}  // namespace tovanel::uvc_stereo::win_detail
