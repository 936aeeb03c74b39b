#pragma once

#include <cstddef>
#include <string>

#include "bridge/sonix_camera.h"

namespace tovanel::uvc_stereo::win_detail {

// The UTF-8 text of one wide-string field of the library's device record: up to its NUL,
// or the whole field when the library filled it to the end without one.
[[nodiscard]] std::string device_record_text(const SonixLib::scWideChar* field, std::size_t capacity);

template <std::size_t N>
[[nodiscard]] std::string device_record_text(const SonixLib::scWideChar (&field)[N]) {
  return device_record_text(field, N);
}

}  // namespace tovanel::uvc_stereo::win_detail
