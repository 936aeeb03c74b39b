#include "bridge/ascii_case.h"

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

char fold(char c) noexcept { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

std::string ascii_lower(std::string_view text) {
  std::string lowered(text);
  for (char& c : lowered) {
    c = fold(c);
  }
  return lowered;
}

bool ascii_equal_ignoring_case(std::string_view a, std::string_view b) noexcept {
  if (a.size() != b.size()) {
    return false;
  }
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (fold(a[i]) != fold(b[i])) {
      return false;
    }
  }
  return true;
}

}  // namespace tovanel::uvc_stereo::detail::bridge
